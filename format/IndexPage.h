// One page of an index, cut into its entries. Layout: IndexPageLayout.h.
#pragma once

#include <cstdint>
#include <span>
#include <string>
#include <vector>

#include "format/Bytes.h"
#include "format/IndexPageLayout.h"

namespace tolvane {

class CIndexPage {
 public:
  // Takes a copy of the page. False, with `problem`, when its mask cannot be followed; then it has no
  // entries.
  bool Parse(const SIndexPageLayout& layout, std::span<const uint8_t> page, std::u16string& problem);

  [[nodiscard]] uint8_t GetType() const { return m_page[0]; }
  [[nodiscard]] bool IsLeaf() const { return m_page[0] == kPageIndexLeaf; }
  [[nodiscard]] uint32_t GetOwner() const { return GetLittle<uint32_t>(m_page, kOwnerOffset); }
  [[nodiscard]] uint32_t GetPrevious() const { return GetLittle<uint32_t>(m_page, m_layout->previous); }
  [[nodiscard]] uint32_t GetNext() const { return GetLittle<uint32_t>(m_page, m_layout->next); }
  [[nodiscard]] uint32_t GetTail() const { return GetLittle<uint32_t>(m_page, m_layout->tail); }
  [[nodiscard]] uint8_t GetLevel() const { return m_page[m_layout->level]; }
  [[nodiscard]] size_t GetStatedFreeBytes() const { return GetLittle<uint16_t>(m_page, kFreeBytesOffset); }
  [[nodiscard]] size_t GetFreeBytes() const {
    return m_layout->Capacity() - (m_ends.empty() ? 0 : m_ends.back());
  }

  [[nodiscard]] size_t GetCount() const { return m_ends.size(); }
  // The whole entry, its shared prefix included.
  void GetEntry(size_t i, std::vector<uint8_t>& entry) const;

 private:
  const SIndexPageLayout* m_layout = nullptr;
  std::vector<uint8_t> m_page;
  std::vector<uint16_t> m_ends;
  size_t m_prefix = 0;
};

// A page to be written. Its entries are complete and lie one behind the other; all but the first lose
// `prefix` bytes, which they share with it.
struct SIndexPage {
  uint32_t owner = 0, previous = 0, next = 0, tail = 0;
  uint8_t level = 0;
  size_t prefix = 0;
  std::span<const uint8_t> entries;
  std::span<const uint32_t> ends;  // of each entry
};
// `bytes` has the size of a page, and the entries fit.
void EncodeIndexPage(const SIndexPageLayout& at, const SIndexPage& page, std::span<uint8_t> bytes);

// Numbers in entries are big-endian.
inline uint32_t ReadBigEndian(std::span<const uint8_t> bytes) {
  uint32_t value = 0;
  for (const uint8_t byte : bytes) value = value << 8 | byte;
  return value;
}

inline void WriteBigEndian(uint32_t value, std::span<uint8_t, sizeof(uint32_t)> bytes) {
  for (size_t i = sizeof(value); i-- > 0; value >>= 8) bytes[i] = static_cast<uint8_t>(value);
}

// Hands over the rows that the entries of a leaf lead to; none where its mask cannot be followed.
template <class F>
void ForEachIndexEntry(std::span<const uint8_t> page, const SIndexPageLayout& layout, const F& take) {
  CIndexPage leaf;
  std::u16string problem;
  std::vector<uint8_t> entry;
  if (!leaf.Parse(layout, page, problem)) return;
  for (size_t i = 0; i < leaf.GetCount(); i++) {
    leaf.GetEntry(i, entry);
    take(SRowPointer::FromWord(ReadBigEndian(std::span(entry).last(kRowPointerSize))));
  }
}

}  // namespace tolvane
