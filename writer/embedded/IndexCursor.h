// Walks the entries of an index that is in the file, in ascending order.
#pragma once

#include <cstddef>
#include <cstdint>
#include <span>
#include <vector>

#include "writer/embedded/IndexPage.h"
#include "writer/embedded/PageFile.h"

namespace tolvane {

// Holds one page. Every link is bounded: a damaged index ends the walk with an error.
class CIndexCursor {
 public:
  // `file` must outlive the cursor; `root` is the index's root page.
  CIndexCursor(CPageFile& file, uint32_t root) : m_file(file), m_root(root) {}

  // The smallest entry whose key is not below `key`; an empty key stands before all. Steps only forward:
  // keys that ascend cost no more than the pages between them.
  CDaoResult Seek(std::span<const uint8_t> key);
  CDaoResult Next();

  // True behind the last entry; then the rest has no meaning.
  [[nodiscard]] bool IsAtEnd() const { return m_isAtEnd; }
  [[nodiscard]] std::span<const uint8_t> GetKey() const;
  [[nodiscard]] uint32_t GetRowPointer() const;

 private:
  CDaoResult LoadPage(uint32_t page);
  CDaoResult Descend(std::span<const uint8_t> key);
  CDaoResult SkipEmptyPages();
  // Position of the first entry from `start` on that is not below `key`.
  size_t FindEntry(size_t start, std::span<const uint8_t> key);

  CPageFile& m_file;
  const uint32_t m_root;
  CIndexPage m_page;
  std::vector<uint8_t> m_bytes;
  std::vector<uint8_t> m_entry;
  size_t m_position = 0;
  uint64_t m_pagesRead = 0;  // along the links between leaves
  bool m_isLoaded = false;
  bool m_isAtEnd = false;
};

}  // namespace tolvane
