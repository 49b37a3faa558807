#include "render/DataConversion.h"

#include <array>
#include <bit>
#include <cmath>
#include <optional>
#include <string_view>
#include <vector>

#include "format/Bytes.h"
#include "platform/CodePage.h"
#include "render/Calendar.h"
#include "render/NumberText.h"

namespace tolvane {

namespace {

constexpr double kSafeDays = 4.0e6;  // beyond every valid day, far below where a cast could overflow

constexpr std::u16string_view kMidnight = u"12:00:00 AM";

// The last digits of a number over a pattern's places from `at` on.
template <size_t kPlaces>
void PutNumber(int64_t value, size_t digits, size_t at, std::array<char16_t, kPlaces>& pattern) {
  auto rest = static_cast<uint32_t>(value);
  for (size_t i = digits; i-- > 0; rest /= 10) pattern[at + i] = static_cast<char16_t>(u'0' + rest % 10);
}

// Twelve-hour clock: hours 0 and 12 are both "12".
void AppendClock(int64_t seconds, std::u16string& text) {
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
  const double value = std::bit_cast<double>(GetLittle<uint64_t>(bytes, 0));
  if (!(std::fabs(value) < kSafeDays)) return false;  // also not a number

  double whole = 0;
  const double fraction = std::modf(value, &whole);
  auto date = static_cast<int64_t>(whole);
  auto seconds = static_cast<int64_t>(std::fabs(fraction) * static_cast<double>(kSecondsPerDay) + 0.5);
  if (seconds == kSecondsPerDay) {
    seconds = 0;
    date++;
  }
  const std::optional<SDay> day = DayOf(date);
  if (!day || date < kFirstDateValue) return false;

  if (seconds == 0 && date == 0) {
    text = kMidnight;
    return true;
  }
  AppendDay(*day, text);
  if (seconds != 0 || blank == EMidnightBlank::Keep) text += u' ';
  if (seconds != 0) AppendClock(seconds, text);
  return true;
}

void CDataConversion::CurrencyToText(std::span<const uint8_t, kCurrencyBytes> bytes, std::u16string& text) {
  constexpr size_t kDecimals = 4;
  const auto bits = GetLittle<uint64_t>(bytes, 0);
  const bool isNegative = (bits >> 63) != 0;
  text.clear();
  AppendScaled(isNegative, isNegative ? 0 - bits : bits, kDecimals, text);
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
