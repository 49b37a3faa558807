// What the indexes of a table say of the rows that were found of it.
//
// Each entry names a row by its place and has its key, so that indexes know rows apart from the pages that
// hold them. On a sound file rows and entries agree to the last one, which the sum of their hashes shows at
// once. Where they do not, each row is held against its entries, and pages with rows that these contradict
// are filed as torn.
#pragma once

#include <cstdint>
#include <functional>
#include <vector>

#include "engine/RowEntries.h"
#include "engine/RowProfile.h"
#include "engine/Source.h"
#include "model/AccessData.h"
#include "status/JobContext.h"

namespace tolvane {

class CIndexWitness {
 public:
  // Both outlive the witness. The source holds the tables' definitions, too.
  CIndexWitness(CSource& source, const CJobContext& job);

  // After all rows of the table were read. `sum`: of their entries.
  void Hear(CAccessData& data, const CAccessTable& table, const CRowProfile& profile, CRowEntries& entries,
            uint64_t sum);

 private:
  using TakeEntry = std::function<void(std::span<const uint8_t> key, SRowPointer row)>;
  struct STestimony;
  struct SContradiction;

  // False: some of the index is not there.
  bool Walk(const CAccessTable& table, const CRowEntries::SIndex& index, const TakeEntry& take);
  STestimony Collect(const CAccessTable& table, const CRowEntries::SIndex& index);
  void Compare(CAccessData& data, const CAccessTable& table, const CRowProfile& profile,
               CRowEntries& entries);
  void ComparePage(uint64_t offset, const CRowProfile& profile, CRowEntries& entries,
                   std::vector<STestimony>& testimonies, std::vector<SContradiction>& found);

  CSource& m_source;
  const SLayout& m_layout;
  const CJobContext& m_job;
  std::vector<uint8_t> m_page;
  uint64_t m_pagesLeft;  // of indexes, that may still be read
};

}  // namespace tolvane
