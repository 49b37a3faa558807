#include <windows.h>

#include <cwchar>
#include <iterator>

#include "platform/LocaleFacts.h"
#include "platform/Wide_win.h"

namespace tolvane {

namespace {

// The text stays as it is where the system does not tell.
void Ask(LCTYPE what, std::u16string& text) {
  wchar_t answer[128] = L"";
  if (GetLocaleInfoEx(LOCALE_NAME_USER_DEFAULT, what, answer, static_cast<int>(std::size(answer))) > 0)
    text = FromWide(answer);
}

bool IsGregorian() {
  DWORD calendar = CAL_GREGORIAN;
  GetLocaleInfoEx(LOCALE_NAME_USER_DEFAULT, LOCALE_ICALENDARTYPE | LOCALE_RETURN_NUMBER,
                  reinterpret_cast<wchar_t*>(&calendar), sizeof(calendar) / sizeof(wchar_t));
  return calendar == CAL_GREGORIAN || calendar == CAL_GREGORIAN_US ||
         (calendar >= CAL_GREGORIAN_ME_FRENCH && calendar <= CAL_GREGORIAN_XLIT_FRENCH);
}

}  // namespace

// "3;0": groups of three. "3;2;0": three, then two each. "3": three once, and no more groups.
SDigitGroups ReadDigitGroups() {
  SDigitGroups groups;
  std::u16string grouping;
  Ask(LOCALE_SGROUPING, grouping);
  const std::wstring text = ToWide(grouping);
  if (text.empty()) return groups;
  wchar_t* rest = nullptr;
  groups.last = std::wcstoul(text.c_str(), &rest, 10);
  groups.others = 0;
  if (*rest != L';') return groups;
  const unsigned long second = std::wcstoul(rest + 1, &rest, 10);
  groups.others = second != 0 ? second : groups.last;
  return groups;
}

SLocaleFacts ReadLocaleFacts() {
  SLocaleFacts facts;
  Ask(LOCALE_SDECIMAL, facts.decimal);
  Ask(LOCALE_SSHORTDATE, facts.day);
  Ask(LOCALE_STIMEFORMAT, facts.time);
  Ask(LOCALE_S1159, facts.morning);
  Ask(LOCALE_S2359, facts.afternoon);
  for (DWORD month = 0; month < facts.months.size(); ++month) {
    Ask((LOCALE_SMONTHNAME1 + month) | LOCALE_RETURN_GENITIVE_NAMES, facts.months[month]);
    Ask((LOCALE_SABBREVMONTHNAME1 + month) | LOCALE_RETURN_GENITIVE_NAMES, facts.shortMonths[month]);
  }
  facts.isGregorian = IsGregorian();
  return facts;
}

}  // namespace tolvane
