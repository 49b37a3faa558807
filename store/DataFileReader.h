// Reads one table data file value by value, from front to back, without a look at rows.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>

#include "store/ValueStream.h"

namespace tolvane {

// Makes the text of a record, where it is not the record itself.
class CRecordDecoder {
 public:
  virtual ~CRecordDecoder() = default;
  // The stream stands behind the record's count, and in the end behind the record; `position` is the
  // record's in the file.
  virtual bool Decode(CValueStream& stream, uint32_t count, size_t position, std::u16string& text) = 0;
};

class CDataFileReader {
 public:
  // Not owned; null where the records are texts.
  void SetDecoder(CRecordDecoder* decoder) { m_decoder = decoder; }
  void SetPath(const SFilePart& part) { m_part = part; }
  // From the start, up to the length that the file has now. After a failed open the reader is at its end.
  bool Open() {
    m_records = 0;
    return m_stream.Open(m_part);
  }
  void Close() { m_stream.Close(); }
  [[nodiscard]] bool IsEnd() const { return m_stream.IsAtEnd(); }
  // False at the end. The text goes up to the value's first zero unit. A count that runs past the end of the
  // file gives the text that is there, and the next call reports the end.
  bool ReadNext(std::u16string& text);

 private:
  CRecordDecoder* m_decoder = nullptr;
  size_t m_records = 0;  // read so far
  CValueStream m_stream;
  SFilePart m_part;
};

}  // namespace tolvane
