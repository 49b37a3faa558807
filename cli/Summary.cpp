#include "cli/Summary.h"

#include <algorithm>

#include "cli/DisplayText.h"
#include "cli/Outcome.h"
#include "cli/TextTable.h"
#include "platform/Terminal.h"

namespace tolvane {

namespace {

// More than these are in --json.
constexpr size_t kPlacesShown = 3;
constexpr size_t kNamesShown = 8;
constexpr size_t kNotesShown = 12;

void AppendCount(uint64_t count, const std::string& words, std::string& out) {
  if (count > 0) out += PadLeft(std::to_string(count), 10) + "  " + words + "\n";
}

}  // namespace

SPageStyle OutputStyle() {
  SPageStyle style;
  if (IsTerminal(EStream::Output)) style.width = std::max(GetTerminalWidth(EStream::Output), 20u);
  style.hasEscapes = AcceptsEscapes(EStream::Output) && GetEnvironment(u"NO_COLOR").empty();
  return style;
}

std::string Heading(const std::string& text, const SPageStyle& style) {
  return style.hasEscapes ? "\x1b[1m" + text + "\x1b[0m\n" : text + "\n";
}

std::string DrawSource(const CAccessData& data, const SArguments& arguments, const SPageStyle& style) {
  const SSourceFacts& facts = data.source;
  std::string text = Heading("Source", style) + "  " + ToDisplay(arguments.source) + "\n  " +
                     FormatName(facts) + ", " + Counted(facts.pageCount, "page") + " of " +
                     std::to_string(facts.pageSize) + " bytes, " + FormatSize(facts.length) + "\n";
  if (!arguments.templatePath.empty())
    text += "  Definitions from " + ToDisplay(arguments.templatePath) + "\n";
  return text;
}

std::string DrawTables(const CAccessData& data, const SArguments& arguments, const SPageStyle& style) {
  CTextTable drawn;
  drawn.AddColumn("Name");
  drawn.AddColumn("Columns", EAlign::Right);
  drawn.AddColumn("Rows", EAlign::Right);
  uint64_t rows = 0;
  for (const auto& table : data.GetTables()) {
    if (!HasContent(*table) || (IsSystemTable(*table) && !arguments.withSystemTables)) continue;
    drawn.AddRow({ToDisplay(table->name), std::to_string(table->columns.GetCount()),
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
    AppendCount(loss.count, ToDisplay(loss.words), text);
    constexpr size_t kIndent = 12;
    const size_t room = style.width > kIndent ? style.width - kIndent : 0;
    const std::string places = ToDisplay(loss.places);
    if (!places.empty())
      text += std::string(kIndent, ' ') + (room > 0 ? Shorten(places, room) : places) + "\n";
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
  for (const SLossLine& loss : ListSaveLosses(summary)) AppendCount(loss.count, ToDisplay(loss.words), text);
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
