// The rows of a table of an SQL schema as values, one row in memory at a time.
#pragma once

#include <cstddef>
#include <cstdint>

#include "export/SqlSchema.h"
#include "export/ValueReader.h"
#include "writer/AttachmentSource.h"
#include "writer/SideFileSource.h"

namespace tolvane {

// Of one table.
struct SSqlCount {
  uint64_t rows = 0;
  uint64_t lostRows = 0;       // were recovered, but not read back or not taken
  uint64_t lostValues = 0;     // NULL stands for them
  uint64_t changedValues = 0;  // lack digits or characters
  [[nodiscard]] bool IsWhole() const { return lostRows == 0 && lostValues == 0 && changedValues == 0; }
};

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
  // Behind the last row: what could not be read back. Rows that were passed over are not missing.
  void AddLosses(SSqlCount& count) const;

 private:
  const SSqlTable& m_table;
  CTableValueReader m_reader;
  uint64_t m_rowsRead = 0;
};

// The bytes of an object, or of an attached file.
class CStoredBytes {
 public:
  bool Open(const CSqlRows& rows, const SSqlTable& table, size_t column);
  CDaoByteSource& Get() { return m_isFile ? static_cast<CDaoByteSource&>(m_file) : m_object; }
  [[nodiscard]] bool IsDamaged() const { return m_isFile ? m_file.IsDamaged() : m_isCut; }

 private:
  bool m_isFile = false, m_isCut = false;
  CAttachmentSource m_file;
  CSideFileSource m_object;
};

}  // namespace tolvane
