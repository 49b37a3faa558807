#include "render/ValueParser.h"

#include <algorithm>
#include <array>
#include <cfloat>
#include <charconv>
#include <cstddef>
#include <cstring>
#include <limits>
#include <optional>
#include <system_error>

#include "format/Bytes.h"
#include "platform/CodePage.h"
#include "platform/Text.h"
#include "render/Calendar.h"

namespace tolvane {
namespace {

constexpr size_t kLongestNumber = 512;      // a double in full has 309 digits before the point
constexpr int32_t kExponentLimit = 100000;  // beyond any type's range; larger spelled exponents stop here
constexpr size_t kCurrencyDecimals = 4;

constexpr bool IsDigit(char16_t unit) {
  return unit >= u'0' && unit <= u'9';
}

std::u16string_view TrimBlanks(std::u16string_view text) {
  constexpr std::u16string_view kBlanks = u" \t";
  const size_t first = text.find_first_not_of(kBlanks);
  if (first == std::u16string_view::npos) return {};
  return text.substr(first, text.find_last_not_of(kBlanks) - first + 1);
}

// ---- numbers

// A decimal number taken apart: 0.DIGITS times ten to the power of `point`, without leading zero digits.
struct SDecimal {
  bool negative = false;
  int32_t point = 0;
  size_t count = 0;  // of digits; 0 = the number is zero
  std::array<char, kLongestNumber> digits;
  size_t spellingLength = 0;
  std::array<char, kLongestNumber> spelling;  // as given, without a plus sign in front
};

// Reads text from left to right; every take is bounded by the text.
class CTextCursor {
 public:
  explicit CTextCursor(std::u16string_view text) : m_text(text) {}
  [[nodiscard]] bool IsAtEnd() const { return m_position == m_text.size(); }
  [[nodiscard]] bool IsAtDigit() const { return !IsAtEnd() && IsDigit(m_text[m_position]); }
  int TakeDigit() { return m_text[m_position++] - u'0'; }
  bool Take(char16_t unit) {
    if (IsAtEnd() || m_text[m_position] != unit) return false;
    m_position++;
    return true;
  }
  void Skip(size_t units) { m_position += std::min(units, m_text.size() - m_position); }
  void SkipBlanks() {
    while (Take(u' ')) {
    }
  }
  // A number of `least` to `most` digits that no further digit follows.
  bool TakeNumber(int least, int most, int& value) {
    value = 0;
    int digits = 0;
    for (; digits < most && IsAtDigit(); digits++) value = value * 10 + TakeDigit();
    return digits >= least && !IsAtDigit();
  }
  [[nodiscard]] std::u16string_view Rest() const { return m_text.substr(m_position); }

