// The settings that the user can change, and when they are accepted. All but the prefix, which lasts as long
// as the program runs, are remembered.
#pragma once

#include <optional>
#include <string>
#include <string_view>

#include "model/RecoveryRules.h"

namespace tolvane {

struct SSettings {
  // Of file names; the names of temporary files and the name that the save dialog offers do not depend on it.
  std::u16string prefix = u"Rep";
  ERules rules = kDefaultRules;      // of the next repair
  bool usesInstalledEngine = false;  // for the next save
  bool showsLocally = true;          // dates and numbers as the user's region writes them, at once
};

// What each choice of the rules means, for people.
inline constexpr std::u16string_view kExactRulesNote = u"Exact: what the file really holds.";
inline constexpr std::u16string_view kStandardRulesNote =
    u"Standard: the documented conventions, which round and leave out.";

// The same of the engines that write the new database.
inline constexpr std::u16string_view kOwnEngineNote = u"Built-in: nothing needs to be installed.";
inline constexpr std::u16string_view kInstalledEngineNote = u"Installed: ";

// The same of how dates and numbers are shown; an example follows.
inline constexpr std::u16string_view kLocalValuesNote = u"As in the settings of Windows: ";
inline constexpr std::u16string_view kPlainValuesNote = u"As they are copied and exported: ";

// The message, shown with the information icon, that keeps the settings dialog open; none when the prefix is
// accepted.
std::optional<std::u16string> CheckPrefix(std::u16string_view prefix);

}  // namespace tolvane
