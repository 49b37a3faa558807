// Reads one table data file value by value, from front to back, without a look at rows.
#pragma once

#include <string>
#include <string_view>

#include "store/ValueStream.h"

namespace tolvane {

class CDataFileReader {
 public:
  void SetPath(std::u16string_view path) { m_path = path; }
  // From the start, up to the length that the file has now. After a failed open the reader is at its end.
  bool Open() { return m_stream.Open(m_path); }
  void Close() { m_stream.Close(); }
  [[nodiscard]] bool IsEnd() const { return m_stream.IsAtEnd(); }
  // False at the end. The text goes up to the value's first zero unit. A count that runs past the end of the
  // file gives the text that is there, and the next call reports the end.
  bool ReadNext(std::u16string& text);

 private:
  CValueStream m_stream;
  std::u16string m_path;
};

}  // namespace tolvane
