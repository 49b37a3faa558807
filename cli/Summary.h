// The report that a repair ends with, for people.
#pragma once

#include <cstdint>
#include <string>

#include "cli/CommandArguments.h"
#include "model/AccessData.h"
#include "platform/Terminal.h"
#include "writer/SavedTable.h"

namespace tolvane {

// How texts are laid out on standard output.
struct SPageStyle {
  size_t width = 0;  // 0: any
  bool hasEscapes = false;
};
// What a colour means.
enum class EMeaning : uint8_t { Heading, Good, Doubt, Bad };

// Whether there are colours, for the whole run; before any text. Auto: on a terminal unless NO_COLOR is set.
void ChooseColors(EColor color);
bool HasColors(EStream stream);
// A pipe gets lines of any width.
SPageStyle OutputStyle();
std::string Paint(const std::string& text, EMeaning meaning, bool hasColors);
// The meaning of an exit status.
EMeaning MeaningOf(EExitStatus status);
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
