// The one calendar: Gregorian at all times, days counted from 30 December 1899 as date values do.
#pragma once

#include <cstdint>
#include <optional>

namespace tolvane {

struct SDay {
  int32_t year;
  int32_t month;  // from 1
  int32_t day;    // from 1
};

inline constexpr int32_t kDaysBeforeZeroDate = 693593;  // from 1 January of year 1 to 30 December 1899
inline constexpr int32_t kFirstDateValue = -657434;     // 1 January 100
inline constexpr int32_t kLastDateValue = 2958465;      // 31 December 9999
inline constexpr int32_t kSecondsPerDay = 86400;

// The years 1 to 9999 only.
std::optional<SDay> DayOf(int64_t dateValue);
// Nothing for a day that the calendar does not have, or that no date value can name (before the year 100).
std::optional<int32_t> DateValueOf(SDay day);

}  // namespace tolvane
