// What a fuzzer of one parser gets: bytes, from whose front it takes what the parser is told besides.
#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <span>

#include "format/Layout.h"

namespace tolvane {

class CFuzzInput {
 public:
  CFuzzInput(const uint8_t* data, size_t size) : m_bytes(data, size) {}

  // 0 past the end.
  uint8_t TakeByte() {
    if (m_bytes.empty()) return 0;
    const uint8_t byte = m_bytes[0];
    m_bytes = m_bytes.subspan(1);
    return byte;
  }
  uint16_t TakeWord() {
    const unsigned low = TakeByte(), high = TakeByte();
    return static_cast<uint16_t>(low | high << 8);
  }
  const SLayout& TakeLayout() { return TakeByte() % 2 == 0 ? kLayoutJet3 : kLayoutJet4; }
  // So many bytes, or those that are left.
  std::span<const uint8_t> Take(size_t count) {
    const std::span<const uint8_t> taken = m_bytes.first(std::min(count, m_bytes.size()));
    m_bytes = m_bytes.subspan(taken.size());
    return taken;
  }
  [[nodiscard]] bool IsEmpty() const { return m_bytes.empty(); }
  [[nodiscard]] std::span<const uint8_t> Rest() const { return m_bytes; }

 private:
  std::span<const uint8_t> m_bytes;
};

// What must hold whatever the bytes are.
inline void Require(bool holds) {
  if (!holds) std::abort();
}

}  // namespace tolvane
