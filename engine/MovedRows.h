// Rows that outgrew their page and were moved: their slot keeps a pointer, and the body lies in a hidden slot
// of another page of the same table.
//
//   page 30, slot 4, marked as a pointer:  row number and page of the body
//                                               |
//   page 57, slot 0, marked as hidden:      <---+   the row
//
// A body is read once: through its pointer, or alone where the pointer is lost. What pointers that lie may
// yield is bounded over a run.
#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>
#include <unordered_set>
#include <vector>

#include "engine/PageReader.h"
#include "format/Layout.h"
#include "format/PageSlots.h"
#include "model/AccessTable.h"
#include "model/RecoveryRules.h"

namespace tolvane {

// Answered bytes are valid until the next question.
class CMovedRows {
 public:
  using Bytes = std::span<const uint8_t>;

  // All outlive the object.
  CMovedRows(CPageReader& reader, const SLayout& layout, const SRecoveryRules& rules);

  // Forgets the table before; the next one outlives the questions about it.
  void Begin(const CAccessTable& table);
  // The body that the pointer at `start` of the page leads to. Nothing: `fault` says why, for people.
  std::optional<Bytes> Follow(Bytes page, size_t start, const char*& fault);
  // Keeps a hidden slot in mind, which may be the body of a row whose pointer is lost.
  void NoteHidden(uint64_t page, uint32_t slot, uint16_t word);
  // What no pointer led to, when all were followed.
  [[nodiscard]] std::vector<SRowPointer> ListUnclaimed() const;
  // The body of one of these.
  std::optional<Bytes> Read(SRowPointer pointer);
  // Whether a body that was read through its pointer begins at that offset of the file.
  [[nodiscard]] bool IsClaimed(uint64_t offset) const { return m_claimedOffsets.count(offset) != 0; }

 private:
  std::optional<Bytes> Find(SRowPointer pointer);
  [[nodiscard]] bool IsOfTable(SRowPointer pointer) const;
  bool Load(uint64_t offset);

  CPageReader& m_reader;
  const SLayout& m_layout;
  const SRecoveryRules& m_rules;
  const CAccessTable* m_table = nullptr;
  std::vector<uint8_t> m_page;  // of the body asked for last
  uint64_t m_offset;
  uint64_t m_bytesLeft;  // of rows, over the run

  // Only while hidden rows count as rows of their own.
  std::unordered_set<uint32_t> m_claimed;  // targets of pointers
  std::unordered_set<uint64_t> m_claimedOffsets;
  std::vector<SRowPointer> m_hidden;
};

}  // namespace tolvane
