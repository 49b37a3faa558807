// The RC4 key stream, used by the file format to mask (not to protect) its header and its SIDs.
#pragma once

#include <array>
#include <cstdint>
#include <span>
#include <utility>

namespace tolvane {

class CRc4 {
 public:
  explicit CRc4(std::span<const uint8_t> key) {
    for (unsigned i = 0; i < 256; i++) m_state[i] = static_cast<uint8_t>(i);
    uint8_t j = 0;
    for (unsigned i = 0; i < 256; i++) {
      j = static_cast<uint8_t>(j + m_state[i] + key[i % key.size()]);
      std::swap(m_state[i], m_state[j]);
    }
  }
  // XORs the next bytes of the stream over `bytes`.
  void Apply(std::span<uint8_t> bytes) {
    for (uint8_t& byte : bytes) {
      m_j = static_cast<uint8_t>(m_j + m_state[++m_i]);
      std::swap(m_state[m_i], m_state[m_j]);
      byte ^= m_state[static_cast<uint8_t>(m_state[m_i] + m_state[m_j])];
    }
  }

 private:
  std::array<uint8_t, 256> m_state{};
  uint8_t m_i = 0, m_j = 0;
};

}  // namespace tolvane
