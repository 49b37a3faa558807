// The words behind `export`, which mean different things to different formats.
#pragma once

#include <string>

#include "cli/CommandArguments.h"

namespace tolvane {

// As they stand on the command line.
struct SExportWords {
  std::string format = "csv", dialect, ole, delimiter, nullText;
  bool hasNullText = false;
};

// Behind the rules, which decide what is usual.
void TakeExportWords(const SExportWords& words, SArguments& arguments);
// Rules between options, as far as the words alone tell. Empty when all is well.
std::string FindExportConflict(const SExportWords& words, const SArguments& arguments);

}  // namespace tolvane
