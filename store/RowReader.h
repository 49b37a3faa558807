// Reads a table's data file back row by row.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

#include "model/AccessTable.h"
#include "store/ValueStream.h"

namespace tolvane {

// The table must outlive the reader.
class CTableRowReader {
 public:
  explicit CTableRowReader(const CAccessTable& table) : m_table(table) {}

  // From the first row, up to the length that the file has now. False when the data file cannot be opened.
  bool Open();
  // One cell a column, in column order; the strings are reused. False after the last row. A row that the
  // file's end cuts short is the last one: the values that are whole are returned, the other cells are empty.
  bool ReadRow(std::vector<std::u16string>& cells);
  // The row read last is cut short, or the file ends in bytes that make no value.
  [[nodiscard]] bool IsIncomplete() const { return m_isIncomplete; }

 private:
  bool ReadCell(std::u16string& cell);

  const CAccessTable& m_table;
  CValueStream m_stream;
  bool m_isIncomplete = false;
};

}  // namespace tolvane
