// Which pages of a file are free, as page 1 has it. A freed page keeps its old content until it is used
// again.
#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <span>
#include <vector>

#include "engine/PageReader.h"
#include "format/PageSlots.h"

namespace tolvane {

// Hands over the numbers of the pages that a usage map names; `map` leads to its row. False: there is no map,
// or it names more than `mostPages`.
bool ReadUsageMap(CPageReader& reader, const SLayout& layout, SRowPointer map, uint64_t mostPages,
                  const std::function<void(uint32_t)>& take);

class CFreePageMap {
 public:
  // A map that cannot be read tells of no free page.
  void Load(CPageReader& reader, const SLayout& layout);
  // Forgets a map that frees all pages that no engine ever frees, itself among them.
  void Doubt();
  [[nodiscard]] bool IsKnown() const { return m_isKnown; }
  [[nodiscard]] bool IsFree(uint64_t page) const {
    return page < m_isFree.size() && m_isFree[static_cast<size_t>(page)];
  }

 private:
  std::vector<bool> m_isFree;
  bool m_isKnown = false;
};

}  // namespace tolvane
