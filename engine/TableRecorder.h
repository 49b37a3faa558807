// The way of a table's rows into its data file: a row is held against the definition, its values are decoded
// and written, and what is wrong with it is counted with the page that it comes from.
#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <optional>
#include <span>
#include <string_view>
#include <vector>

#include "engine/FieldDecoder.h"
#include "engine/IndexWitness.h"
#include "engine/LongValueReader.h"
#include "engine/ObjectFile.h"
#include "engine/OleSideFile.h"
#include "engine/PageDecoder.h"
#include "engine/RecordWriter.h"
#include "engine/RowEntries.h"
#include "engine/RowProfile.h"
#include "engine/Source.h"
#include "format/RowFrame.h"
#include "model/AccessData.h"
#include "model/RecoveryRules.h"
#include "status/JobContext.h"
#include "store/AccessTableDataFile.h"

namespace tolvane {

// One object for all tables of a run: side files are numbered and budgets are spent over the run.
class CTableRecorder {
 public:
  // All arguments outlive the recorder; the source is open. `witness` may be null. `brokenPages` are those of
  // long values; none if null.
  CTableRecorder(CSource& source, const SRecoveryRules& rules, CJobContext& job, CAccessData& data,
                 CLongValuePages* brokenPages, CIndexWitness* witness);

  // Tells the reader of long values which of them the row has, of a table that is parsed later.
  void NoteRow(const CAccessTable& table, std::span<const uint8_t> row);

  // Makes the records of the table from the rows that `walk` hands over; that answers false when the run was
  // stopped, as does this. A table whose data file cannot be written is logged and counted.
  bool Record(CAccessTable& table, const std::function<bool()>& walk);

  // --- during the walk ---

  // Of the row or damage that is told next.
  void SetPage(uint64_t offset) { m_offset = offset; }
  // The row with its values; false, and nothing is counted, when it contradicts the definition.
  bool TryRow(std::span<const uint8_t> row, uint32_t slot);
  // The same, and a row that contradicts the definition is counted.
  void AddRow(std::span<const uint8_t> row, uint32_t slot);
  // What a page that was decoded ahead yielded, behind that of the page `before`. False, and nothing is
  // taken, when that is not known, or costs more than the run may.
  bool TakePage(const SDecodedPage& page, const SDecodedPage& before, SDecodedBatch& batch);
  void Count(EDamage kind, int64_t slot, const char* reason = nullptr,
             std::optional<size_t> column = std::nullopt);

  [[nodiscard]] uint32_t GetRowCount() const { return m_rows; }
  // Null by rules that do not hold rows against their definition.
  [[nodiscard]] CRowProfile* GetProfile() { return m_profile ? &*m_profile : nullptr; }
  [[nodiscard]] CRowFrame& GetFrame() { return m_frame; }
  // For decoders that work ahead of the walk; with a profile only.
  [[nodiscard]] SDecodedTable DescribeTable() const;

 private:
  void Begin(CAccessTable& table);
  void PrepareProfile();
  [[nodiscard]] bool KeepsRows() const;
  bool StartFiles();
  void GiveUp(std::u16string_view reason);
  void CloseQuietly();

  const SLayout& m_layout;
  const SRecoveryRules& m_rules;
  CJobContext& m_job;
  CPageReader& m_reader;
  CAccessData& m_data;
  CIndexWitness* m_witness;
  CAccessTableDataFile m_dataFile;
  COleSideFile m_sideFile;
  CObjectFile m_objectFile;
  CLongValueReader m_longValues;
  CFieldDecoder m_fields;
  CRecordWriter m_records;
  CRowFrame m_frame;

  CAccessTable* m_table = nullptr;
  const CAccessTable* m_noted = nullptr;  // the table whose long values are noted
  uint64_t m_offset = 0;
  uint32_t m_rows = 0;

  // Only while rows are held against their definition.
  std::vector<uint32_t> m_leftovers;  // numbers of columns that the definition does not have
  std::optional<CRowProfile> m_profile;
  std::optional<CRowEntries> m_entries;
  uint64_t m_entrySum = 0;  // of the rows that were found
};

}  // namespace tolvane
