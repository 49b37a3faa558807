#include "cli/PageMap.h"

#include <algorithm>
#include <string_view>

#include "cli/DisplayText.h"

namespace tolvane {

namespace {

// By EPageLook.
constexpr std::string_view kSigns = "_.iuldTH?o*X!";
static_assert(kSigns.size() == static_cast<size_t>(EPageLook::Count_));
constexpr size_t kLegendColumns = 3;
constexpr size_t kLegendWidth = 25;  // of one column

std::string DrawLegend(const CPageBlocks& blocks, size_t width) {
  const size_t columns = std::clamp<size_t>(width / kLegendWidth, 1, kLegendColumns);
  const auto& looks = blocks.GetLooks();
  std::string text;
  size_t column = 0;
  for (size_t look = 0; look < kSigns.size(); ++look) {
    if (std::ranges::find(looks, static_cast<EPageLook>(look)) == looks.end()) continue;
    const bool isLineEnd = ++column % columns == 0;
    text += "    " + std::string(1, kSigns[look]) + " ";
    const std::string meaning(GetPageLookName(static_cast<EPageLook>(look)));
    text += isLineEnd ? meaning + "\n" : PadRight(meaning, 19);
  }
  while (!text.empty() && (text.back() == ' ' || text.back() == '\n')) text.pop_back();
  return text + "\n";
}

}  // namespace

std::string DrawPageMap(const CPageBlocks& blocks, size_t width) {
  const auto& looks = blocks.GetLooks();
  const size_t digits = std::to_string(looks.size() * blocks.GetPagesPerBlock()).size();
  size_t perLine = width > digits + 12 ? (width - digits - 4) / 10 * 10 : 10;
  perLine = std::min<size_t>(perLine, 100);
  std::string text;
  for (size_t i = 0; i < looks.size(); i += perLine) {
    text += "  " + PadLeft(std::to_string(i * blocks.GetPagesPerBlock()), digits) + "  ";
    for (size_t j = i; j < std::min(i + perLine, looks.size()); ++j)
      text += kSigns[static_cast<size_t>(looks[j])];
    text += "\n";
  }
  text += blocks.GetPagesPerBlock() == 1 ? "  One sign a page:\n"
                                         : "  One sign for " + std::to_string(blocks.GetPagesPerBlock()) +
                                               " pages, the one that matters most:\n";
  return text + DrawLegend(blocks, width);
}

}  // namespace tolvane
