// The walk over one table's data pages: which pages are its own, and the rows of each. What becomes of a row
// is the recorder's.
#pragma once

#include <cstddef>
#include <cstdint>
#include <span>
#include <vector>

#include "engine/DecodePool.h"
#include "engine/IndexWitness.h"
#include "engine/MovedRows.h"
#include "engine/PageClaims.h"
#include "engine/PageRows.h"
#include "engine/Source.h"
#include "engine/TableRecorder.h"
#include "format/PageSlots.h"
#include "model/AccessData.h"
#include "model/RecoveryRules.h"
#include "status/JobContext.h"

namespace tolvane {

// One object for all tables of a run.
class CTableWalk {
 public:
  // All arguments outlive the walk; the source is open. `witness` is null where the definitions are not the
  // source's own.
  CTableWalk(CSource& source, const SRecoveryRules& rules, CJobContext& job, CAccessData& data,
             CPageClaims& claims, CIndexWitness* witness = nullptr);

  // Before the first table is parsed, for each one, where pages of long values have broken slots: the lengths
  // of the values tell where these lie. False: the run was stopped.
  bool NoteLongValues(const CAccessTable& table);
  // False: the run was stopped. A table whose data file cannot be written is logged and counted.
  bool ParseTable(CAccessTable& table);

 private:
  using Bytes = std::span<const uint8_t>;
  // To look for the place where one is torn costs the reading of hundreds.
  static constexpr size_t kMostTornPages = 256;

  // Each answers false when the run was stopped.
  bool WalkPages();
  bool WalkPages(std::span<const uint64_t> offsets);
  bool WalkMisplacedPages();
  bool WalkPage(uint64_t offset);
  bool AdoptPages();
  bool RebuildPages();
  bool DecodeUnclaimedRows();
  bool TakeRowsToCome();
  [[nodiscard]] bool CanDecodeAhead();
  bool TakeBatch(SDecodedBatch& batch);
  bool CutPage();
  // The same by the rules that hold rows against their definition.
  bool CutExactPage();
  void CutContestedRows(const std::vector<SPageRow>& contested);
  bool TakeRow(const SPageRow& row);
  void FollowPointer(uint32_t slot, size_t start);
  [[nodiscard]] bool IsRowOfSlots(Bytes row) const;
  bool ReadPage(uint64_t offset);
  [[nodiscard]] uint64_t OffsetOf(uint32_t page) const { return uint64_t{page} * m_layout.pageSize; }
  [[nodiscard]] Bytes BytesOf(const SPageRow& row) const {
    return Bytes(m_page).subspan(row.start, row.end - row.start);
  }
  [[nodiscard]] bool IsRunning() const { return m_job.repairing.IsRunning(); }

  const SLayout& m_layout;
  const SRecoveryRules& m_rules;
  CJobContext& m_job;
  CPageReader& m_reader;
  CPageClaims& m_claims;
  CTableRecorder m_recorder;
  CDecodePool m_pool;
  CMovedRows m_moved;

  CAccessTable* m_table = nullptr;
  std::vector<uint8_t> m_page;
  uint64_t m_offset = 0;       // of the page being cut
  size_t m_pageBytesLeft = 0;  // row bytes that the page may still yield
  size_t m_tornPagesLeft = kMostTornPages;
  std::vector<uint64_t> m_unsoundPages;  // whose slots cannot be true
};

}  // namespace tolvane