 private:
  std::u16string_view m_text;
  size_t m_position = 0;
};

// Digits with at most one point among them; false without any digit.
bool TakeMantissa(CTextCursor& cursor, SDecimal& decimal) {
  bool anyDigit = false;
  bool afterPoint = false;
  while (true) {
    if (!afterPoint && cursor.Take(u'.')) {
      afterPoint = true;
    } else if (cursor.IsAtDigit()) {
      anyDigit = true;
      const int digit = cursor.TakeDigit();
      if (digit != 0 || decimal.count != 0) decimal.digits[decimal.count++] = static_cast<char>('0' + digit);
      if (!afterPoint && decimal.count != 0) decimal.point++;
      if (afterPoint && decimal.count == 0) decimal.point--;
    } else {
      return anyDigit;
    }
  }
}

bool TakeExponent(CTextCursor& cursor, SDecimal& decimal) {
  if (!cursor.Take(u'e') && !cursor.Take(u'E')) return true;
  const bool negative = cursor.Take(u'-');
  if (!negative) cursor.Take(u'+');
  if (!cursor.IsAtDigit()) return false;
  int32_t exponent = 0;
  while (cursor.IsAtDigit()) exponent = std::min(exponent * 10 + cursor.TakeDigit(), kExponentLimit);
  decimal.point += negative ? -exponent : exponent;
  return true;
}

bool ParseDecimal(std::u16string_view text, SDecimal& decimal) {
  if (text.size() > kLongestNumber) return false;
  CTextCursor cursor(text);
  decimal.negative = cursor.Take(u'-');
  if (!decimal.negative && cursor.Take(u'+')) text.remove_prefix(1);
  if (!TakeMantissa(cursor, decimal) || !TakeExponent(cursor, decimal) || !cursor.IsAtEnd()) return false;
  for (const char16_t unit : text) decimal.spelling[decimal.spellingLength++] = static_cast<char>(unit);
  return true;
}

// How the digits from `first` on, as a fraction of one, compare with a half: below 0, 0 or above 0.
int CompareWithHalf(const SDecimal& decimal, size_t first) {
  if (first >= decimal.count || decimal.digits[first] < '5') return -1;
  if (decimal.digits[first] > '5') return 1;
  const auto rest = decimal.digits.begin() + static_cast<std::ptrdiff_t>(first) + 1;
  const auto end = decimal.digits.begin() + static_cast<std::ptrdiff_t>(decimal.count);
  return std::any_of(rest, end, [](char digit) { return digit != '0'; }) ? 1 : 0;
}

// The number times ten to the power of `decimals`, rounded to a whole number, halves to the even one.
std::optional<int64_t> RoundScaled(const SDecimal& decimal, int decimals) {
  const int wholeDigits = decimal.point + decimals;
  if (decimal.count == 0 || wholeDigits < 0) return 0;
  if (wholeDigits > std::numeric_limits<int64_t>::digits10 + 1) return std::nullopt;
  uint64_t magnitude = 0;
  const auto whole = static_cast<size_t>(wholeDigits);
  for (size_t i = 0; i < whole; i++) {
    magnitude = magnitude * 10 + (i < decimal.count ? static_cast<uint64_t>(decimal.digits[i] - '0') : 0);
  }
  const int half = CompareWithHalf(decimal, whole);
  if (half > 0 || (half == 0 && magnitude % 2 != 0)) magnitude++;
  const uint64_t largest = uint64_t{std::numeric_limits<int64_t>::max()} + (decimal.negative ? 1U : 0U);
  if (magnitude > largest) return std::nullopt;
  return static_cast<int64_t>(decimal.negative ? 0 - magnitude : magnitude);
}

// A number as most are spelled: a sign, and digits with at most one point among them.
struct SPlainNumber {
  bool negative = false;
  uint64_t digits = 0;
  size_t decimals = 0;
};
constexpr size_t kMostPlainDigits = std::numeric_limits<int64_t>::digits10;
constexpr auto kPowersOfTen = [] {
  std::array<uint64_t, kMostPlainDigits + 1> powers{1};
  for (size_t i = 1; i < powers.size(); i++) powers[i] = powers[i - 1] * 10;
  return powers;
}();

std::optional<SPlainNumber> TakePlainNumber(std::u16string_view text) {
  SPlainNumber number;
  number.negative = !text.empty() && text.front() == u'-';
  if (number.negative) text.remove_prefix(1);
  const size_t point = std::min(text.find(u'.'), text.size());
  const size_t digits = text.size() - (point < text.size() ? 1 : 0);
  if (digits == 0 || digits > kMostPlainDigits) return std::nullopt;
  for (size_t i = 0; i < text.size(); i++) {
    if (i == point) continue;
    if (!IsDigit(text[i])) return std::nullopt;
    number.digits = number.digits * 10 + static_cast<uint64_t>(text[i] - u'0');
  }
  number.decimals = digits - point;
  return number;
}

// The number times ten to the power of `decimals`; nothing when it is no number or out of range.
std::optional<int64_t> TakeScaledNumber(std::u16string_view text, size_t decimals) {
  const auto plain = TakePlainNumber(text);
  if (plain && plain->decimals <= decimals) {
    const uint64_t factor = kPowersOfTen[decimals - plain->decimals];
    if (factor == 1 || plain->digits <= kPowersOfTen[kMostPlainDigits] / kPowersOfTen[kCurrencyDecimals]) {
      const auto magnitude = static_cast<int64_t>(plain->digits * factor);
      return plain->negative ? -magnitude : magnitude;
    }
  }
  SDecimal decimal;
  return ParseDecimal(text, decimal) ? RoundScaled(decimal, static_cast<int>(decimals)) : std::nullopt;
}

template <class TStored>
bool ConvertWhole(std::u16string_view text, size_t decimals, std::vector<uint8_t>& storage) {
  const std::optional<int64_t> value = TakeScaledNumber(text, decimals);
  if (!value || *value < int64_t{std::numeric_limits<TStored>::min()} ||
      *value > int64_t{std::numeric_limits<TStored>::max()}) {
    return false;
  }
  AppendLittle(storage, static_cast<TStored>(*value));
  return true;
}

// A few digits divided by a power of ten, both of which the type holds exactly, and rounded once: the nearest
// number.
template <class TFloat>
bool TakePlainFloat(std::u16string_view text, TFloat& value) {
  constexpr bool kIsRoundedOnce = FLT_EVAL_METHOD == 0;
  constexpr uint64_t kExactDigits = uint64_t{1} << std::numeric_limits<TFloat>::digits;
  constexpr size_t kExactDecimals =
      std::min<size_t>(kMostPlainDigits, sizeof(TFloat) == sizeof(float) ? 10 : 22);
  if constexpr (!kIsRoundedOnce) return false;
  const auto plain = TakePlainNumber(text);
  if (!plain || plain->digits > kExactDigits || plain->decimals > kExactDecimals) return false;
  value = static_cast<TFloat>(plain->digits) / static_cast<TFloat>(kPowersOfTen[plain->decimals]);
  if (plain->negative) value = -value;
  return true;
}

template <class TFloat>
bool TakeFloat(std::u16string_view text, TFloat& value) {
  SDecimal decimal;
  if (!ParseDecimal(text, decimal)) return false;
  const auto result =
      std::from_chars(decimal.spelling.data(), decimal.spelling.data() + decimal.spellingLength, value);
  if (result.ec == std::errc::result_out_of_range) {
    if (decimal.point > 0) return false;
    value = 0;
  } else if (result.ec != std::errc{}) {
    return false;
  }
  return true;
}

// A number too small for the type is zero, and zero has no sign.
template <class TFloat, class TBits>
bool ConvertFloat(std::u16string_view text, std::vector<uint8_t>& storage) {
  TFloat value = 0;
  if (!TakePlainFloat(text, value) && !TakeFloat(text, value)) return false;
  if (value == 0) value = 0;
  TBits bits = 0;
  std::memcpy(&bits, &value, sizeof bits);
  AppendLittle(storage, bits);
  return true;
}

bool ConvertBoolean(std::u16string_view text, std::vector<uint8_t>& storage) {
  const auto is = [text](std::u16string_view word) { return EqualsIgnoreCase(text, word); };
  SDecimal decimal;
  bool value = false;
  if (is(u"true") || is(u"yes") || is(u"on")) {
    value = true;
  } else if (!is(u"false") && !is(u"no") && !is(u"off")) {
    if (!ParseDecimal(text, decimal)) return false;
    value = decimal.count != 0;
  }
  storage.push_back(value ? 1 : 0);
  return true;
}

// ---- dates

// "MM/DD/YYYY" or "YYYY-MM-DD".
std::optional<int32_t> TakeDate(CTextCursor& cursor) {
  int32_t year = 0;
  int32_t month = 0;
  int32_t day = 0;
  if (cursor.Rest().find(u'/') != std::u16string_view::npos) {
    if (!cursor.TakeNumber(1, 2, month) || !cursor.Take(u'/') || !cursor.TakeNumber(1, 2, day) ||
        !cursor.Take(u'/') || !cursor.TakeNumber(3, 4, year)) {
      return std::nullopt;
    }
  } else if (!cursor.TakeNumber(4, 4, year) || !cursor.Take(u'-') || !cursor.TakeNumber(1, 2, month) ||
             !cursor.Take(u'-') || !cursor.TakeNumber(1, 2, day)) {
    return std::nullopt;
  }
  return DateValueOf({year, month, day});
}

// "HH:MM" or "HH:MM:SS", by 24 hours or with AM or PM; the whole rest of the text. Seconds since midnight.
std::optional<int> TakeTime(CTextCursor& cursor) {
  int hour = 0;
  int minute = 0;
  int second = 0;
  if (!cursor.TakeNumber(1, 2, hour) || !cursor.Take(u':') || !cursor.TakeNumber(1, 2, minute))
    return std::nullopt;
  if (cursor.Take(u':') && !cursor.TakeNumber(1, 2, second)) return std::nullopt;
  cursor.SkipBlanks();
  const bool isPm = EqualsIgnoreCase(cursor.Rest(), u"pm");
  if (isPm || EqualsIgnoreCase(cursor.Rest(), u"am")) {
    if (hour < 1 || hour > 12) return std::nullopt;
    hour = hour % 12 + (isPm ? 12 : 0);
  } else if (!cursor.IsAtEnd()) {
    return std::nullopt;
  }
  if (hour > 23 || minute > 59 || second > 59) return std::nullopt;
  return (hour * 60 + minute) * 60 + second;
}

// The fraction of a date value counts away from zero: 6 o'clock of the day -1 is -1.25.
bool ConvertDate(std::u16string_view text, std::vector<uint8_t>& storage) {
  CTextCursor cursor(text);
  int32_t days = 0;
  if (text.find_first_of(u"/-") != std::u16string_view::npos) {
    const std::optional<int32_t> date = TakeDate(cursor);
    if (!date) return false;
    days = *date;
    if (!cursor.IsAtEnd() && !cursor.Take(u' ') && !cursor.Take(u'T')) return false;
    cursor.SkipBlanks();
  } else if (text.empty()) {
    return false;
  }
  double fraction = 0;
  if (!cursor.IsAtEnd()) {
    const std::optional<int> seconds = TakeTime(cursor);
    if (!seconds) return false;
    fraction = static_cast<double>(*seconds) / kSecondsPerDay;
  }
  AppendLittle(storage, DoubleBits(days < 0 ? days - fraction : days + fraction));
  return true;
}

// ---- GUIDs

int HexDigit(char16_t unit) {
  if (IsDigit(unit)) return unit - u'0';
  if (unit >= u'a' && unit <= u'f') return unit - u'a' + 10;
  if (unit >= u'A' && unit <= u'F') return unit - u'A' + 10;
  return -1;
}

// Groups of 4, 2, 2, 2 and 6 bytes; the first three are stored little-endian.
bool ConvertGuid(std::u16string_view text, std::vector<uint8_t>& storage) {
  constexpr std::array<size_t, 16> kStoredAt = {3, 2, 1, 0, 5, 4, 7, 6, 8, 9, 10, 11, 12, 13, 14, 15};
  constexpr size_t kHyphenedLength = 36;
  const bool opens = !text.empty() && text.front() == u'{';
  if (opens != (!text.empty() && text.back() == u'}') || (opens && text.size() < 2)) return false;
  if (opens) text = text.substr(1, text.size() - 2);
  const bool hyphened = text.size() == kHyphenedLength;
  CTextCursor cursor(text);
  std::array<uint8_t, 16> bytes{};
  for (size_t i = 0; i < bytes.size(); i++) {
    const bool startsGroup = i == 4 || i == 6 || i == 8 || i == 10;
    if (hyphened && startsGroup && !cursor.Take(u'-')) return false;
    if (cursor.Rest().size() < 2) return false;
    const int high = HexDigit(cursor.Rest()[0]);
    const int low = HexDigit(cursor.Rest()[1]);
    if (high < 0 || low < 0) return false;
    cursor.Skip(2);
    bytes[kStoredAt[i]] = static_cast<uint8_t>(high << 4 | low);
  }
  if (!cursor.IsAtEnd()) return false;
  storage.assign(bytes.begin(), bytes.end());
  return true;
}

bool Convert(uint8_t type, std::u16string_view text, std::vector<uint8_t>& storage) {
  switch (type) {
    case kTypeBoolean:
      return ConvertBoolean(text, storage);
    case kTypeByte:
      return ConvertWhole<uint8_t>(text, 0, storage);
    case kTypeInteger:
      return ConvertWhole<int16_t>(text, 0, storage);
    case kTypeLong:
      return ConvertWhole<int32_t>(text, 0, storage);
    case kTypeCurrency:
      return ConvertWhole<int64_t>(text, kCurrencyDecimals, storage);
    case kTypeSingle:
      return ConvertFloat<float, uint32_t>(text, storage);
    case kTypeDouble:
      return ConvertFloat<double, uint64_t>(text, storage);
    case kTypeDate:
      return ConvertDate(text, storage);
    case kTypeGuid:
      return ConvertGuid(text, storage);
    default:
      return false;
  }
}

}  // namespace

bool CValueParser::Parse(uint8_t type, std::u16string_view text, SValue& value) {
  m_storage.clear();
  bool isValue = true;
  switch (type) {
    case kTypeText:
    case kTypeMemo:
      AppendUnits(m_storage, text);
      break;
    case kTypeOle:
      EncodeCodePage(SystemCodePage(), text, m_storage);
      break;
    default:
      isValue = Convert(type, TrimBlanks(text), m_storage);
  }
  value = {.type = type, .isNull = !isValue, .bytes = {}};
  if (isValue) value.bytes = m_storage;
  return isValue;
}

}  // namespace tolvane
