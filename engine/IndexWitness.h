// What the indexes of a table say of the rows that were found of it. Those of large tables are read by a
// thread of their own while the rows are.
//
// Each entry names a row by its place and has its key, so that indexes know rows apart from the pages that
// hold them. On a sound file rows and entries agree to the last one, which the sum of their hashes shows at
// once. Where they do not, each row is held against its entries, and pages with rows that these contradict,
// or without rows that these name, are filed as torn.
#pragma once

#include <cstdint>
#include <future>
#include <vector>

#include "engine/PageReader.h"
#include "engine/RowEntries.h"
#include "engine/RowProfile.h"
#include "engine/Source.h"
#include "model/AccessData.h"
#include "status/JobContext.h"

namespace tolvane {

// Of a page that lacks rows.
inline constexpr const char* kRowsNotThere = "the table's indexes name rows that it does not have";

class CIndexWitness {
 public:
  // Both outlive the witness. The source holds the tables' definitions, too.
  CIndexWitness(CSource& source, const CJobContext& job);
  CIndexWitness(const CIndexWitness&) = delete;
  CIndexWitness& operator=(const CIndexWitness&) = delete;

  // Before the rows of the table are read. The table stays until it was heard, or the witness ends.
  void Begin(const CAccessTable& table, const CRowEntries& entries);
  // After all rows of that table were read. `sum`: of their entries.
  void Hear(CAccessData& data, const CAccessTable& table, const CRowProfile& profile, CRowEntries& entries,
            uint64_t sum);

 private:
  struct STestimony;
  struct SContradiction;
  // Of all entries of the table's indexes.
  struct SStatement {
    uint64_t sum = 0;
    bool isAnyWhole = false;  // of the indexes
  };

  SStatement Add(const CAccessTable& table, const std::vector<CRowEntries::SIndex>& indexes);
  // Hands each key over, with the pointer to its row. False: some of the index is not there.
  template <class F>
  bool Walk(const CAccessTable& table, const CRowEntries::SIndex& index, const F& take);
  STestimony Collect(const CAccessTable& table, const CRowEntries::SIndex& index);
  void Compare(CAccessData& data, const CAccessTable& table, const CRowProfile& profile,
               CRowEntries& entries);
  // Files the pages of rows that the indexes name and that are not there, but for those filed already.
  static void FileMissing(CAccessData& data, const CAccessTable& table,
                          const std::vector<STestimony>& testimonies,
                          const std::vector<SContradiction>& filed);
  void ComparePage(uint64_t offset, const CRowProfile& profile, CRowEntries& entries,
                   std::vector<STestimony>& testimonies, std::vector<SContradiction>& found);

  const SLayout& m_layout;
  const CJobContext& m_job;
  // The statement's thread has these to itself while it is there.
  CPageReader m_pages;
  uint64_t m_pagesLeft;  // of indexes, that may still be read

  std::vector<uint8_t> m_page;
  std::future<SStatement> m_statement;  // last: ends before what it needs
};

}  // namespace tolvane
