// The records of one table's data file as texts, whichever form the run keeps them in: the texts themselves,
// or values that are printed.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

#include "model/AccessTable.h"
#include "model/RecoveryRules.h"
#include "store/DataFileReader.h"
#include "store/ObjectPlace.h"
#include "store/RowReader.h"
#include "store/ValueRecord.h"
#include "store/ValueStream.h"

namespace tolvane {

SValueKind KindOf(const CAccessColumn& column);

// Once a table.
class CRecordText : public CRecordDecoder {
 public:
  CRecordText(const CAccessColumnList& columns, const SRecoveryRules& rules);

  // The text of the record of `count` bytes at which the stream stands, at most its first units; null is
  // empty. Moves on by `count`. False where the file ends earlier.
  bool Read(CValueStream& stream, uint32_t count, size_t column, std::u16string& text,
            size_t maximumUnits = CValueStream::kAllUnits);
  bool Decode(CValueStream& stream, uint32_t count, size_t position, std::u16string& text) override {
    return Read(stream, count, m_kinds.empty() ? 0 : position % m_kinds.size(), text);
  }
  // In the same way where the bytes of an object are; `objects` is the file of the table's objects. False,
  // too, where there is no object.
  bool ReadPlace(CValueStream& stream, uint32_t count, const std::u16string& objects, SObjectPlace& place);
  // A record of no bytes is null, and not the empty text.
  [[nodiscard]] bool TellsNull() const { return !m_areTexts; }

 private:
  bool m_areTexts;
  std::vector<SValueKind> m_kinds;  // by column
  std::vector<uint8_t> m_record;
};

// The rows of a table as texts.
class CTableTextReader {
 public:
  // The table must outlive the reader.
  CTableTextReader(const CAccessTable& table, const SRecoveryRules& rules);

  // From the first row, up to the length that the file has now. False when the data file cannot be opened.
  bool Open() { return m_rows.Open(m_table.GetRecords()); }
  // One cell a column, in column order; the strings are reused. False after the last row. A row that the
  // file's end cuts short is the last one: the values that are whole are returned, the other cells are empty.
  // The cell of an object is the path of the file that its bytes are in.
  bool ReadRow(std::vector<std::u16string>& cells);
  // Of the row read last: the column has no value, where that is told from an empty text.
  [[nodiscard]] bool IsNull(size_t column) const { return m_nulls[column]; }
  // Of the row read last; for an OLE column whose cell is not empty.
  [[nodiscard]] const SObjectPlace& GetObjectPlace(size_t column) const { return m_places[column]; }
  [[nodiscard]] bool IsIncomplete() const { return m_rows.IsIncomplete(); }

 private:
  const CAccessTable& m_table;
  CTableRowReader m_rows;
  CRecordText m_text;
  std::vector<SObjectPlace> m_places;  // by column
  std::vector<bool> m_nulls;
};

}  // namespace tolvane
