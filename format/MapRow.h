// Rows of usage maps and their pages of bits (drawn in PageLayout.h): read, and written.
#pragma once

#include <algorithm>
#include <bit>
#include <cstdint>
#include <optional>
#include <span>
#include <vector>

#include "format/Bytes.h"
#include "format/Layout.h"

namespace tolvane {

static_assert(kMapBits == kMapStart + 4 && kMapPages < kMapBits);

inline bool IsMapRow(std::span<const uint8_t> row) {
  return row.size() >= kMapBits && row[0] <= kMapReferences;
}

// How many pages the bits of one page stand for.
constexpr uint32_t PagesPerMapPage(const SLayout& layout) {
  return (layout.pageSize - static_cast<uint32_t>(kMapPageBits)) * 8;
}

template <class Visit>
bool ForEachMapBit(std::span<const uint8_t> bits, uint64_t first, Visit& visit) {
  for (size_t i = 0; i < bits.size(); i++)
    for (unsigned byte = bits[i]; byte != 0; byte &= byte - 1)
      if (!visit(first + 8 * i + static_cast<unsigned>(std::countr_zero(byte)))) return false;
  return true;
}

// Hands the pages that a map row names to `visit` until it answers false. `open` gets the number of a page of
// bits and the first page that its bits stand for; it answers the page's bytes, none where it is not there.
// Answers how many numbers the map covers, nothing when it was left before its end.
template <class OpenPage, class Visit>
std::optional<uint64_t> ReadMapRow(const SLayout& layout, std::span<const uint8_t> row, OpenPage open,
                                   Visit visit) {
  if (row[0] == kMapInline) {
    const uint64_t first = GetLittle<uint32_t>(row, kMapStart);
    const std::span<const uint8_t> bits = row.subspan(kMapBits);
    if (!ForEachMapBit(bits, first, visit)) return std::nullopt;
    return first + 8 * bits.size();
  }
  uint64_t covered = 0;
  uint64_t first = 0;
  for (size_t at = kMapPages; at + 4 <= row.size(); at += 4, first += PagesPerMapPage(layout)) {
    const auto page = GetLittle<uint32_t>(row, at);
    const std::span<const uint8_t> bytes = page != 0 ? open(page, first) : std::span<const uint8_t>();
    if (bytes.empty()) continue;
    if (!ForEachMapBit(bytes.subspan(kMapPageBits), first, visit)) return std::nullopt;
    covered = first + PagesPerMapPage(layout);
  }
  return covered;
}

inline void SetMapBit(std::span<uint8_t> bits, size_t bit) {
  bits[bit / 8] = static_cast<uint8_t>(bits[bit / 8] | 1u << bit % 8);
}

// The pages of bits that a row has room for: those that it refers to, and 0 where it has none.
inline std::vector<uint32_t> MapPagesOf(std::span<const uint8_t> row) {
  std::vector<uint32_t> pages((row.size() - kMapPages) / 4);
  if (row[0] == kMapReferences)
    for (size_t i = 0; i < pages.size(); i++) pages[i] = GetLittle<uint32_t>(row, kMapPages + 4 * i);
  return pages;
}

inline void PutMapPages(std::span<const uint32_t> pages, std::span<uint8_t> row) {
  std::ranges::fill(row, uint8_t{0});
  row[0] = kMapReferences;
  for (size_t i = 0; i < pages.size(); i++) PutLittle(row, kMapPages + 4 * i, pages[i]);
}

// Makes a page of bits of which none is set, and answers the bits.
inline std::span<uint8_t> StartMapPage(std::span<uint8_t> page) {
  std::ranges::fill(page, uint8_t{0});
  page[kPageTypeAt] = kPageMap;
  page[kPageMarkAt] = kPageFormatted;
  return page.subspan(kMapPageBits);
}

}  // namespace tolvane
