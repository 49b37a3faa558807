// Whether a repair of the chosen files can begin, and what a result without tables is due to.
#pragma once

#include <cstdint>
#include <optional>
#include <set>
#include <string>
#include <string_view>

#include "app/FrontEnd.h"
#include "app/RepairFileManager.h"

namespace tolvane {

struct SInputProblem {
  std::u16string message;
  EMessageIcon icon = EMessageIcon::None;
};
// Looks at the damaged file and, in template mode, at the template; none when both can be read.
std::optional<SInputProblem> CheckInput(const COvRepairFileManager& manager);

// Nothing that is worth saving: no table, only those of a template that does not fit, or none whose rows all
// had room.
bool IsNothingFound(const CAccessData* data);

// Rows had no room in the folder for temporary files.
bool LacksRoom(const CAccessData* data);
// The tables of which rows had no room, by their definitions.
std::set<uint64_t> ListCutTables(const CAccessData& data);

// The name ends as those of databases do.
bool HasDatabaseEnding(std::u16string_view path);

// Why a repair found nothing, and what the user can do.
struct SNothingFound {
  std::u16string hint;    // one line
  std::u16string cause;   // what is the matter with which file
  std::u16string advice;  // what can be done
};
// Looks at the files once more.
SNothingFound ExplainNothing(const COvRepairFileManager& manager);

}  // namespace tolvane
