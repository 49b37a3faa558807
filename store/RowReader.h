// Reads a table's data file back row by row, one value in memory at a time.
#pragma once

#include <cstddef>
#include <cstdint>
#include <vector>

#include "store/ValueStream.h"

namespace tolvane {

class CTableRowReader {
 public:
  explicit CTableRowReader(size_t columnCount) : m_columnCount(columnCount) {}

  // From the first row, up to the length that the file has now. False when the data file cannot be opened.
  bool Open(const SFilePart& part);
  // Moves on to the next row; what was not read of the last one is passed over. False after the last row. A
  // row that the file's end cuts short is the last one: the values that are whole are there.
  bool BeginRow();
  // The row that BeginRow begins next is the one that stands there in the file.
  void MoveToRow(uint64_t position);
  // The next column's record: a call a column. Without a whole record there are no bytes.
  void ReadRecord(std::vector<uint8_t>& bytes);
  // For whoever reads a record by itself: its count, the stream standing behind it. False: no whole record.
  bool BeginRecord(uint32_t& count);
  [[nodiscard]] CValueStream& GetStream() { return m_stream; }
  // The row read last is cut short, or the file ends in bytes that make no value.
  [[nodiscard]] bool IsIncomplete() const { return m_isIncomplete; }

 private:
  void PassRow();

  size_t m_columnCount;
  CValueStream m_stream;
  size_t m_column = 0;  // of the present row: the next one
  bool m_isInRow = false;
  bool m_hasCount = false;  // the next record's count was read already
  uint32_t m_count = 0;
  bool m_isIncomplete = false;
};

// The part's rows without the one that its end cuts short, and their number.
SFilePart KeepWholeRows(SFilePart part, size_t columnCount, uint32_t& rows);

}  // namespace tolvane
