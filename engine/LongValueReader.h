// Memo and OLE values: the field in the row, and the pages that hold what does not fit into it.
//
// Every hop is bounded: by the stated length, by the links already visited, by the file's length, and over
// the whole run by a budget, so that many rows that point at one giant chain end too.
#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>
#include <unordered_set>
#include <vector>

#include "engine/LongValuePages.h"
#include "engine/PageReader.h"
#include "format/Layout.h"
#include "format/PageSlots.h"
#include "model/RecoveryRules.h"
#include "status/JobContext.h"

namespace tolvane {

// Takes a value's bytes, piece by piece.
class CLongValueSink {
 public:
  virtual ~CLongValueSink() = default;
  virtual void Take(std::span<const uint8_t> bytes) = 0;
};

class CLongValueReader {
 public:
  // All arguments outlive the reader. A value ends early once the job is stopped.
  CLongValueReader(CPageReader& reader, const SLayout& layout, const SRecoveryRules& rules,
                   const CJobContext& job);

  // Hands the bytes that could be read to `sink`. False: fewer than the field states, or no long value at
  // all.
  bool Read(std::span<const uint8_t> field, CLongValueSink& sink);
  // Why the value read last was not whole.
  [[nodiscard]] const char* GetFault() const { return m_fault; }
  // What reading may still cost; a value that costs more ends early.
  [[nodiscard]] uint64_t GetBudget() const { return m_budget; }
  void SetBudget(uint64_t budget) { m_budget = budget; }
  // Takes what another reader spent. False, and nothing is taken, where there is less.
  bool Spend(uint64_t cost);

  // Pages whose slots are not believed; they outlive the reader. Rows on them are found by their lengths, of
  // which the fields are to be noted before the first value is read.
  void UseBrokenPages(CLongValuePages& pages) { m_brokenPages = &pages; }
  void Note(std::span<const uint8_t> field);

 private:
  bool ReadSingle(SRowPointer pointer, size_t length, CLongValueSink& sink);
  bool ReadChain(SRowPointer pointer, size_t length, uint32_t stamp, CLongValueSink& sink);
  // The bytes of a live row on a long-value page, of which the value needs `length`; they stay until the next
  // call.
  std::optional<std::span<const uint8_t>> FindLiveRow(SRowPointer pointer, size_t length);
  bool LoadPage(uint32_t page);
  bool Fail(const char* fault);
  bool IsVisited(SRowPointer pointer);
  bool SpendBudget(size_t bytes);

  CPageReader& m_reader;
  const SLayout& m_layout;
  const SRecoveryRules& m_rules;
  const CJobContext& m_job;
  CLongValuePages* m_brokenPages = nullptr;
  const char* m_fault = nullptr;
  const uint32_t m_stampOffset;  // 0: the format has none
  std::vector<uint8_t> m_page;
  uint64_t m_loadedOffset;  // of the page in m_page
  std::unordered_set<uint32_t> m_visited;
  uint64_t m_budget;
};

}  // namespace tolvane
