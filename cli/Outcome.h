// How a run turns out for the command line: the table that was asked for, and the exit status.
#pragma once

#include <string>
#include <string_view>

#include "app/Losses.h"
#include "cli/ExitStatus.h"

namespace tolvane {

// "Text", "Long Integer", ...; "Type 21" for what has no name.
std::string TypeName(const CAccessColumn& column, const CAccessData& data);

// The table that the user means: its name, with or without regard to case, or "page:NUMBER" of its
// definition. Null when there is none.
const CAccessTable* FindTable(const CAccessData& data, std::u16string_view wanted);

// `saved` is null when nothing was to be saved.
EExitStatus DecideStatus(const CAccessData& data, const SSaveSummary* saved);
// Of a repair, whose result is the whole database: objects that no repair brings back count, too.
EExitStatus DecideRepairStatus(const CAccessData& data, const SSaveSummary* saved);

}  // namespace tolvane
