#include "export/SqlDialect.h"

#include <algorithm>

#include "export/ByteText.h"
#include "export/JsonText.h"
#include "platform/Text.h"
#include "platform/TextUnits.h"
#include "render/ExactText.h"

namespace tolvane {

namespace {

constexpr size_t kDigitsOfDouble = 15;
constexpr size_t kFractionDigits = 6;  // of a second, in the databases on servers
constexpr size_t kLongestKeyText = 255;

void AppendQuoted(std::string_view text, std::string& out) {
  out += '\'';
  for (const char byte : text) out.append(byte == '\'' ? 2 : 1, byte);
  out += '\'';
}

// Where a backslash escapes.
void AppendEscaped(std::string_view text, std::string& out) {
  out += '\'';
  for (const char byte : text) {
    if (byte == '\'' || byte == '\\') out += '\\';
    if (byte == '\0')
      out += "\\0";
    else
      out += byte;
  }
  out += '\'';
}

}  // namespace

bool HasHalfPair(std::u16string_view text) {
  for (size_t i = 0; i < text.size(); ++i) {
    const bool isHigh = IsHighSurrogate(text[i]);
    if (!isHigh && !IsLowSurrogate(text[i])) continue;
    if (!isHigh || i + 1 == text.size() || !IsLowSurrogate(text[i + 1])) return true;
    ++i;
  }
  return false;
}

bool FitsDouble(std::u16string_view digits) {
  if (digits.find(u'.') != std::u16string_view::npos)
    while (digits.ends_with(u'0')) digits.remove_suffix(1);
  const auto first = std::ranges::find_if(digits, [](char16_t unit) { return unit >= u'1' && unit <= u'9'; });
  const auto count = std::count_if(first, digits.end(), [](char16_t unit) { return unit != u'.'; });
  return static_cast<size_t>(count) <= kDigitsOfDouble;
}

std::string CSqlDialect::QuoteName(std::string_view name) const {
  const char quote = Is(ESqlDialect::MySql) ? '`' : '"';
  std::string quoted(1, quote);
  for (const char byte : name) quoted.append(byte == quote ? 2 : 1, byte);
  return quoted += quote;
}

std::string CSqlDialect::TypeName(const SSqlType& column) const {
  const auto choose = [this](const char* sqlite, const char* postgreSql, const char* mySql) -> std::string {
    return Is(ESqlDialect::Sqlite) ? sqlite : Is(ESqlDialect::PostgreSql) ? postgreSql : mySql;
  };
  switch (column.type) {
    case kTypeBoolean:
      return choose("BOOLEAN", "boolean", "BOOLEAN");
    case kTypeByte:
      return choose("INTEGER", "smallint", "TINYINT UNSIGNED");
    case kTypeInteger:
      return choose("INTEGER", "smallint", "SMALLINT");
    case kTypeLong:
    case kTypeComplex:
      return choose("INTEGER", "integer", "INT");
    case kTypeBigInt:
      return choose("INTEGER", "bigint", "BIGINT");
    case kTypeCurrency:
      return choose("", "numeric(19,4)", "DECIMAL(19,4)");
    case kTypeDecimal:
      return Is(ESqlDialect::MySql) ? "DECIMAL(40," + std::to_string(std::min<int>(column.scale, 28)) + ")"
                                    : choose("", "numeric", "");
    case kTypeSingle:
      return choose("REAL", "real", "DOUBLE");
    case kTypeDouble:
      return choose("REAL", "double precision", "DOUBLE");
    case kTypeDate:
    case kTypeExtendedDate:
      return choose("DATETIME", "timestamp", "DATETIME(6)");
    case kTypeText:
      return choose("TEXT COLLATE NOCASE", "text", column.isInKey ? "VARCHAR(255)" : "LONGTEXT");
    case kTypeMemo:
      return choose("TEXT COLLATE NOCASE", "text", "LONGTEXT");
    case kTypeGuid:
      return choose("TEXT", "uuid", "CHAR(38)");
    default:
      return choose("BLOB", "bytea", column.isInKey ? "VARBINARY(510)" : "LONGBLOB");
  }
}

std::string_view CSqlDialect::BytesBegin() const {
  return Is(ESqlDialect::PostgreSql) ? "'\\x" : "X'";
}

ESqlFate CSqlDialect::AppendText(std::u16string_view text, std::string& out) const {
  std::string bytes = ToUtf8(text);
  ESqlFate fate = HasHalfPair(text) ? ESqlFate::Changed : ESqlFate::Kept;
  const bool hasZero = bytes.find('\0') != std::string::npos;
  switch (m_dialect) {
    case ESqlDialect::Sqlite:
      if (!hasZero) break;
      out += "CAST(X'";
      AppendHex({reinterpret_cast<const uint8_t*>(bytes.data()), bytes.size()}, out);
      out += "' AS TEXT)";
      return fate;
    case ESqlDialect::PostgreSql: {
      if (!hasZero) break;
      std::u16string without(text);
      std::ranges::replace(without, char16_t{0}, u'\uFFFD');
      bytes = ToUtf8(without);
      fate = ESqlFate::Changed;
      break;
    }
    case ESqlDialect::MySql:
      AppendEscaped(bytes, out);
      return fate;
  }
  AppendQuoted(bytes, out);
  return fate;
}

ESqlFate CSqlDialect::AppendNumber(const SSqlType& column, const SValue& value, std::string& out) const {
  std::u16string digits;
  MakeExactText(value, digits);
  const bool isNumber = IsNumberText(digits);
  const bool isExact = value.type == kTypeCurrency || value.type == kTypeDecimal;
  if (isNumber && !(Is(ESqlDialect::Sqlite) && isExact && !FitsDouble(digits))) {
    AppendUtf8(digits, out);
    return ESqlFate::Kept;
  }
  const bool isFloat = column.type == kTypeSingle || column.type == kTypeDouble;
  if (!isNumber && (Is(ESqlDialect::MySql) || (Is(ESqlDialect::PostgreSql) && !isFloat))) {
    out += "NULL";
    return ESqlFate::Lost;
  }
  const bool isInfinite = !isNumber && digits != u"nan";
  if (isInfinite && Is(ESqlDialect::Sqlite))
    out += digits.starts_with(u'-') ? "-9e999" : "9e999";
  else
    AppendQuoted(ToUtf8(digits), out);
  return ESqlFate::Kept;
}

ESqlFate CSqlDialect::AppendDate(const SValue& value, std::string& out) const {
  std::u16string text;
  MakeExactText(value, text);
  if (!MakeIsoDate(text, u' ')) {
    if (Is(ESqlDialect::Sqlite)) {
      if (IsNumberText(text) && value.type == kTypeDate)
        AppendUtf8(text, out);
      else
        AppendQuoted(ToUtf8(text), out);
      return ESqlFate::Kept;
    }
    out += "NULL";
    return ESqlFate::Lost;
  }
  AppendQuoted(ToUtf8(text), out);
  const size_t point = text.find(u'.');
  const bool isRounded = point != std::u16string::npos && text.size() - point - 1 > kFractionDigits;
  return isRounded && !Is(ESqlDialect::Sqlite) ? ESqlFate::Changed : ESqlFate::Kept;
}

ESqlFate CSqlDialect::AppendLiteral(const SSqlType& column, const SValue& value, std::string& out) const {
  if (value.isNull) {
    out += "NULL";
    return ESqlFate::Kept;
  }
  const EFamily family = FamilyOf(value.type);
  std::u16string text;
  if (FamilyOf(column.type) == EFamily::Text && family != EFamily::Bytes) {
    MakeExactText(value, text);
    const bool isCut =
        Is(ESqlDialect::MySql) && column.isInKey && column.type == kTypeText && text.size() > kLongestKeyText;
    if (isCut) text.resize(kLongestKeyText);
    const ESqlFate fate = AppendText(text, out);
    return isCut ? ESqlFate::Changed : fate;
  }
  if (FamilyOf(column.type) == EFamily::Boolean && family == EFamily::Number) {
    // A calculated truth value is a number, -1 or 0.
    const bool isTrue = std::ranges::any_of(value.bytes, [](uint8_t byte) { return byte != 0; });
    out += Is(ESqlDialect::PostgreSql) ? (isTrue ? "TRUE" : "FALSE") : (isTrue ? "1" : "0");
    return ESqlFate::Kept;
  }
  // What a calculation gave may be of another type than its column.
  if (family != FamilyOf(column.type) && !Is(ESqlDialect::Sqlite)) {
    out += "NULL";
    return ESqlFate::Lost;
  }
  switch (family) {
    case EFamily::Boolean:
      if (Is(ESqlDialect::PostgreSql))
        out += value.bytes[0] != 0 ? "TRUE" : "FALSE";
      else
        out += value.bytes[0] != 0 ? '1' : '0';
      return ESqlFate::Kept;
    case EFamily::Number:
      return AppendNumber(column, value, out);
    case EFamily::Date:
      return AppendDate(value, out);
    case EFamily::Bytes:
      out += BytesBegin();
      AppendHex(value.bytes, out);
      out += BytesEnd();
      return ESqlFate::Kept;
    case EFamily::Text:
    case EFamily::Guid:
      break;
  }
  MakeExactText(value, text);
  return AppendText(text, out);
}

}  // namespace tolvane
