#include "app/report/HtmlPageMap.h"

#include <algorithm>
#include <array>
#include <string>
#include <string_view>

namespace tolvane {

namespace {

// A cell is a tile of its look's pattern, so that one rectangle draws a whole run of cells.
constexpr size_t kCell = 12, kCellsALine = 64, kGutter = 6 * kCell;

// What is drawn over the colour of each look, by EPageLook, in a square of 11: the map can be read without
// colours.
constexpr std::array<std::string_view, static_cast<size_t>(EPageLook::Count_)> kMarks{
    "",
    "<circle cx=\"5.5\" cy=\"5.5\" r=\"1.2\"/>",
    "<path d=\"M1 3h9M1 5.5h9M1 8h9\"/>",
    "<path d=\"M3.7 1v9M7.3 1v9M1 3.7h9M1 7.3h9\"/>",
    "<path d=\"M1 10L10 1M1 5L5 1M6 10L10 6\"/>",
    "",
    "<path d=\"M2.5 1v9M5.5 1v9M8.5 1v9\"/>",
    "<path d=\"M3 2v7M8 2v7M3 5.5h5\"/>",
    "<circle cx=\"3.5\" cy=\"5.5\" r=\"1\"/><circle cx=\"7.5\" cy=\"5.5\" r=\"1\"/>",
    "<circle cx=\"5.5\" cy=\"5.5\" r=\"3\" class=\"o\"/>",
    "<path class=\"f\" d=\"M1 10L10 10L10 1Z\"/>",
    "<path class=\"w\" d=\"M2 2L9 9M9 2L2 9\"/>",
    "<path class=\"w\" d=\"M5.5 1.5v5M5.5 8v1.5\"/>",
};

std::string PatternName(size_t look) {
  return "look" + std::to_string(look);
}

void PrintPatterns(CHtml& html) {
  html.Raw("<defs>\n");
  for (size_t look = 0; look < kMarks.size(); ++look)
    html.Raw("<pattern id=\"" + PatternName(look) +
             "\" width=\"12\" height=\"12\" patternUnits=\"userSpaceOnUse\"><rect class=\"" +
             PatternName(look) + "\" x=\"0.5\" y=\"0.5\" width=\"10\" height=\"10\" rx=\"1\"/>")
        .Raw("<g class=\"mark\">")
        .Raw(kMarks[look])
        .Raw("</g></pattern>\n");
  html.Raw("</defs>\n");
}

// Cells of one look beside each other. A damaged page stands alone, for it has a reason of its own.
struct SRun {
  size_t first, count;
};

SRun RunAt(const CPageBlocks& blocks, size_t first) {
  const auto& looks = blocks.GetLooks();
  const size_t lineEnd = std::min((first / kCellsALine + 1) * kCellsALine, looks.size());
  size_t end = first + 1;
  if (blocks.GetPagesPerBlock() > 1 || looks[first] < EPageLook::Orphan)
    while (end < lineEnd && looks[end] == looks[first]) ++end;
  return {first, end - first};
}

void PrintTitle(const SExamination& examination, const CPageBlocks& blocks, const SRun& run, CHtml& html) {
  const uint64_t first = run.first * blocks.GetPagesPerBlock();
  const uint64_t last =
      std::min((run.first + run.count) * blocks.GetPagesPerBlock(), blocks.GetPageCount()) - 1;
  const EPageLook look = blocks.GetLooks()[run.first];
  html.Raw("<title>").Raw(first == last ? "Page " + std::to_string(first)
                                        : "Pages " + std::to_string(first) + " to " + std::to_string(last));
  html.Raw(": ").Text(GetPageLookName(look));
  const auto& bad = examination.badPages;
  const auto found = std::ranges::lower_bound(bad, first, {}, &SPageReport::page);
  if (first == last && found != bad.end() && found->page == first)
    html.Raw(" (")
        .Text(GetPageKindName(found->kind))
        .Raw(found->reason.empty() ? "" : ": ")
        .Text(found->reason)
        .Raw(")");
  html.Raw("</title>");
}

void PrintCells(const SExamination& examination, const CPageBlocks& blocks, CHtml& html) {
  const auto& looks = blocks.GetLooks();
  for (size_t at = 0; at < looks.size();) {
    const SRun run = RunAt(blocks, at);
    const size_t line = at / kCellsALine;
    if (at % kCellsALine == 0)
      html.Raw("<text x=\"" + std::to_string(kGutter - kCell / 2) + "\" y=\"" +
               std::to_string(line * kCell + kCell - 2) + "\">" +
               std::to_string(at * blocks.GetPagesPerBlock()) + "</text>\n");
    html.Raw("<rect x=\"" + std::to_string(kGutter + at % kCellsALine * kCell) + "\" y=\"" +
             std::to_string(line * kCell) + "\" width=\"" + std::to_string(run.count * kCell) +
             "\" height=\"12\" fill=\"url(#" + PatternName(static_cast<size_t>(looks[at])) + ")\">");
    PrintTitle(examination, blocks, run, html);
    html.Raw("</rect>\n");
    at += run.count;
  }
}

void PrintLegend(const SExamination& examination, CHtml& html) {
  html.Raw("<ul class=\"legend\">\n");
  for (size_t look = kMarks.size(); look-- > 0;) {
    if (examination.looks[look] == 0) continue;
    html.Raw(
            "<li><svg width=\"12\" height=\"12\" aria-hidden=\"true\"><rect width=\"12\" height=\"12\" "
            "fill=\"url(#" +
            PatternName(look) + ")\"/></svg> ")
        .Text(GetPageLookName(static_cast<EPageLook>(look)))
        .Raw(" <b>")
        .Number(examination.looks[look])
        .Raw("</b></li>\n");
  }
  html.Raw("</ul>\n");
}

}  // namespace

void PrintPageMap(const SExamination& examination, CHtml& html) {
  const CPageBlocks blocks = examination.blocks.Reduce(kMostMapCells);
  const size_t lines = (blocks.GetLooks().size() + kCellsALine - 1) / kCellsALine;
  const std::string width = std::to_string(kGutter + kCellsALine * kCell);
  html.Raw("<figure><svg class=\"map\" role=\"img\" aria-labelledby=\"map-title map-text\" viewBox=\"0 0 " +
           width + " " + std::to_string(std::max<size_t>(lines, 1) * kCell) + "\">\n");
  html.Raw("<title id=\"map-title\">Map of the file's pages</title>\n<desc id=\"map-text\">");
  html.Number(blocks.GetPageCount()).Raw(" pages in their order, ");
  html.Number(examination.badPageCount)
      .Raw(" of them damaged, unreadable or without an owner. The lists below say which.</desc>\n");
  PrintPatterns(html);
  PrintCells(examination, blocks, html);
  html.Raw("</svg>\n<figcaption>");
  if (blocks.GetPagesPerBlock() == 1) {
    html.Raw("Each square is one page");
  } else {
    html.Raw("Each square stands for ")
        .Number(blocks.GetPagesPerBlock())
        .Raw(" pages and shows what matters most of them");
  }
  html.Raw(
      "; the number in front of a line is that of its first page. A page's number and state show when the "
      "pointer rests on it.</figcaption></figure>\n");
  PrintLegend(examination, html);
}

}  // namespace tolvane
