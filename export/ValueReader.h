// The rows of a table as values, one row in memory at a time. For runs that keep values, not texts.
#pragma once

#include <cstddef>
#include <cstdint>
#include <vector>

#include "model/AccessTable.h"
#include "store/ObjectPlace.h"
#include "store/RowReader.h"
#include "store/ValueRecord.h"

namespace tolvane {

class CTableValueReader {
 public:
  // The table outlives the reader. Goes through the rows once where a calculated column does not tell what
  // its results are.
  explicit CTableValueReader(const CAccessTable& table);

  // From the first row. False when the data file cannot be opened.
  bool Open() { return m_rows.Open(m_table.GetRecords()); }
  // False after the last row. Of a row that the file's end cuts short the values that are whole are there.
  bool ReadRow();
  // Of the row read last, until the next one. A record that is no value of its type reads as null.
  [[nodiscard]] const SValue& GetValue(size_t column) const { return m_values[column]; }
  // Where the bytes of an object are. False where it has none.
  bool GetPlace(size_t column, SObjectPlace& place) const;
  // Values of the rows read so far that could not be taken.
  [[nodiscard]] uint64_t GetLostValues() const { return m_lostValues; }

 private:
  const CAccessTable& m_table;
  CTableRowReader m_rows;
  std::vector<SValueKind> m_kinds;              // as the records say
  std::vector<uint8_t> m_types;                 // as the column says
  std::vector<std::vector<uint8_t>> m_records;  // by column, reused
  std::vector<SValue> m_values;
  uint64_t m_lostValues = 0;
};

}  // namespace tolvane
