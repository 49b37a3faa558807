// Pages of rows on which nothing is unusual, decoded into the records of a table's data file.
//
// Nothing is counted, told or written here: a page with a row that moved, a value that is not whole, a slot
// that lies, or with very long values is left to whoever walks over the table's pages in their order
// (TableWalk.h). So the decoders of several threads may work on pages in any order.
#pragma once

#include <cstdint>
#include <optional>
#include <span>
#include <vector>

#include "engine/FieldDecoder.h"
#include "engine/LongValueReader.h"
#include "engine/ObjectSink.h"
#include "engine/PageReader.h"
#include "engine/RowEntries.h"
#include "engine/RowProfile.h"
#include "model/AccessTable.h"
#include "model/RecoveryRules.h"
#include "status/JobContext.h"
#include "store/ObjectPlace.h"
#include "store/RecordBuffer.h"

namespace tolvane {

// Objects one behind the other in memory; references count from the first one.
class CObjectBuffer : public CObjectSink {
 public:
  void CutTo(size_t size) { m_bytes.resize(size); }
  [[nodiscard]] size_t GetSize() const { return m_bytes.size(); }
  [[nodiscard]] std::span<const uint8_t> GetBytes(size_t from, size_t to) const {
    return std::span(m_bytes).subspan(from, to - from);
  }
  void Begin() override { m_start = m_bytes.size(); }
  void Take(std::span<const uint8_t> bytes) override {
    m_bytes.insert(m_bytes.end(), bytes.begin(), bytes.end());
  }
  std::span<const uint8_t> End() override;

 private:
  std::vector<uint8_t> m_bytes;
  size_t m_start = 0;  // of the present value
  ObjectReference m_reference{};
};

// What one page yielded; of an unusual page nothing.
struct SDecodedPage {
  bool isPlain = false;
  uint32_t rows = 0;
  uint64_t leftoverValues = 0;  // of columns that the definition does not have
  uint64_t longValueCost = 0;   // what reading them takes of the run's budget
  uint64_t entries = 0;         // sum of the rows' index entries
  // Where its parts end in the batch; they begin where those of the page before end.
  size_t recordsEnd = 0, objectsEnd = 0, referencesEnd = 0;
};

// Pages that are decoded together, in the order of the table.
struct SDecodedBatch {
  std::span<const uint64_t> offsets;  // of the pages
  std::vector<SDecodedPage> pages;    // by offset; fewer when decoding ended early
  CRecordBuffer records;
  CObjectBuffer objects;
  std::vector<size_t> references;  // where the references to objects stand in the records

  void Clear();
  // The end of what is there.
  void MarkEnd(SDecodedPage& page) const;
  void CutTo(const SDecodedPage& end);
};

// What decoders need to know of a table; all stays while they work.
struct SDecodedTable {
  const CAccessTable* table = nullptr;
  const CRowProfile* profile = nullptr;
  std::span<const uint32_t> leftovers;  // numbers of columns that the definition does not have
  uint32_t codePage = 0;
  bool sumsEntries = false;
};

class CPageDecoder {
 public:
  // Has the file's pages to itself. Layout, rules and job outlive the decoder.
  CPageDecoder(const CPageReader& pages, const SLayout& layout, const SRecoveryRules& rules,
               const CJobContext& job);
  CPageDecoder(const CPageDecoder&) = delete;
  CPageDecoder& operator=(const CPageDecoder&) = delete;

  void SetTable(const SDecodedTable& table);
  // Appends the page to the batch. Throws std::bad_alloc only.
  void Decode(uint64_t offset, SDecodedBatch& batch);

 private:
  bool DecodePage(uint64_t offset, SDecodedPage& page, SDecodedBatch& batch);
  bool DecodeRow(std::span<const uint8_t> row, SRowPointer place, SDecodedPage& page, SDecodedBatch& batch);

  const SLayout& m_layout;
  const CJobContext& m_job;
  CPageReader m_pages;
  CLongValueReader m_longValues;
  CObjectBuffer m_objects;  // the batch's, while it is worked on
  CFieldDecoder m_fields;
  CRowFrame m_frame;
  SDecodedTable m_table;
  std::optional<CRowEntries> m_entries;
  std::vector<uint8_t> m_page;
};

}  // namespace tolvane
