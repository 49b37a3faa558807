// The rows of a table of an SQL schema as values, one row in memory at a time.
#pragma once

#include <cstddef>
#include <cstdint>

#include "export/SqlSchema.h"
#include "export/ValueReader.h"

namespace tolvane {

class CSqlRows {
 public:
  // The table outlives this object.
  explicit CSqlRows(const SSqlTable& table) : m_table(table), m_reader(*table.source) {}

  bool Open() { return m_reader.Open(); }
  // False after the last row. Values of complex columns without a record are passed over.
  bool ReadRow();
  // Of the row read last, until the next one.
  [[nodiscard]] const SValue& GetValue(size_t column) const {
    return m_reader.GetValue(m_table.columns[column].source);
  }
  bool GetPlace(size_t column, SObjectPlace& place) const {
    return m_reader.GetPlace(m_table.columns[column].source, place);
  }
  // Read so far, with those that were passed over.
  [[nodiscard]] uint64_t GetRowsRead() const { return m_rowsRead; }
  [[nodiscard]] uint64_t GetLostValues() const { return m_reader.GetLostValues(); }

 private:
  const SSqlTable& m_table;
  CTableValueReader m_reader;
  uint64_t m_rowsRead = 0;
};

}  // namespace tolvane
