#include "engine/DataConversion.h"

#include <algorithm>
#include <array>
#include <bit>
#include <charconv>
#include <cmath>
#include <string_view>
#include <vector>

#include "platform/CodePage.h"
#include "platform/Text.h"

namespace tolvane {

namespace {

// Days from 1 January of year 1 to 30 December 1899.
constexpr int64_t kZeroDay = 693593;
constexpr int64_t kFirstDay = 36159;   // 1 January 100
constexpr int64_t kLastDay = 3652058;  // 31 December 9999
constexpr int64_t kSecondsPerDay = 86400;
constexpr double kSafeDays = 4.0e6;  // beyond every valid day, far below where a cast could overflow

constexpr std::u16string_view kMidnight = u"12:00:00 AM";

struct SDay {
  int64_t year;
  int64_t month;
  int64_t day;
};

uint64_t ReadLittle64(std::span<const uint8_t, 8> bytes) {
  uint64_t value = 0;
  for (size_t i = bytes.size(); i-- > 0;) value = value << 8 | bytes[i];
  return value;
}

// `n` days after 1 January of year 1, Gregorian at all times.
SDay ToDay(int64_t n) {
  constexpr std::array<int64_t, 13> kCommon{0, 31, 59, 90, 120, 151, 181, 212, 243, 273, 304, 334, 365};
  const int64_t cycles = n / 146097;
  n %= 146097;
  const int64_t centuries = std::min<int64_t>(3, n / 36524);
  n -= centuries * 36524;
  const int64_t leapCycles = n / 1461;
  n %= 1461;
  const int64_t years = std::min<int64_t>(3, n / 365);
  n -= years * 365;

  const int64_t year = 400 * cycles + 100 * centuries + 4 * leapCycles + years + 1;
  const bool isLeap = year % 4 == 0 && (year % 100 != 0 || year % 400 == 0);
  const auto daysBefore = [&](size_t month) { return kCommon[month] + (isLeap && month >= 2 ? 1 : 0); };
  size_t month = 0;
  while (n >= daysBefore(month + 1)) month++;
  return {year, static_cast<int64_t>(month) + 1, n - daysBefore(month) + 1};
}

// The last digits of a number over a pattern's places from `at` on.
template <size_t kPlaces>
void PutNumber(int64_t value, size_t digits, size_t at, std::array<char16_t, kPlaces>& pattern) {
  auto rest = static_cast<uint32_t>(value);
  for (size_t i = digits; i-- > 0; rest /= 10) pattern[at + i] = static_cast<char16_t>(u'0' + rest % 10);
}

// Twelve-hour clock: hours 0 and 12 are both "12".
void AppendTime(int64_t seconds, std::u16string& text) {
  const int64_t hour = seconds / 3600;
  std::array<char16_t, 11> time{u'0', u'0', u':', u'0', u'0', u':', u'0', u'0', u' ', u'A', u'M'};
  PutNumber(hour % 12 == 0 ? 12 : hour % 12, 2, 0, time);
  PutNumber(seconds / 60 % 60, 2, 3, time);
  PutNumber(seconds % 60, 2, 6, time);
  if (hour >= 12) time[9] = u'P';
  text.append(time.data(), time.size());
}

void AppendDay(const SDay& day, std::u16string& text) {
  std::array<char16_t, 10> date{u'0', u'0', u'/', u'0', u'0', u'/', u'0', u'0', u'0', u'0'};
  PutNumber(day.month, 2, 0, date);
  PutNumber(day.day, 2, 3, date);
  PutNumber(day.year, 4, 6, date);
  // A year that reads "0/" keeps two digits.
  if (date[6] == u'0' && date[7] == u'/') date[7] = u'0';
  text.append(date.data(), date.size());
}

}  // namespace

bool CDataConversion::DateToText(std::span<const uint8_t, kDateBytes> bytes, EMidnightBlank blank,
                                 std::u16string& text) {
  text.clear();
  const double value = std::bit_cast<double>(ReadLittle64(bytes));
  if (!(std::fabs(value) < kSafeDays)) return false;  // also not a number

  double whole = 0;
  const double fraction = std::modf(value, &whole);
  int64_t day = kZeroDay + static_cast<int64_t>(whole);
  auto seconds = static_cast<int64_t>(std::fabs(fraction) * static_cast<double>(kSecondsPerDay) + 0.5);
  if (seconds == kSecondsPerDay) {
    seconds = 0;
    day++;
  }
  if (day < kFirstDay || day > kLastDay) return false;

  if (seconds == 0 && day == kZeroDay) {
    text = kMidnight;
    return true;
  }
  AppendDay(ToDay(day), text);
  if (seconds != 0 || blank == EMidnightBlank::Keep) text += u' ';
  if (seconds != 0) AppendTime(seconds, text);
  return true;
}

void CDataConversion::CurrencyToText(std::span<const uint8_t, kCurrencyBytes> bytes, std::u16string& text) {
  constexpr size_t kDecimals = 4;
  const uint64_t bits = ReadLittle64(bytes);
  const bool isNegative = (bits >> 63) != 0;
  const uint64_t magnitude = isNegative ? 0 - bits : bits;

  std::array<char, 20> digits;
  const char* end = std::to_chars(digits.data(), digits.data() + digits.size(), magnitude).ptr;
  const auto count = static_cast<size_t>(end - digits.data());

  text.assign(isNegative ? u"-" : u"");
  if (count <= kDecimals) text.append(kDecimals + 1 - count, u'0');
  AppendAscii({digits.data(), count}, text);
  text.insert(text.size() - kDecimals, 1, u'.');
}

void CDataConversion::GuidToText(std::span<const uint8_t, kGuidBytes> bytes, std::u16string& text) {
  constexpr std::array<uint8_t, kGuidBytes> kOrder{3, 2, 1, 0, 5, 4, 7, 6, 8, 9, 10, 11, 12, 13, 14, 15};
  constexpr std::u16string_view kHex = u"0123456789ABCDEF";
  text.assign(1, u'{');
  for (size_t i = 0; i < kOrder.size(); i++) {
    if (i == 4 || i == 6 || i == 8 || i == 10) text += u'-';
    text += kHex[bytes[kOrder[i]] >> 4];
    text += kHex[bytes[kOrder[i]] & 0x0F];
  }
  text += u'}';
}

void CDataConversion::BytesToText(std::span<const uint8_t> bytes, std::u16string& text) {
  text.clear();
  const auto isPair = [&](size_t i) {
    return i + 1 < bytes.size() && bytes[i] == 0xFF && bytes[i + 1] == 0xFE;
  };
  // The kept bytes are converted together: a character of two bytes may have had a zero byte between them.
  std::vector<uint8_t> kept;
  kept.reserve(bytes.size());
  for (size_t i = 0; i < bytes.size(); i++) {
    if (isPair(i))
      i++;
    else if (bytes[i] != 0)
      kept.push_back(bytes[i]);
  }
  DecodeCodePage(SystemCodePage(), kept, text);
}

}  // namespace tolvane
