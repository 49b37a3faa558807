// Little-endian numbers from bytes. The caller has made sure that the bytes are there; where that is not
// known, CByteView answers zero for every byte beyond its end.
#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <span>
#include <vector>

namespace tolvane {

class CDataReader {
 public:
  virtual ~CDataReader() = default;

  static constexpr uint16_t ReadUInt16(const uint8_t* bytes) {
    return static_cast<uint16_t>(bytes[0] | bytes[1] << 8);
  }
  static constexpr uint32_t ReadUInt24(const uint8_t* bytes) {
    return ReadUInt16(bytes) | uint32_t{bytes[2]} << 16;
  }
  static constexpr uint32_t ReadUInt32(const uint8_t* bytes) {
    return ReadUInt24(bytes) | uint32_t{bytes[3]} << 24;
  }
  static constexpr int64_t ReadInt32(const uint8_t* bytes) { return static_cast<int32_t>(ReadUInt32(bytes)); }
  static constexpr uint32_t ReadUInt32Alt(const uint8_t* bytes) { return ReadUInt32(bytes); }
};

// Bytes from a damaged file. Any position may be asked for; what lies beyond the end reads as zero.
class CByteView {
 public:
  explicit CByteView(std::span<const uint8_t> bytes) : m_bytes(bytes) {}
  [[nodiscard]] uint8_t GetUInt8(uint64_t position) const {
    return position < m_bytes.size() ? m_bytes[static_cast<size_t>(position)] : uint8_t{0};
  }
  [[nodiscard]] uint16_t GetUInt16(uint64_t position) const {
    return static_cast<uint16_t>(GetUInt8(position) | GetUInt8(position + 1) << 8);
  }
  [[nodiscard]] uint32_t GetUInt32(uint64_t position) const {
    return GetUInt16(position) | uint32_t{GetUInt16(position + 2)} << 16;
  }
  // A whole block; `room` holds it where a part of it lies beyond the end.
  [[nodiscard]] std::span<const uint8_t> GetBlock(uint64_t position, size_t size,
                                                  std::vector<uint8_t>& room) const {
    const uint64_t there = position < m_bytes.size() ? m_bytes.size() - position : 0;
    if (size <= there) return m_bytes.subspan(static_cast<size_t>(position), size);
    room.assign(size, 0);
    if (there > 0) std::copy(m_bytes.begin() + static_cast<ptrdiff_t>(position), m_bytes.end(), room.begin());
    return room;
  }

 private:
  std::span<const uint8_t> m_bytes;
};

}  // namespace tolvane
