// The entries of a sorter for whoever builds a tree of them, fetched ahead by another thread where there are
// many: merging runs takes about as long as building.
//
//   runs -> merge -> blocks of entries, a bounded number -> tree
#pragma once

#include <cstddef>
#include <cstdint>
#include <vector>

#include "embedded/IndexSorter.h"
#include "platform/OrderedTeam.h"

namespace tolvane {

class CSortedEntries : private COrderedSteps {
 public:
  // The sorter has sorted, and nobody else asks it for entries while this object lives.
  CSortedEntries(CIndexSorter& sorter, uint32_t threads);
  ~CSortedEntries() override;

  // As CIndexSorter::Next. Throws what fetching threw.
  bool Next(SIndexEntry& entry);

 private:
  struct SBlock {
    struct SPlace {  // of an entry whose key ends there
      size_t end;
      uint32_t page;
      uint8_t row;
      bool repeatsKey;
    };
    std::vector<uint8_t> keys;
    std::vector<SPlace> entries;
  };

  bool BeginStep(size_t slot) override;
  void DoStep(size_t /*slot*/, size_t /*worker*/) override {}  // all of it is in order

  CIndexSorter& m_sorter;
  COrderedTeam m_team;
  std::vector<SBlock> m_blocks;  // by slot
  const SBlock* m_block = nullptr;
  size_t m_next = 0, m_start = 0;  // in the block
};

}  // namespace tolvane
