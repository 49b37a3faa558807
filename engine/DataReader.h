// Little-endian numbers at an address. The caller has made sure that the bytes are there.
#pragma once

#include <cstdint>

#include "format/Bytes.h"

namespace tolvane {

class CDataReader {
 public:
  virtual ~CDataReader() = default;

  static constexpr uint16_t ReadUInt16(const uint8_t* bytes) { return GetLittle<uint16_t>({bytes, 2}, 0); }
  static constexpr uint32_t ReadUInt24(const uint8_t* bytes) {
    return ReadUInt16(bytes) | uint32_t{bytes[2]} << 16;
  }
  static constexpr uint32_t ReadUInt32(const uint8_t* bytes) { return GetLittle<uint32_t>({bytes, 4}, 0); }
  static constexpr int64_t ReadInt32(const uint8_t* bytes) { return static_cast<int32_t>(ReadUInt32(bytes)); }
  static constexpr uint32_t ReadUInt32Alt(const uint8_t* bytes) { return ReadUInt32(bytes); }
};

}  // namespace tolvane
