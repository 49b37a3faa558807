// The pages of a file in blocks, for maps that stay small: one page a block, or several pages when there are
// many.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string_view>
#include <vector>

#include "engine/PageInspector.h"

namespace tolvane {

// How a page is shown, from what matters least in a block to what matters most.
enum class EPageLook : uint8_t {
  NeverWritten,
  Free,
  Index,
  UsageMap,
  LongValues,
  Rows,
  Definition,
  Header,
  UnknownKind,
  Orphan,
  Losses,  // sound by its own numbers, but a repair lost rows or values of it
  Damaged,
  Unreadable,
  Count_
};
// "rows", in ASCII.
std::string_view GetPageLookName(EPageLook look);
EPageLook LookOf(const SPageReport& report);

class CPageBlocks {
 public:
  // Memory does not grow with the file.
  static constexpr size_t kMostBlocks = 4096;

  // Pages in their order. A block shows what matters most of its pages.
  void Add(uint64_t page, EPageLook look);
  [[nodiscard]] const std::vector<EPageLook>& GetLooks() const { return m_looks; }
  [[nodiscard]] uint64_t GetPagesPerBlock() const { return m_pagesPerBlock; }
  [[nodiscard]] uint64_t GetPageCount() const { return m_pages; }
  // The same pages in at most so many blocks.
  [[nodiscard]] CPageBlocks Reduce(size_t mostBlocks) const;

 private:
  void Halve();

  std::vector<EPageLook> m_looks;
  uint64_t m_pagesPerBlock = 1;
  uint64_t m_pages = 0;
};

}  // namespace tolvane
