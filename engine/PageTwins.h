// Pages of rows that hold the same bytes: one of them may have been written over another.
#pragma once

#include <cstdint>
#include <span>
#include <vector>

#include "engine/Source.h"

namespace tolvane {

class CPageTwins {
 public:
  // A number that different pages hardly ever share.
  static uint32_t PrintOf(std::span<const uint8_t> page);
  // Takes note of a page and its print; pages come in the order of their numbers. Costs eight bytes a page.
  void Note(uint32_t print, uint32_t number) { m_prints.push_back({print, number}); }

  struct STwin {
    uint32_t page = 0;
    uint32_t first = 0;  // the lowest page with the same bytes
  };
  // In the order of the pages. Reads the pages of equal prints once more.
  [[nodiscard]] std::vector<STwin> Find(CSource& source) const;

 private:
  struct SPrint {
    uint32_t print = 0;
    uint32_t page = 0;
  };
  std::vector<SPrint> m_prints;
};

}  // namespace tolvane
