// The walk over one table's data pages: pages to rows, rows to values, values to the table's data file.
#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "engine/DecodePool.h"
#include "engine/FieldDecoder.h"
#include "engine/IndexWitness.h"
#include "engine/LongValueReader.h"
#include "engine/MovedRows.h"
#include "engine/ObjectFile.h"
#include "engine/OleSideFile.h"
#include "engine/PageClaims.h"
#include "engine/PageRows.h"
#include "engine/RecordWriter.h"
#include "engine/RowEntries.h"
#include "engine/RowProfile.h"
#include "engine/Source.h"
#include "format/PageSlots.h"
#include "format/RowFrame.h"
#include "model/AccessData.h"
#include "model/RecoveryRules.h"
#include "status/JobContext.h"
#include "store/AccessTableDataFile.h"

namespace tolvane {

// One object for all tables of a run: side files are numbered and budgets are spent over the run.
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

  [[nodiscard]] bool KeepsRows() const;
  bool StartFiles();
  bool WalkPages();
  bool WalkPages(std::span<const uint64_t> offsets);
  bool WalkMisplacedPages();
  bool WalkPage(uint64_t offset);
  [[nodiscard]] bool CanDecodeAhead() const;
  bool TakeBatch(SDecodedBatch& batch);
  void TakePage(const SDecodedPage& page, const SDecodedPage& before, SDecodedBatch& batch);
  bool CutPage();
  // The same by the rules that hold rows against their definition.
  void PrepareProfile();
  bool CutExactPage();
  void CutContestedRows(const std::vector<SPageRow>& contested);
  bool RebuildPages();
  bool AdoptPages();
  bool TakeRow(const SPageRow& row);
  void FollowPointer(uint32_t slot, size_t start);
  bool DecodeUnclaimedRows();
  void DecodeRow(Bytes row, uint32_t slot);
  bool TryRow(Bytes row, uint32_t slot);
  [[nodiscard]] bool IsRowOfSlots(Bytes row) const;
  void Count(EDamage kind, int64_t slot, const char* reason = nullptr,
             std::optional<size_t> column = std::nullopt);
  void GiveUp(std::u16string_view reason);
  void CloseQuietly();

  const SLayout& m_layout;
  const SRecoveryRules& m_rules;
  CJobContext& m_job;
  CPageReader& m_reader;
  CAccessData& m_data;
  CPageClaims& m_claims;
  CIndexWitness* m_witness;
  CAccessTableDataFile m_dataFile;
  COleSideFile m_sideFile;
  CObjectFile m_objectFile;
  CLongValueReader m_longValues;
  CFieldDecoder m_fields;
  CRecordWriter m_records;
  CRowFrame m_frame;
  CDecodePool m_pool;
  CMovedRows m_moved;

  CAccessTable* m_table = nullptr;
  uint32_t m_rows = 0;
  std::vector<uint8_t> m_page;
  uint64_t m_offset = 0;       // of the page being cut
  size_t m_pageBytesLeft = 0;  // row bytes that the page may still yield

  // Only while rows are held against their definition.
  std::vector<uint32_t> m_leftovers;  // numbers of columns that the definition does not have
  std::optional<CRowProfile> m_profile;
  std::optional<CRowEntries> m_entries;
  uint64_t m_entrySum = 0;               // of the rows that were found
  std::vector<uint64_t> m_unsoundPages;  // whose slots cannot be true
};

}  // namespace tolvane
