// Builds the pages of one index from entries that arrive in ascending order. Pages are written as soon as
// they are full, leaves and nodes alike, so memory holds one open page a level. An index that fits one page
// is a leaf on the root page; in a larger one the root page is the topmost node.
#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <span>
#include <vector>

#include "format/IndexPageLayout.h"

namespace tolvane {

// The file, as the builder needs it. Both callbacks must outlive the builder's use.
struct SIndexPageSink {
  std::function<uint32_t()> allocatePage;                             // a new page number, 0 = failed
  std::function<bool(uint32_t, std::span<const uint8_t>)> writePage;  // one whole page
};

class CIndexTreeBuilder {
 public:
  // `rootPage` belongs to the caller already and stays the root.
  CIndexTreeBuilder(const SIndexPageLayout& layout, uint32_t ownerPage, uint32_t rootPage,
                    SIndexPageSink sink);
  ~CIndexTreeBuilder();
  CIndexTreeBuilder(const CIndexTreeBuilder&) = delete;
  CIndexTreeBuilder& operator=(const CIndexTreeBuilder&) = delete;

  // Entries compare as plain bytes: key, page, row. False when an entry is not above the one before it, is
  // too long for a page, or the sink failed; every later call then fails as well.
  bool Add(std::span<const uint8_t> key, uint32_t page, uint8_t row);
  // Writes what is still open, the root last. Nothing may be added afterwards.
  bool Finish();

  [[nodiscard]] const std::vector<uint32_t>& GetPages() const { return m_pages; }  // the root is the first
  [[nodiscard]] uint64_t GetDistinctKeyCount() const { return m_distinctKeys; }

 private:
  struct SPage;

  bool SetEntry(std::span<const uint8_t> key, uint32_t page, uint8_t row);
  // What a leaf's entries and one more share that shares so much with the entry before it.
  [[nodiscard]] size_t SharedPrefix(const SPage& leaf, size_t keySize, size_t common) const;
  [[nodiscard]] bool Fits(const SPage& page, size_t entrySize, size_t prefix) const;
  bool AddChild(size_t level, std::span<const uint8_t> lastEntry, uint32_t child);
  bool SplitNode(SPage& node);
  bool StartNextPage(SPage& page);
  bool Write(const SPage& page, uint32_t number, uint32_t next);
  bool Allocate(uint32_t& page);

  const SIndexPageLayout& m_layout;
  uint32_t m_ownerPage;
  SIndexPageSink m_sink;
  std::vector<std::unique_ptr<SPage>> m_levels;  // the open page of each level, leaves first
  std::vector<uint8_t> m_entry;                  // the entry being added
  std::vector<uint8_t> m_lastEntry;              // the one before it
  std::vector<uint8_t> m_image;                  // the page being written
  std::vector<uint32_t> m_pages;
  uint64_t m_entryCount = 0;
  uint64_t m_distinctKeys = 0;
  bool m_closed = false;  // finished or failed
};

}  // namespace tolvane
