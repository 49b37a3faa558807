// The report that a repair ends with, for people.
#pragma once

#include <string>

#include "cli/CommandArguments.h"
#include "model/AccessData.h"
#include "writer/SavedTable.h"

namespace tolvane {

// How texts are laid out on standard output.
struct SPageStyle {
  size_t width = 0;  // 0: any
  bool hasEscapes = false;
};
// A pipe gets lines of any width and no escape sequences; NO_COLOR is respected.
SPageStyle OutputStyle();
std::string Heading(const std::string& text, const SPageStyle& style);

std::string DrawSource(const CAccessData& data, const SArguments& arguments, const SPageStyle& style);
std::string DrawTables(const CAccessData& data, const SArguments& arguments, const SPageStyle& style);
// What was lost or is doubtful on reading; empty when nothing is.
std::string DrawDamage(const CAccessData& data, const SPageStyle& style);
// Objects of the file that no repair brings back; empty when there are none.
std::string DrawOmitted(const CAccessData& data, const SPageStyle& style);
// What could not be saved as it was recovered; empty when all was.
std::string DrawSaving(const SSaveSummary& summary, const SPageStyle& style);

}  // namespace tolvane
