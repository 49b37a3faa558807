#include "query/QueryAttributes.h"

#include <limits>

namespace tolvane {

int ParseQueryNumber(const std::u16string& text) {
  size_t i = 0;
  while (i < text.size() && (text[i] == u' ' || (text[i] >= u'\t' && text[i] <= u'\r'))) ++i;
  const bool isNegative = i < text.size() && text[i] == u'-';
  if (i < text.size() && (text[i] == u'-' || text[i] == u'+')) ++i;
  long long value = 0;
  for (; i < text.size() && text[i] >= u'0' && text[i] <= u'9'; ++i) {
    value = value * 10 + (text[i] - u'0');
    if (value > std::numeric_limits<int>::max())
      return isNegative ? std::numeric_limits<int>::min() : std::numeric_limits<int>::max();
  }
  return static_cast<int>(isNegative ? -value : value);
}

SQueryRow CQueryAttributes::GetRow() const {
  SQueryRow row;
  row.attribute = static_cast<uint8_t>(ParseQueryNumber(Attribute));
  if (!Flag.empty()) row.flag = static_cast<int16_t>(ParseQueryNumber(Flag));
  if (!Name1.empty()) row.name1 = Name1;
  if (!Name2.empty()) row.name2 = Name2;
  if (!Expression.empty()) row.expression = Expression;
  if (!LvExtra.empty()) row.extra = ParseQueryNumber(LvExtra);
  return row;
}

std::optional<uint64_t> CQueryAttributes::GetOrder() const {
  constexpr size_t kDigits = 8;
  if (Order.size() != kDigits) return std::nullopt;
  uint64_t order = 0;
  for (const char16_t unit : Order) {
    const size_t digit = std::u16string_view(u"0123456789ABCDEFabcdef").find(unit);
    if (digit == std::u16string_view::npos) return std::nullopt;
    order = order << 4 | (digit < 16 ? digit : digit - 6);
  }
  return order;
}

}  // namespace tolvane
