// Little-endian numbers in byte areas: unchecked writing into areas that we made, checked reading of what a
// file says. Nothing here knows what the bytes mean.
#pragma once

#include <algorithm>
#include <bit>
#include <cstddef>
#include <cstdint>
#include <span>
#include <string>
#include <string_view>
#include <vector>

namespace tolvane {

// An offset that a page format does not have.
inline constexpr uint16_t kAbsent = 0xFFFF;

// The area must hold the number; a field that the format lacks is skipped.
template <class T>
void PutLittle(std::span<uint8_t> area, size_t offset, T value) {
  if (offset == kAbsent) return;
  auto bits = static_cast<uint64_t>(value);
  for (size_t i = 0; i < sizeof(T); i++, bits >>= 8) area[offset + i] = static_cast<uint8_t>(bits);
}

template <class T>
constexpr T GetLittle(std::span<const uint8_t> area, size_t offset) {
  if (offset == kAbsent) return T{};
  uint64_t bits = 0;
  for (size_t i = sizeof(T); i-- > 0;) bits = bits << 8 | area[offset + i];
  return static_cast<T>(bits);
}

template <class T>
void AppendLittle(std::vector<uint8_t>& out, T value) {
  const size_t at = out.size();
  out.resize(at + sizeof(T));
  PutLittle(std::span(out).subspan(at), 0, value);  // `at` may happen to be kAbsent
}

inline uint64_t DoubleBits(double value) {
  return std::bit_cast<uint64_t>(value);
}

// UTF-16LE, two bytes a unit.
inline void AppendUnits(std::vector<uint8_t>& out, std::u16string_view text) {
  const size_t at = out.size();
  out.resize(at + 2 * text.size());
  if constexpr (std::endian::native == std::endian::little) {
    std::copy_n(reinterpret_cast<const uint8_t*>(text.data()), 2 * text.size(), out.data() + at);
  } else {
    const std::span<uint8_t> added = std::span(out).subspan(at);
    for (size_t i = 0; i < text.size(); i++) PutLittle<uint16_t>(added.subspan(2 * i), 0, text[i]);
  }
}

// A last odd byte is dropped.
inline std::u16string UnitsOf(std::span<const uint8_t> bytes) {
  std::u16string text(bytes.size() / 2, u'\0');
  for (size_t i = 0; i < text.size(); i++) text[i] = static_cast<char16_t>(GetLittle<uint16_t>(bytes, 2 * i));
  return text;
}

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

// Takes pieces of bytes that came from a file. After the first piece that is not there it stays failed and
// answers empty spans and zeros, so that a run of takes needs one check at its end.
class CByteTaker {
 public:
  explicit CByteTaker(std::span<const uint8_t> bytes) : m_bytes(bytes) {}

  std::span<const uint8_t> Take(size_t size) {
    if (!m_ok || size > m_bytes.size() - m_position) {
      m_ok = false;
      return {};
    }
    m_position += size;
    return m_bytes.subspan(m_position - size, size);
  }
  template <class T>
  T TakeNumber() {
    const std::span<const uint8_t> bytes = Take(sizeof(T));
    return m_ok ? GetLittle<T>(bytes, 0) : T{};
  }
  [[nodiscard]] bool IsOk() const { return m_ok; }
  [[nodiscard]] size_t GetPosition() const { return m_position; }

 private:
  std::span<const uint8_t> m_bytes;
  size_t m_position = 0;
  bool m_ok = true;
};

}  // namespace tolvane
