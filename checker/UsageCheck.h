// Usage maps: rules D1 (the pages they stand on), F2 (no map has two users), F4 to F6 (what their bits say).
#pragma once

#include <cstdint>
#include <span>
#include <string_view>

#include "checker/CheckContext.h"
#include "format/PageSet.h"

namespace tolvane {

class CUsageCheck {
 public:
  explicit CUsageCheck(SCheckContext& context)
      : m_context(context), m_page(context.file), m_bits(context.file) {}

  // Page 1: tells the ledger which pages are free.
  void LoadGlobalMaps();
  // The pages that the map names. `what` is whose map it is, for the text of a finding. False when the map
  // cannot be read or has another user already.
  bool Load(uint32_t pointer, std::u16string_view what, CPageSet& pages);

 private:
  bool OpenRow(uint32_t pointer, std::u16string_view what, std::span<const uint8_t>& row);
  // Calls `visit` with each page whose bit is set, and answers how many pages the map covers.
  template <class Visitor>
  uint64_t ForEachBit(std::span<const uint8_t> row, uint32_t mapPage, Visitor visit);
  bool OpenBits(uint32_t page, uint32_t mapPage);

  SCheckContext& m_context;
  CPageBuffer m_page;  // with the map's row
  CPageBuffer m_bits;
};

}  // namespace tolvane
