// The byte image of one record of the parsed-information file, and the list that holds records of one kind.
#pragma once

#include <cstddef>
#include <cstdint>
#include <span>
#include <string_view>
#include <utility>
#include <vector>

namespace tolvane {

// Bytes of a text area: UTF-16LE units and at least one zero unit behind them.
constexpr size_t TextAreaBytes(size_t units) {
  return 2 * units;
}

// A text ends at its first zero unit.
constexpr std::u16string_view UpToZero(std::u16string_view text) {
  return text.substr(0, text.find(u'\0'));
}
// True when an area of so many units has room for the text and its zero unit.
constexpr bool FitsArea(std::u16string_view text, size_t areaUnits) {
  return UpToZero(text).size() < areaUnits;
}

// Writes into zeroed bytes that somebody else owns. Every offset comes from a layout below, so that a write
// past the end is a fault of ours; it is left out all the same.
class CAccdbImage {
 public:
  explicit CAccdbImage(std::span<uint8_t> bytes) : m_bytes(bytes) {}

  void Put8(size_t offset, uint8_t value) { Put(offset, value, 1); }
  void Put32(size_t offset, uint32_t value) { Put(offset, value, 4); }
  // Cut where its zero unit would not fit.
  void PutText(size_t offset, size_t areaUnits, std::u16string_view text) {
    text = UpToZero(text).substr(0, areaUnits - 1);
    for (size_t i = 0; i < text.size(); i++) Put(offset + 2 * i, text[i], 2);
  }
  void PutBytes(size_t offset, std::span<const uint8_t> bytes) {
    for (size_t i = 0; i < bytes.size(); i++) Put(offset + i, bytes[i], 1);
  }
  [[nodiscard]] CAccdbImage Part(size_t offset, size_t size) const {
    return CAccdbImage(m_bytes.subspan(offset, size));
  }

 private:
  void Put(size_t offset, uint32_t value, size_t width) {
    if (offset > m_bytes.size() || width > m_bytes.size() - offset) return;
    for (size_t i = 0; i < width; i++) m_bytes[offset + i] = static_cast<uint8_t>(value >> (8 * i));
  }

  std::span<uint8_t> m_bytes;
};

// Items of one size s, in the order in which they were added. The blob of n items:
//
//   0            u32  n
//   4                 not written
//   8 + 2ks      s    item k
//
// It counts as B = 4 + n s bytes, but items lie at doubled offsets, so its image has 2B. The reader of the
// file knows both numbers.
template <class T>
class CAccdbItemList {
 public:
  static constexpr size_t kCountBytes = 4;

  void Add(T item) { m_items.push_back(std::move(item)); }
  [[nodiscard]] size_t GetCount() const { return m_items.size(); }
  auto begin() const { return m_items.begin(); }
  auto end() const { return m_items.end(); }

  // B.
  [[nodiscard]] size_t GetBlobLength() const { return kCountBytes + m_items.size() * T::kItemBytes; }
  // All 2B bytes.
  [[nodiscard]] std::vector<uint8_t> EncodeImage() const {
    std::vector<uint8_t> bytes(2 * GetBlobLength());
    CAccdbImage image(bytes);
    image.Put32(0, static_cast<uint32_t>(m_items.size()));
    size_t offset = kCountBytes;
    for (const T& item : m_items) {
      item.Encode(image.Part(2 * offset, T::kItemBytes));
      offset += T::kItemBytes;
    }
    return bytes;
  }

 private:
  std::vector<T> m_items;
};

}  // namespace tolvane
