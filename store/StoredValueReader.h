// Reads single values of a table's data file back, wherever their rows lie.
#pragma once

#include <cstddef>
#include <cstdint>

#include "store/ValueStream.h"

namespace tolvane {

class CStoredValueReader {
 public:
  // The records of a table. False when their file cannot be opened.
  bool Open(const SFilePart& part) { return m_stream.Open(part); }
  [[nodiscard]] bool IsOpen() const { return m_stream.IsOpen(); }
  // Moves to a value of the row that begins at `place`, of which the record's count is told; what follows is
  // read from the stream. False where there is no such value.
  bool Find(uint64_t place, size_t column, uint32_t& count);
  [[nodiscard]] CValueStream& GetStream() { return m_stream; }

 private:
  CValueStream m_stream;
};

}  // namespace tolvane
