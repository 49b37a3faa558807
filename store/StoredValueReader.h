// Reads single values of a table's data file back, wherever their rows lie.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>

#include "store/ValueStream.h"

namespace tolvane {

class CStoredValueReader {
 public:
  // By the table's key. False when the data file cannot be opened.
  bool Open(uint64_t key);
  // The data file cannot be deleted before.
  void Close() { m_stream.Close(); }
  [[nodiscard]] bool IsOpen() const { return m_stream.IsOpen(); }
  // Of the row that begins at `place`; empty where there is no such value.
  std::u16string Read(uint64_t place, size_t column, size_t maximumUnits = CValueStream::kAllUnits);

 private:
  CValueStream m_stream;
};

}  // namespace tolvane
