// Collects the entries of one index while a table's rows pass by, and notes what in them the index forbids.
#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "embedded/IndexSorter.h"
#include "embedded/PageFile.h"
#include "embedded/TableDefinition.h"
#include "format/IndexKey.h"
#include "format/RowFrame.h"
#include "format/SlottedPage.h"

namespace tolvane {

// Values of rows as keys are made of them: a text plain, of a memo the beginning that counts, wherever it is
// stored.
class CIndexedValues {
 public:
  // Both must outlive the object; no long value of the table may change meanwhile.
  CIndexedValues(CPageFile& file, const STableDefinition& definition);

  // The row's bytes must stay.
  void SetRow(std::span<const uint8_t> row) { m_isRow = m_frame.Cut(row, m_shape); }
  // `value` is valid until the next call; nullopt is null. False when it cannot be read, or the bytes are no
  // row of the table.
  bool Read(const SColumnDefinition& column, std::optional<std::span<const uint8_t>>& value);

 private:
  bool ReadHead(std::span<const uint8_t> reference, std::span<const uint8_t>& head);

  CPageFile& m_file;
  const SRowShape m_shape;
  CRowFrame m_frame;
  bool m_isRow = false;
  CSlottedPage m_page;  // of long values
  uint32_t m_pageNumber = 0;
  std::vector<uint8_t> m_bytes, m_text;
};

class CIndexCollector {
 public:
  // All must outlive the collector. `memory` bounds the entries that stay in memory.
  CIndexCollector(CPageFile& file, const STableDefinition& definition, const SRealIndex& index,
                  size_t memory);

  // The row is that of `values`, which the collectors of a table share. An error is the disk's; what the row
  // says is noted instead.
  EDaoError Add(CIndexedValues& values, uint32_t pointer);

  // Why the index cannot be built, behind "was left out: "; empty when it can.
  [[nodiscard]] std::u16string_view GetObstacle() const { return m_obstacle; }
  // The obstacle is the sort order of a text column.
  [[nodiscard]] bool IsOrderUnknown() const;
  // Rows in which a column of the index is null, and the first of them.
  [[nodiscard]] uint64_t GetNullRows() const { return m_nullRows; }
  [[nodiscard]] CIndexSorter& GetSorter() { return m_sorter; }
  // The key of a row whose columns are all null: the only one that a unique index lets repeat.
  [[nodiscard]] const std::vector<uint8_t>& GetAllNullKey() const { return m_allNullKey; }

 private:
  // False, with the obstacle noted, when the row has no key.
  bool MakeKey(CIndexedValues& values);
  [[nodiscard]] SIndexKeyFormat FormatOf(const SColumnDefinition& column) const;

  const SLayout& m_layout;
  const SRealIndex& m_index;
  std::vector<const SColumnDefinition*> m_columns;  // of the index; null where the table has none such
  CIndexSorter m_sorter;
  std::vector<uint8_t> m_key;
  std::vector<uint8_t> m_allNullKey;
  size_t m_nullColumns = 0;  // of the row at hand
  std::u16string_view m_obstacle;
  uint64_t m_nullRows = 0;
};

using IndexCollectors = std::vector<std::unique_ptr<CIndexCollector>>;
// By index; null in front of `first`. They share the memory in which a table's entries are sorted.
IndexCollectors MakeCollectors(CPageFile& file, const STableDefinition& definition, size_t first);

// The values of a row in the index's columns, for people: "17", "\"Miller\", null".
std::u16string DescribeKey(CPageFile& file, const STableDefinition& definition, const SRealIndex& index,
                           std::span<const uint8_t> row);

}  // namespace tolvane
