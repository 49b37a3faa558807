// Bytes in memory, handed over piece by piece.
#pragma once

#include <algorithm>

#include "dao/dao.h"

namespace tolvane {

class CMemorySource : public CDaoByteSource {
 public:
  explicit CMemorySource(std::span<const uint8_t> bytes) : m_rest(bytes), m_length(bytes.size()) {}
  bool Read(std::span<uint8_t> buffer, size_t& bytesRead) override {
    bytesRead = std::min(buffer.size(), m_rest.size());
    std::copy_n(m_rest.begin(), bytesRead, buffer.begin());
    m_rest = m_rest.subspan(bytesRead);
    return true;
  }
  [[nodiscard]] uint64_t GetLength() const override { return m_length; }

 private:
  std::span<const uint8_t> m_rest;
  uint64_t m_length;
};

}  // namespace tolvane
