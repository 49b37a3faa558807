#include "render/Calendar.h"

#include <algorithm>
#include <array>

namespace tolvane {

namespace {

constexpr int32_t kDaysOf400Years = 146097;
constexpr int32_t kDaysOf100Years = 36524;
constexpr int32_t kDaysOf4Years = 1461;
constexpr int32_t kFirstYear = 100;
constexpr int32_t kLastYear = 9999;

bool IsLeapYear(int32_t year) {
  return year % 4 == 0 && (year % 100 != 0 || year % 400 == 0);
}

// Days of the year before a month, which counts from 1; 13 gives the whole year.
int32_t DaysBefore(int32_t month, bool isLeap) {
  constexpr std::array<int32_t, 13> kCommon{0, 31, 59, 90, 120, 151, 181, 212, 243, 273, 304, 334, 365};
  return kCommon[static_cast<size_t>(month - 1)] + (isLeap && month > 2 ? 1 : 0);
}

}  // namespace

std::optional<SDay> DayOf(int64_t dateValue) {
  if (dateValue < -kDaysBeforeZeroDate || dateValue > kLastDateValue) return std::nullopt;
  auto rest = static_cast<int32_t>(dateValue + kDaysBeforeZeroDate);
  int32_t year = 1;
  const auto take = [&](int32_t days, int32_t years, int32_t most) {
    const int32_t cycles = std::min(most, rest / days);
    rest -= cycles * days;
    year += cycles * years;
  };
  take(kDaysOf400Years, 400, kLastYear);
  take(kDaysOf100Years, 100, 3);
  take(kDaysOf4Years, 4, kLastYear);
  take(365, 1, 3);
  const bool isLeap = IsLeapYear(year);
  int32_t month = 1;
  while (rest >= DaysBefore(month + 1, isLeap)) month++;
  return SDay{year, month, rest - DaysBefore(month, isLeap) + 1};
}

std::optional<int32_t> DateValueOf(SDay day) {
  if (day.year < kFirstYear || day.year > kLastYear || day.month < 1 || day.month > 12) return std::nullopt;
  const bool isLeap = IsLeapYear(day.year);
  const int32_t before = DaysBefore(day.month, isLeap);
  if (day.day < 1 || day.day > DaysBefore(day.month + 1, isLeap) - before) return std::nullopt;
  const int32_t past = day.year - 1;
  return past * 365 + past / 4 - past / 100 + past / 400 + before + day.day - 1 - kDaysBeforeZeroDate;
}

}  // namespace tolvane
