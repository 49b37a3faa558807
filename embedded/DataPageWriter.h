// Packs rows into pages of one owner, page after page. A page is written when the next row no longer fits it.
#pragma once

#include <cstdint>
#include <functional>
#include <span>
#include <utility>

#include "embedded/PageFile.h"
#include "format/PageSet.h"
#include "format/SlottedPage.h"

namespace tolvane {

class CDataPageWriter {
 public:
  // All must outlive the writer. `owned` and `free` are the owner's maps: pages are added to them as they are
  // used, and stay in `free` while an average row would still fit.
  CDataPageWriter(CPageFile& file, uint32_t owner, EPageUse use, CPageSet& owned, CPageSet& free);

  // Sees every page as it is written; null for nobody. It may see a page again when further rows came.
  void SetObserver(std::function<void(uint32_t, std::span<const uint8_t>)> observer) {
    m_observer = std::move(observer);
  }
  // Room for one row, to be filled before the next call; `pointer` is the row's.
  CDaoResult AddRow(size_t rowSize, std::span<uint8_t>& row, uint32_t& pointer);
  // Writes the open page.
  CDaoResult Flush();
  // Writes it and lets go of it, so that others may change it; the next row may go on there.
  CDaoResult Close();

 private:
  CDaoResult OpenPage(size_t rowSize);
  CDaoResult ResumePage(size_t rowSize, bool& resumed);
  [[nodiscard]] size_t GetAverageRow() const {
    return m_rows == 0 ? 0 : static_cast<size_t>(m_rowBytes / m_rows);
  }

  CPageFile& m_file;
  const uint32_t m_owner;
  const EPageUse m_use;
  CPageSet& m_owned;
  CPageSet& m_free;
  CSlottedPage m_page;
  uint32_t m_number = 0;  // 0: no page is open
  bool m_mayResume = true;
  std::function<void(uint32_t, std::span<const uint8_t>)> m_observer;
  uint64_t m_rows = 0, m_rowBytes = 0;
};

}  // namespace tolvane
