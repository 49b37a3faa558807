// The output file as numbered pages. Pages that are written in ascending order are collected in a window of a
// mebibyte and leave it in one write; a page behind the window is written alone.
//
// The first failure of the disk stays: every later call answers it again. Running out of room in the format
// is no such failure: the allocation is refused and everything else goes on.
#pragma once

#include <cstdint>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "dao/dao.h"
#include "format/Layout.h"
#include "format/PageSet.h"
#include "platform/FileCust.h"

namespace tolvane {

// Rows and long values stop early enough that the pages needed to close the file soundly still find room.
enum class EPageUse : uint8_t { Content, Structure };

class CPageFile {
 public:
  // `layout` must outlive the object. `maxPages` bounds the file's length.
  CPageFile(const SLayout& layout, uint32_t maxPages);

  CDaoResult Create(std::u16string_view path);
  // The page count follows from the file's length; pages that the file says are free come back by Release.
  CDaoResult Open(std::u16string_view path, EFileAccess access);
  // Writes what is collected; the file has its final length afterwards. Further calls are refused.
  CDaoResult Close();
  CDaoResult Flush();

  [[nodiscard]] const SLayout& GetLayout() const { return m_layout; }
  // Where what is too much for memory is sorted; with its separator at the end.
  void SetTempFolder(std::u16string_view folder) { m_tempFolder = folder; }
  [[nodiscard]] const std::u16string& GetTempFolder() const { return m_tempFolder; }
  // How many threads may make and sort the keys of indexes, the caller's among them.
  void SetThreads(uint32_t threads) { m_threads = threads; }
  [[nodiscard]] uint32_t GetThreads() const { return m_threads; }
  [[nodiscard]] uint32_t GetPageCount() const { return m_pageCount; }
  [[nodiscard]] const CPageSet& GetFreePages() const { return m_free; }

  // The lowest free page, or a new one at the end.
  CDaoResult Allocate(EPageUse use, uint32_t& page);
  void Release(uint32_t page);
  // Notes every page that is allocated from now on in `pages`; nullptr ends it.
  void RecordAllocations(CPageSet* pages) { m_recorder = pages; }
  CDaoResult Write(uint32_t page, std::span<const uint8_t> bytes);
  // A page that was never written reads as zeros.
  CDaoResult Read(uint32_t page, std::span<uint8_t> bytes);

 private:
  CDaoResult Fail(EDaoError code, std::u16string text);
  CDaoResult FailWrite(const CFileCustException& error);
  CDaoResult WriteOut(uint64_t offset, std::span<const uint8_t> bytes);
  CDaoResult FlushWindow();
  [[nodiscard]] bool IsInWindow(uint32_t page) const;
  [[nodiscard]] std::span<uint8_t> WindowPage(uint32_t page);

  const SLayout& m_layout;
  const uint32_t m_maxPages;
  const uint32_t m_reservedPages;  // kept for EPageUse::Structure
  CFileCust m_file;
  std::u16string m_tempFolder;
  uint32_t m_threads = 1;
  CDaoResult m_error;
  bool m_isReadOnly = false;
  uint32_t m_pageCount = 0;
  CPageSet m_free;
  CPageSet* m_recorder = nullptr;
  std::vector<uint8_t> m_window;
  std::vector<bool> m_inWindow;  // pages of the window that hold something to be written
  uint32_t m_windowFirst = 0;
};

}  // namespace tolvane
