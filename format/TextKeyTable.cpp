#include "format/TextKeyTable.h"

#include <algorithm>
#include <array>
#include <cstddef>
#include <iterator>

namespace tolvane {
namespace {

// Short names that keep a table row readable.
constexpr EWeightClass P = EWeightClass::Plain;
constexpr EWeightClass L = EWeightClass::Letter;
constexpr EWeightClass U = EWeightClass::Unprintable;
constexpr EWeightClass M = EWeightClass::Modifier;
constexpr EWeightClass K2 = EWeightClass::Kana2;
constexpr EWeightClass K3 = EWeightClass::Kana3;
constexpr EWeightClass X = EWeightClass::Ignored;

#include "format/TextKeyTable.inc"

constexpr size_t kBlocks = 256;  // of 256 code units each

// Number of rows that begin before each block, so that a search looks at the rows of one block only.
constexpr std::array<uint16_t, kBlocks + 1> CountRowsBeforeBlocks() {
  std::array<uint16_t, kBlocks + 1> counts{};
  size_t row = 0;
  for (size_t block = 0; block <= kBlocks; block++) {
    while (row < std::size(kJet4Weights) && kJet4Weights[row].first < block * 256) row++;
    counts[block] = static_cast<uint16_t>(row);
  }
  return counts;
}
constexpr auto kRowsBeforeBlock = CountRowsBeforeBlocks();
static_assert(kJet4Weights[0].first == 0, "every code unit must have a row");

// The row of each code unit of the first block, which most texts are made of.
constexpr std::array<uint16_t, 256> ListFirstBlock() {
  std::array<uint16_t, 256> rows{};
  uint16_t row = 0;
  for (size_t unit = 0; unit < rows.size(); unit++) {
    while (row + 1U < std::size(kJet4Weights) && kJet4Weights[row + 1U].first <= unit) row++;
    rows[unit] = row;
  }
  return rows;
}
constexpr auto kFirstBlock = ListFirstBlock();

}  // namespace

const SJet4Weight& FindJet4Weight(char16_t unit) {
  const size_t block = unit >> 8;
  if (block == 0) return kJet4Weights[kFirstBlock[unit]];
  const auto* begin = kJet4Weights + kRowsBeforeBlock[block];
  const auto* end = kJet4Weights + kRowsBeforeBlock[block + 1];
  const auto* after = std::upper_bound(
      begin, end, unit, [](char16_t value, const SJet4Weight& weight) { return value < weight.first; });
  return after[-1];  // at the block's start this is the row that reaches into it from an earlier block
}

const SJet3Weight& FindJet3Weight(uint8_t byte) {
  return kJet3Weights[byte];
}

}  // namespace tolvane
