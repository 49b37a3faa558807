#include "format/IndexCursor.h"

#include <algorithm>
#include <string>

namespace tolvane {
namespace {

// Far more levels than the largest file needs.
constexpr int kMostLevels = 32;

}  // namespace

EIndexWalk CIndexCursor::Seek(std::span<const uint8_t> key) {
  if (m_isAtEnd) return EIndexWalk::Ok;
  bool isHere = false;
  if (m_isLoaded && m_page.GetCount() > 0) {
    m_page.GetEntry(m_page.GetCount() - 1, m_entry);
    isHere = !std::ranges::lexicographical_compare(m_entry, key);
  }
  if (!isHere)
    if (EIndexWalk result = Descend(key); result != EIndexWalk::Ok) return result;
  m_position = FindEntry(isHere ? m_position : 0, key);
  return SkipEmptyPages();
}

EIndexWalk CIndexCursor::Next() {
  if (m_isAtEnd) return EIndexWalk::Ok;
  if (++m_position < m_page.GetCount()) {
    m_page.GetEntry(m_position, m_entry);
    return EIndexWalk::Ok;
  }
  return SkipEmptyPages();
}

std::span<const uint8_t> CIndexCursor::GetKey() const {
  return std::span(m_entry).first(m_entry.size() - kRowPointerSize);
}

// Page (3 bytes) and row (1 byte), big-endian, are the pointer as a number.
uint32_t CIndexCursor::GetRowPointer() const {
  return ReadBigEndian(std::span(m_entry).last(kRowPointerSize));
}

EIndexWalk CIndexCursor::LoadPage(uint32_t page) {
  m_bytes.resize(m_layout.pageSize);
  if (page == 0 || page >= m_pageCount) return EIndexWalk::Damaged;
  if (!m_readPage(page, m_bytes)) return EIndexWalk::Unreadable;
  std::u16string problem;
  const bool isIndex = m_bytes[0] == kPageIndexNode || m_bytes[0] == kPageIndexLeaf;
  if (!isIndex || !m_page.Parse(m_layout.index, m_bytes, problem)) return EIndexWalk::Damaged;
  m_isLoaded = true;
  return EIndexWalk::Ok;
}

// To the leaf that holds the first entry not below `key`, where there is one.
EIndexWalk CIndexCursor::Descend(std::span<const uint8_t> key) {
  uint32_t page = m_root;
  for (int level = 0; level < kMostLevels; level++) {
    if (EIndexWalk result = LoadPage(page); result != EIndexWalk::Ok) return result;
    if (m_page.IsLeaf()) return EIndexWalk::Ok;
    const size_t child = FindEntry(0, key);
    page = child < m_page.GetCount() ? ReadBigEndian(std::span(m_entry).last(kChildPointerSize))
                                     : m_page.GetTail();
  }
  return EIndexWalk::Damaged;
}

// Leaves m_position on an entry, with its bytes in m_entry, or the cursor at its end.
EIndexWalk CIndexCursor::SkipEmptyPages() {
  while (m_position >= m_page.GetCount()) {
    if (m_page.GetNext() == 0) {
      m_isAtEnd = true;
      return EIndexWalk::Ok;
    }
    if (++m_pagesRead > m_pageCount) return EIndexWalk::Damaged;
    if (EIndexWalk result = LoadPage(m_page.GetNext()); result != EIndexWalk::Ok) return result;
    if (!m_page.IsLeaf()) return EIndexWalk::Damaged;
    m_position = 0;
  }
  m_page.GetEntry(m_position, m_entry);
  return EIndexWalk::Ok;
}

size_t CIndexCursor::FindEntry(size_t start, std::span<const uint8_t> key) {
  size_t end = m_page.GetCount();
  while (start < end) {
    const size_t middle = start + (end - start) / 2;
    m_page.GetEntry(middle, m_entry);
    if (std::ranges::lexicographical_compare(m_entry, key))
      start = middle + 1;
    else
      end = middle;
  }
  if (start < m_page.GetCount()) m_page.GetEntry(start, m_entry);
  return start;
}

// Both indexes ascend, so one walk over each is enough.
EIndexWalk FindUnmatched(CIndexCursor& foreign, CIndexCursor& primary,
                         const std::function<bool(uint32_t rowPointer, bool isNewKey)>& visit) {
  std::vector<uint8_t> key;
  bool isMatched = false;
  const auto hasKey = [&key](const CIndexCursor& cursor) {
    return !cursor.IsAtEnd() && std::ranges::equal(key, cursor.GetKey());
  };
  EIndexWalk result = foreign.Seek({});
  while (result == EIndexWalk::Ok && !foreign.IsAtEnd()) {
    const bool isNewKey = !hasKey(foreign);
    if (isNewKey) {
      key.assign(foreign.GetKey().begin(), foreign.GetKey().end());
      result = primary.Seek(key);
      if (result != EIndexWalk::Ok) break;
      isMatched = hasKey(primary);
    }
    if (!isMatched && !visit(foreign.GetRowPointer(), isNewKey)) break;
    result = foreign.Next();
  }
  return result;
}

}  // namespace tolvane
