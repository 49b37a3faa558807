// Puts a table definition together from its pages: the first one whole, the others without their head.
#pragma once

#include <cstddef>
#include <cstdint>
#include <span>
#include <unordered_set>
#include <vector>

#include "engine/PageReader.h"
#include "format/Layout.h"

namespace tolvane {

class CDefinitionChain {
 public:
  // No real definition comes near; a chain that is longer is cut there.
  static constexpr size_t kLongestDefinition = size_t{16} << 20;

  // The reader is open and outlives this object. Links are followed at most twice as often as the file has
  // pages, over all definitions: beyond that each one is cut after its first page.
  CDefinitionChain(CPageReader& reader, const SLayout& layout);

  // Reads the definition whose first page is at `offset`. An unreadable page leaves zeros. False: the chain
  // leads out of the file or back into itself, is too long, or a page of it cannot be read.
  bool Read(uint64_t offset);
  // Page size x number of pages bytes, zeros behind the last page's body.
  [[nodiscard]] std::span<const uint8_t> GetBytes() const { return m_bytes; }

 private:
  // Empty where the chain cannot go on.
  std::span<const uint8_t> ReadOnePage(uint64_t offset);
  [[nodiscard]] bool CanFollow(uint64_t offset) const;

  CPageReader& m_reader;
  uint64_t m_linksLeft;
  std::vector<uint8_t> m_page;
  std::vector<uint8_t> m_bytes;
  std::unordered_set<uint64_t> m_visited;
  bool m_isWhole = true;
};

}  // namespace tolvane
