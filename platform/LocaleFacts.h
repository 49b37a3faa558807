// How the user's system writes numbers and dates.
#pragma once

#include <array>
#include <cstddef>
#include <string>

namespace tolvane {

// The digits of the last group and of those before it; 0: no more groups.
struct SDigitGroups {
  size_t last = 3;
  size_t others = 3;
};

// Of the user's region; in the forms that no region has where the system does not tell.
struct SLocaleFacts {
  std::u16string decimal = u".";
  // In the system's own letters: d, M and y of days, h, H, m, s and t of times, texts between quotes.
  std::u16string day = u"yyyy-MM-dd";
  std::u16string time = u"HH:mm:ss";
  std::u16string morning = u"AM";
  std::u16string afternoon = u"PM";
  std::array<std::u16string, 12> months;  // as they stand beside a day
  std::array<std::u16string, 12> shortMonths;
  bool isGregorian = true;  // years are counted as everywhere else
};

// They ask the system. Thread-safe.
SDigitGroups ReadDigitGroups();
SLocaleFacts ReadLocaleFacts();

}  // namespace tolvane
