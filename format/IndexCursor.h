// Walks the entries of an index that is in the file, in ascending order.
#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <span>
#include <utility>
#include <vector>

#include "format/IndexPage.h"
#include "format/Layout.h"

namespace tolvane {

enum class EIndexWalk : uint8_t {
  Ok,
  Unreadable,  // the page reader had no page
  Damaged,
};

// Holds one page. Every link is bounded: a damaged index ends the walk.
class CIndexCursor {
 public:
  // Fills `bytes`, which is one page long; false when it cannot.
  using PageReader = std::function<bool(uint32_t page, std::span<uint8_t> bytes)>;

  // What is given must outlive the cursor; `root` is the index's root page.
  CIndexCursor(const SLayout& layout, uint32_t pageCount, uint32_t root, PageReader readPage)
      : m_layout(layout), m_pageCount(pageCount), m_root(root), m_readPage(std::move(readPage)) {}

  // The smallest entry whose key is not below `key`; an empty key stands before all. Steps only forward:
  // keys that ascend cost no more than the pages between them.
  EIndexWalk Seek(std::span<const uint8_t> key);
  EIndexWalk Next();

  // True behind the last entry; then the rest has no meaning.
  [[nodiscard]] bool IsAtEnd() const { return m_isAtEnd; }
  [[nodiscard]] std::span<const uint8_t> GetKey() const;
  [[nodiscard]] uint32_t GetRowPointer() const;

 private:
  EIndexWalk LoadPage(uint32_t page);
  EIndexWalk Descend(std::span<const uint8_t> key);
  EIndexWalk SkipEmptyPages();
  // Position of the first entry from `start` on that is not below `key`.
  size_t FindEntry(size_t start, std::span<const uint8_t> key);

  const SLayout& m_layout;
  const uint32_t m_pageCount;
  const uint32_t m_root;
  const PageReader m_readPage;
  CIndexPage m_page;
  std::vector<uint8_t> m_bytes;
  std::vector<uint8_t> m_entry;
  size_t m_position = 0;
  uint64_t m_pagesRead = 0;  // along the links between leaves
  bool m_isLoaded = false;
  bool m_isAtEnd = false;
};

// Walks both from their starts and hands over the entries of `foreign` whose keys `primary` does not have, by
// the pointers to their rows; `isNewKey` says that the entry before had another key. Ends early when `visit`
// answers false.
EIndexWalk FindUnmatched(CIndexCursor& foreign, CIndexCursor& primary,
                         const std::function<bool(uint32_t rowPointer, bool isNewKey)>& visit);

}  // namespace tolvane
