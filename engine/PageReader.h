// Pages of one database by offset, read ahead where the requests run on and singly where they jump.
//
// Offsets and the length count from the database's first page, which other bytes may stand in front of.
// A page that the system cannot read costs no other page: a block that fails is read again page by page. The
// length is taken when the file is opened; a file that shrinks afterwards only has unreadable pages. A page
// that failed once is not tried again (failing disks take seconds to say so). Bytes that are known not to be
// the file's own (holes) cannot be read. One thread at a time.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <optional>
#include <span>
#include <string>
#include <unordered_set>
#include <vector>

#include "engine/DBFileReader.h"
#include "engine/FileRange.h"
#include "format/Layout.h"
#include "platform/ErrorHandler.h"

namespace tolvane {

// Pages that stand one behind the other in the file.
struct SPageStretch {
  uint64_t page = 0;    // number of the first one
  uint64_t place = 0;   // where it starts in the file
  uint64_t length = 0;  // bytes
};

class CPageReader {
 public:
  static constexpr size_t kLargestBlock = size_t{1} << 18;
  static constexpr size_t kCachedPages = 64;

  CPageReader() = default;
  CPageReader(const CPageReader&) = delete;
  CPageReader& operator=(const CPageReader&) = delete;

  bool Open(const std::u16string& path, CErrorHandler& handler);
  bool Open(const std::u16string& path);
  void Close();
  [[nodiscard]] bool IsOpen() const { return m_file->IsOpen(); }
  // Undoes what was changed in all of the file (DBFileReader.h). False: nothing of that kind was.
  bool LeaveOutAddedReturns();
  void SwapPairs(bool swaps);
  // Reads the same pages from the same open file, for another thread. What is set and opened there later is
  // not seen here; both end by themselves.
  void ShareFile(const CPageReader& other);

  // In order, none touching another; they stay until other ones are set, whatever file is open.
  void SetHoles(std::vector<SFileRange> holes);
  // None of these bytes of the file is in a hole.
  [[nodiscard]] bool HoldsAll(uint64_t fileOffset, uint64_t length) const;
  // Where the first page is in the file. What was read before is forgotten.
  void SetStart(uint64_t start);
  // The same for pages that do not all stand one behind the other: stretches in the order of their pages,
  // the first one with page 0 or where that would be. Pages between two stretches cannot be read.
  void SetStretches(std::span<const SPageStretch> stretches, uint32_t pageSize);
  [[nodiscard]] uint64_t GetStart() const { return m_start; }
  [[nodiscard]] uint64_t GetFileLength() const { return m_fileLength; }
  // Somebody has written to the file since it was opened: what was read may be of two states.
  [[nodiscard]] bool HasChanged() { return IsOpen() && m_file->GetStamp() != m_stamp; }
  // Bytes of the file itself, wherever the database starts; answers how many could be read.
  size_t ReadFile(uint64_t fileOffset, std::span<uint8_t> bytes);

  [[nodiscard]] uint64_t GetLength() const { return m_length; }
  // Without the zeros that complete a page.
  [[nodiscard]] uint64_t GetContentLength() const { return m_contentLength; }
  // Takes what the file's end has left of a page for a page, zeros behind it, and its length with them.
  void CompleteLastPage(uint32_t pageSize);
  // From now on pages of this layout whose type was overwritten are read as what the rest of them is; null:
  // all as they are.
  void MendTypes(const SLayout* layout) { m_mended = layout; }
  // Whole pages.
  [[nodiscard]] uint64_t GetPageCount(uint32_t pageSize) const { return m_length / pageSize; }

  // The page at `offset`; the span's size is the page size, the same in all calls. False: it lies outside the
  // file, also in part, or cannot be read; `page` is then as it was before.
  bool ReadPage(uint64_t offset, std::span<uint8_t> page);
  // False: the page at `offset` lies between two stretches, and nowhere in the file.
  [[nodiscard]] bool HasPlace(uint64_t offset) const { return FindStretch(offset) != nullptr; }
  // The page is the last one in front of a stretch, or of the end of the file, out of step with it: bytes
  // were put in or lost within it.
  [[nodiscard]] bool IsTorn(uint64_t offset, size_t pageSize) const {
    return PlaceBehind(offset, pageSize).has_value();
  }
  // A page that is torn, cut there: the bytes behind the cut are those in step with the next stretch, zeros
  // where it lacks any. False as above, or where the page is not torn.
  bool ReadTornPage(uint64_t offset, size_t cut, std::span<uint8_t> page);
  // What the file holds of a page that reaches beyond its end.
  size_t ReadPartialPage(uint64_t offset, std::span<uint8_t> page);

 private:
  struct SCachedPage {
    uint64_t offset = ~uint64_t{0};
    uint64_t lastUse = 0;
    std::vector<uint8_t> bytes;
  };

  struct SStretch {
    uint64_t offset;  // of its first page
    uint64_t place;
    uint64_t length;
  };

  void Forget();
  bool FetchPage(uint64_t offset, std::span<uint8_t> page);
  // The stretch that holds the offset; null: none does.
  [[nodiscard]] const SStretch* FindStretch(uint64_t offset) const;
  // Where a torn page would start in step with what follows.
  [[nodiscard]] std::optional<uint64_t> PlaceBehind(uint64_t offset, size_t pageSize) const;
  // Bytes up to the next hole.
  [[nodiscard]] uint64_t RoomAt(uint64_t fileOffset) const;
  // Bytes from `offset` on that could be read, none beyond the end of their stretch.
  size_t ReadStretch(uint64_t offset, std::span<uint8_t> bytes);
  bool ReadBlock(uint64_t offset, size_t size);
  bool ReadSingle(uint64_t offset, std::span<uint8_t> page);
  [[nodiscard]] size_t NextBlockSize(uint64_t offset, size_t pageSize) const;
  // Null when it is not there.
  const SCachedPage* FindCached(uint64_t offset, size_t size);

  std::shared_ptr<CDBFileReader> m_file = std::make_shared<CDBFileReader>();
  std::vector<SFileRange> m_holes;
  uint64_t m_fileLength = 0;
  SFileStamp m_stamp;
  uint64_t m_start = 0;
  uint64_t m_length = 0;
  uint64_t m_contentLength = 0;
  std::vector<SStretch> m_stretches;  // never empty
  const SLayout* m_mended = nullptr;

  std::vector<uint8_t> m_block;
  uint64_t m_blockStart = 0;
  size_t m_blockSize = 0;        // bytes of it that are valid
  uint64_t m_lastSingleEnd = 0;  // where the last single page ended
  // The block that failed last: its pages are read singly.
  uint64_t m_singlesFrom = 0;
  uint64_t m_singlesUntil = 0;

  std::array<SCachedPage, kCachedPages> m_cache;
  uint64_t m_useCount = 0;
  std::unordered_set<uint64_t> m_unreadable;
};

}  // namespace tolvane
