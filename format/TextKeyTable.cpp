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

// "General" has two bytes for nearly every character. The letters a to y; upper case weighs the same.
constexpr uint16_t kGeneralLetters[] = {
    0x0E02, 0x0E09, 0x0E0A, 0x0E1A, 0x0E21, 0x0E23, 0x0E25, 0x0E2C, 0x0E32, 0x0E35, 0x0E36, 0x0E48, 0x0E51,
    0x0E70, 0x0E7C, 0x0E7E, 0x0E89, 0x0E8A, 0x0E91, 0x0E99, 0x0E9F, 0x0EA2, 0x0EA4, 0x0EA6, 0x0EA7};
struct SGeneralRun {
  char16_t last;
  SJet4Weight weight;
};
constexpr SGeneralRun kGeneralRuns[] = {
    {0x0003, {0x0003, U, 0, 0, 0x05}},      {u' ', {u' ', P, 0x0702, 0, 0}},
    {u'-', {u'-', U, 0, 0, 0x82}},          {u'.', {u'.', P, 0x0733, 0, 0}},
    {u'1', {u'0', P, 0x0D17, 2, 0}},        {u'9', {u'2', P, 0x0D1A, 1, 0}},
    {u'_', {u'_', P, 0x0744, 0, 0}},        {0xD83D, {0xD83D, L, 0xB03F, 0, 0x3F}},
    {0xDE03, {0xDE00, L, 0xB6FC, 1, 0x3F}}, {0xDE4F, {0xDE04, L, 0xB702, 1, 0x3F}}};

}  // namespace

std::optional<SJet4Weight> FindGeneralWeight(char16_t unit) {
  const char16_t lower = unit >= u'A' && unit <= u'Z' ? static_cast<char16_t>(unit - u'A' + u'a') : unit;
  if (lower >= u'a' && lower < u'a' + std::size(kGeneralLetters))
    return SJet4Weight{unit, P, kGeneralLetters[lower - u'a'], 0, 0};
  for (const SGeneralRun& run : kGeneralRuns)
    if (unit >= run.weight.first && unit <= run.last) return run.weight;
  return std::nullopt;
}

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
