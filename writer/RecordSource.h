// The bytes of one record of a table's data file, read piece by piece.
#pragma once

#include <algorithm>

#include "dao/dao.h"
#include "store/ValueStream.h"

namespace tolvane {

class CRecordSource : public CDaoByteSource {
 public:
  // The stream stands at the bytes; it outlives the source and is not used by others meanwhile.
  CRecordSource(CValueStream& stream, uint64_t length)
      : m_stream(stream), m_start(stream.GetPosition()), m_length(length), m_left(length) {}

  bool Read(std::span<uint8_t> buffer, size_t& bytesRead) override {
    const auto wanted = static_cast<size_t>(std::min<uint64_t>(buffer.size(), m_left));
    bytesRead = m_stream.ReadBytes(buffer.first(wanted));
    m_left -= bytesRead;
    return bytesRead == wanted;
  }
  [[nodiscard]] uint64_t GetLength() const override { return m_length; }
  bool Restart() override {
    m_stream.MoveTo(m_start);
    m_left = m_length;
    return true;
  }

 private:
  CValueStream& m_stream;
  uint64_t m_start;
  uint64_t m_length;
  uint64_t m_left;
};

}  // namespace tolvane
