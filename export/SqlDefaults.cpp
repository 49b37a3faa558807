#include "export/SqlDefaults.h"

#include <algorithm>
#include <array>

#include "platform/Text.h"
#include "render/ValueParser.h"

namespace tolvane {

namespace {

std::u16string_view Trim(std::u16string_view text) {
  while (text.starts_with(u' ')) text.remove_prefix(1);
  while (text.ends_with(u' ')) text.remove_suffix(1);
  return text;
}

// "say ""hi""" without its quotes; false for anything else.
bool TakeQuoted(std::u16string_view expression, std::u16string& text) {
  if (expression.size() < 2 || expression.front() != u'"' || expression.back() != u'"') return false;
  expression = expression.substr(1, expression.size() - 2);
  for (size_t i = 0; i < expression.size(); ++i) {
    if (expression[i] == u'"' && (++i == expression.size() || expression[i] != u'"')) return false;
    text += expression[i];
  }
  return true;
}

bool IsWord(std::u16string_view text) {
  constexpr std::array<std::u16string_view, 6> kWords{u"yes", u"no", u"true", u"false", u"on", u"off"};
  return std::ranges::any_of(kWords,
                             [text](std::u16string_view word) { return EqualsIgnoreCase(word, text); });
}

bool IsPlainNumber(std::u16string_view text) {
  if (text.starts_with(u'-') || text.starts_with(u'+')) text.remove_prefix(1);
  return !text.empty() && text.find_first_not_of(u"0123456789.") == std::u16string_view::npos &&
         std::ranges::count(text, u'.') <= 1 && text != u".";
}

}  // namespace

std::string MakeDefault(std::u16string_view expression, const SSqlType& column, const CSqlDialect& dialect) {
  expression = Trim(expression);
  if (expression.starts_with(u'=')) expression = Trim(expression.substr(1));
  std::u16string text;
  const bool isDate = column.type == kTypeDate && expression.size() > 2 && expression.front() == u'#' &&
                      expression.back() == u'#';
  if (isDate)
    text = expression.substr(1, expression.size() - 2);
  else if (IsPlainNumber(expression) || (IsWord(expression) && !IsTextType(column.type)))
    text = expression;
  else if (!TakeQuoted(expression, text))
    return {};
  if (column.type == kTypeDecimal || column.type == kTypeBigInt)
    return IsPlainNumber(text) ? ToUtf8(text) : std::string();
  const bool isLarge = dialect.Is(ESqlDialect::MySql) && IsTextType(column.type) &&
                       (!column.isInKey || column.type == kTypeMemo);
  if (FamilyOf(column.type) == EFamily::Bytes || isLarge) return {};
  CValueParser parser;
  SValue value;
  std::string literal;
  const bool isValue = parser.Parse(column.type, text, value) && !value.isNull;
  return isValue && dialect.AppendLiteral(column, value, literal) == ESqlFate::Kept ? literal : std::string();
}

}  // namespace tolvane
