#include "cli/Summary.h"

#include <algorithm>
#include <array>

#include "cli/DisplayText.h"
#include "cli/Outcome.h"
#include "cli/TextTable.h"

namespace tolvane {

namespace {

// More than these are in --json.
constexpr size_t kPlacesShown = 3;
constexpr size_t kNamesShown = 8;
constexpr size_t kNotesShown = 12;

EColor g_color = EColor::Auto;  // main thread only

void AppendCount(uint64_t count, const std::string& words, const SPageStyle& style, std::string& out) {
  constexpr size_t kNumber = 10;
  if (count > 0)
    out += Paint(PadLeft(std::to_string(count), kNumber), EMeaning::Doubt, style.hasEscapes) + "  " +
           WrapWords(words, kNumber + 2, style.width) + "\n";
}

}  // namespace

void ChooseColors(EColor color) {
  g_color = color;
}

bool HasColors(EStream stream) {
  if (g_color != EColor::Auto) return g_color == EColor::Always;
  return AcceptsEscapes(stream) && GetEnvironment(u"NO_COLOR").empty();
}

std::string Paint(const std::string& text, EMeaning meaning, bool hasColors) {
  constexpr std::array<const char*, 4> kCodes{"1", "32", "33", "31"};  // bold, green, yellow, red
  if (!hasColors || text.empty()) return text;
  return std::string("\x1b[") + kCodes[static_cast<size_t>(meaning)] + "m" + text + "\x1b[0m";
}

EMeaning MeaningOf(EExitStatus status) {
  if (status == EExitStatus::Done) return EMeaning::Good;
  return status == EExitStatus::Incomplete ? EMeaning::Doubt : EMeaning::Bad;
}

SPageStyle OutputStyle() {
  SPageStyle style;
  if (IsTerminal(EStream::Output)) style.width = std::max(GetTerminalWidth(EStream::Output), 20u);
  style.hasEscapes = HasColors(EStream::Output);
  return style;
}

std::string Heading(const std::string& text, const SPageStyle& style) {
  return Paint(text, EMeaning::Heading, style.hasEscapes) + "\n";
}

std::string DrawSource(const CAccessData& data, const SArguments& arguments, const SPageStyle& style) {
  const std::string facts = FormatName(data.source) + ", " + Counted(data.source.pageCount, "page") + " of " +
                            std::to_string(data.source.pageSize) + " bytes, " +
                            FormatSize(data.source.length);
  std::string text = Heading("Source", style) + "  " + ToDisplay(arguments.source) + "\n  " +
                     WrapWords(facts, 2, style.width) + "\n";
  if (!arguments.templatePath.empty())
    text += "  Definitions from " + ToDisplay(arguments.templatePath) + "\n";
  return text;
}

std::string DrawTables(const CAccessData& data, const SArguments& arguments, const SPageStyle& style) {
  CTextTable drawn{{"Name"}, {"Columns", EAlign::Right}, {"Rows", EAlign::Right}};
  uint64_t rows = 0;
  for (const auto& table : data.GetTables()) {
    if (!HasContent(*table) || (IsSystemTable(*table) && !arguments.withSystemTables)) continue;
    drawn.AddRow(
        {ToDisplay(table->name),
         std::to_string(ListShownColumns(*table, data.GetRules(), arguments.withSystemTables).size()),
         std::to_string(table->header.rowCount)});
    rows += table->header.rowCount;
  }
  std::string text = Heading("Tables", style);
  if (drawn.GetRowCount() == 0) return text + "  none\n";
  text += drawn.Draw(style.width, "  ");
  return text + "  " + Counted(drawn.GetRowCount(), "table") + ", " + Counted(rows, "row") + "\n";
}

namespace {

std::string DrawLosses(const std::string& heading, const std::vector<SLossLine>& losses,
                       const SPageStyle& style) {
  if (losses.empty()) return {};
  std::string text = Heading(heading, style);
  for (const SLossLine& loss : losses) {
    AppendCount(loss.count, ToDisplay(loss.words), style, text);
    constexpr size_t kIndent = 12;
    if (!loss.places.empty())
      text += std::string(kIndent, ' ') + WrapWords(ToDisplay(loss.places), kIndent, style.width) + "\n";
  }
  return text;
}

}  // namespace

std::string DrawDamage(const CAccessData& data, const SPageStyle& style) {
  return DrawLosses("Lost or doubtful", ListDamage(data, kPlacesShown), style);
}

std::string DrawOmitted(const CAccessData& data, const SPageStyle& style) {
  return DrawLosses("Not brought back", ListOmittedObjects(data, kNamesShown), style);
}

std::string DrawSaving(const SSaveSummary& summary, const SPageStyle& style) {
  std::string text;
  for (const SLossLine& loss : ListSaveLosses(summary))
    AppendCount(loss.count, ToDisplay(loss.words), style, text);
  if (!text.empty()) text = Heading("Not saved", style) + text;
  if (summary.charactersReplaced > 0)
    text += "            tolvane repair --access-2000 keeps all characters\n";
  if (summary.notes.empty()) return text;
  text += Heading("Remarks", style);
  for (size_t i = 0; i < summary.notes.size() && i < kNotesShown; ++i)
    text += "  " + ToDisplay(summary.notes[i]) + "\n";
  if (summary.notes.size() > kNotesShown)
    text += "  and " + std::to_string(summary.notes.size() - kNotesShown) + " more; --log FILE lists all\n";
  return text;
}

}  // namespace tolvane
