#include "engine/PageTwins.h"

#include <algorithm>
#include <array>

#include "format/Bytes.h"

namespace tolvane {

// Four lanes, which a processor follows at once; any odd number with many bits mixes.
uint32_t CPageTwins::PrintOf(std::span<const uint8_t> page) {
  constexpr uint64_t kMix = 0x9E3779B97F4A7C15;
  constexpr size_t kLanes = 4, kWord = sizeof(uint64_t);
  std::array<uint64_t, kLanes> lanes{1, 2, 3, 4};
  for (size_t at = 0; at + kLanes * kWord <= page.size(); at += kLanes * kWord)
    for (size_t lane = 0; lane < kLanes; lane++) {
      lanes[lane] = (lanes[lane] ^ GetLittle<uint64_t>(page, at + lane * kWord)) * kMix;
      lanes[lane] ^= lanes[lane] >> 32;
    }
  uint64_t print = 0;
  for (const uint64_t lane : lanes) print = (print ^ lane) * kMix;
  return static_cast<uint32_t>(print >> 32);
}

std::vector<CPageTwins::STwin> CPageTwins::Find(CSource& source) const {
  std::vector<SPrint> prints = m_prints;
  std::ranges::stable_sort(prints, {}, &SPrint::print);
  std::vector<STwin> twins;
  std::vector<uint8_t> page(source.GetLayout().pageSize), first(page.size());
  for (size_t i = 1, leader = 0; i < prints.size(); i++) {
    if (prints[i].print != prints[leader].print) {
      leader = i;
      continue;
    }
    // Different pages of one print hardly ever meet, and then only the ones like the first are found.
    if (leader == i - 1 && !source.ReadPage(prints[leader].page, first)) first.assign(first.size(), 0);
    if (source.ReadPage(prints[i].page, page) && page == first)
      twins.push_back({prints[i].page, prints[leader].page});
  }
  std::ranges::sort(twins, {}, &STwin::page);
  return twins;
}

}  // namespace tolvane
