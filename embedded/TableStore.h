// A table that is open for adding rows: its definition, its maps, its open pages. System tables are stored
// the same way as the users' own.
#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <span>
#include <string_view>
#include <vector>

#include "embedded/DataPageWriter.h"
#include "embedded/IndexFeed.h"
#include "embedded/LongValueWriter.h"
#include "embedded/TableDefinition.h"
#include "embedded/TableIndexes.h"
#include "format/RowEncoder.h"
#include "format/SlottedPage.h"

namespace tolvane {

// Usage maps of a table: two for its rows, two for each long value column, one for each index; in this order.
size_t CountUsageMaps(const STableDefinition& definition);

// Where a new table's maps go: all on pages of their own, unless something else is asked for.
struct SMapPlaces {
  std::vector<uint32_t> given;    // row pointers of maps that are there already, one for each
  bool isEachIndexApart = false;  // the map of each index has a page of its own, in front of the index's root
};

// Gives a new, empty table its pages: maps, index roots and, behind `pages`, further definition pages. The
// definition receives their numbers and is written. When that fails, the pages are free again.
CDaoResult CreateTable(CPageFile& file, STableDefinition& definition, std::vector<uint32_t>& pages,
                       SMapPlaces maps = {});

class CTableStore {
 public:
  // `file` must outlive the store.
  CTableStore(CPageFile& file, uint32_t definitionPage);
  CTableStore(const CTableStore&) = delete;
  CTableStore& operator=(const CTableStore&) = delete;

  CDaoResult Load();
  // Writes open pages, maps, indexes and counters; nothing when no row was added. Rows may be added
  // afterwards.
  CDaoResult Store();

  [[nodiscard]] uint32_t GetPage() const { return m_page; }
  [[nodiscard]] const STableDefinition& GetDefinition() const { return m_definition; }
  [[nodiscard]] const SLayout& GetLayout() const { return m_file.GetLayout(); }
  [[nodiscard]] int32_t GetAutoNumber() const { return static_cast<int32_t>(m_definition.autoNumber); }
  void RaiseAutoNumber(int32_t value);

  // What Store had to change of the table's indexes, for the log.
  [[nodiscard]] const SIndexChanges& GetIndexChanges() const { return m_indexChanges; }

  // The row that is being put together: BeginRow, set values, then StoreRow or DiscardRow.
  [[nodiscard]] CRowEncoder& GetRow() { return *m_row; }
  // By position in the definition; nullptr for columns that hold no long values.
  [[nodiscard]] CLongValueWriter* GetLongValues(size_t column) { return m_longValues[column].get(); }
  void BeginRow();
  CDaoResult StoreRow();
  CDaoResult StoreRow(uint32_t& pointer);
  void DiscardRow();
  // A row that is complete as it is, without long values outside it; the one being put together is given up.
  CDaoResult StoreRow(std::span<const uint8_t> bytes);

  // Changes a stored row: `edit` sets columns of it. Fails when it no longer fits its page.
  CDaoResult EditRow(uint32_t pointer, const std::function<CDaoResult()>& edit);
  void RaiseComplexNumber(int32_t value) {
    if (value > GetComplexNumber()) m_definition.complexNumber = static_cast<uint32_t>(value);
  }
  [[nodiscard]] int32_t GetComplexNumber() const { return static_cast<int32_t>(m_definition.complexNumber); }

  // For relationships. A new index is built from the stored rows and is the last one afterwards; when that
  // cannot be, the definition is as before. Nothing may be open. The definition is stored by StoreIndexes.
  CDaoResult AddIndex(SRealIndex index);
  CDaoResult DropLastIndex();
  void MakeIndexUnique(size_t index) { m_definition.realIndexes[index].flags |= kIndexUnique; }
  void AddLogicalIndex(SLogicalIndex index);
  void RemoveLogicalIndex(std::u16string_view name);
  CDaoResult StoreIndexes();
  // Makes all text columns, or some by number, sort by the order General Legacy, and their indexes with them.
  // The definition is stored.
  CDaoResult UseGeneralLegacy();
  CDaoResult UseGeneralLegacy(std::span<const uint16_t> numbers);

  // Every stored row in page order, until `visit` answers false. Store first what is still open.
  using RowVisitor = std::function<bool(std::span<const uint8_t> row, uint32_t pointer)>;
  CDaoResult ForEachRow(const RowVisitor& visit);
  // One stored row; empty when the pointer names none. Valid until the next call.
  std::span<const uint8_t> ReadRow(uint32_t pointer);

 private:
  CDaoResult AddRow(size_t size, std::span<uint8_t>& row, uint32_t& pointer);
  CDaoResult ShortenRow();
  CDaoResult PlaceLongValues();
  void ForgetLongValues();
  CDaoResult BuildIndex(SRealIndex index);
  void StartFeed();
  void DropFeed();

  CPageFile& m_file;
  const uint32_t m_page;
  STableDefinition m_definition;
  std::vector<uint32_t> m_definitionPages;
  CPageSet m_owned, m_free;
  CDataPageWriter m_data;
  std::unique_ptr<CRowEncoder> m_row;
  std::vector<std::unique_ptr<CLongValueWriter>> m_longValues;
  SIndexChanges m_indexChanges;
  CSlottedPage m_readPage;
  bool m_isChanged = false;
  std::unique_ptr<CIndexFeed> m_feed;  // while all rows of the table are new and as they were stored
};

}  // namespace tolvane
