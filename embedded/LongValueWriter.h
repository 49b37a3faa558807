// The long values of one memo or long binary column: short ones stay in their row, longer ones go to a row of
// a page shared with other values, the longest become a chain of pages. A chain is written while its bytes
// are read, so that no value is ever held whole.
//
// The stamp of a chain stands on its first page, too; Jet 3 pages have no room for one and it is 0.
#pragma once

#include <cstdint>
#include <span>
#include <string_view>
#include <vector>

#include "dao/dao.h"
#include "embedded/DataPageWriter.h"
#include "embedded/StoredText.h"
#include "format/RowEncoder.h"

namespace tolvane {

class CLongValueWriter {
 public:
  // Both must outlive the writer; the column's maps are loaded and stored here.
  CLongValueWriter(CPageFile& file, const SColumnDefinition& column);

  CDaoResult Load();
  CDaoResult Store();

  // Takes a value for the row that `row` is putting together and sets the column's reference there. A value
  // that the same row had before is given up, but only when the new one could be taken.
  CDaoResult SetBytes(CDaoByteSource& source, CRowEncoder& row);
  CDaoResult SetBytes(std::span<const uint8_t> bytes, CRowEncoder& row);
  CDaoResult SetText(std::u16string_view text, CRowEncoder& row, STextLoss& loss);
  // The units of a text, UTF-16LE.
  CDaoResult SetText(CDaoByteSource& units, CRowEncoder& row, STextLoss& loss);
  // Bytes of the present row's value that stand in the row itself.
  [[nodiscard]] size_t GetInlineSize(const CRowEncoder& row) const;
  // Takes such a value out of the row, for Commit to place.
  void MoveOut(CRowEncoder& row);
  // The row is about to be stored: gives a value that was waiting for it its place.
  CDaoResult Commit(CRowEncoder& row);
  // The row has been stored; its chain belongs to it now.
  void Forget();
  // The row is given up, and its pages with it.
  void Discard();

 private:
  struct SPageRun {
    uint32_t first = 0, count = 0;
  };
  struct SChain {
    std::vector<SPageRun> pages;
    uint32_t length = 0, pointer = 0, stamp = 0;
  };

  CDaoResult SetSmall(std::span<const uint8_t> stored, size_t countedLength, CRowEncoder& row);
  // The reference to the value that waits for its place, or has got it.
  void PutWaiting(uint32_t pointer, CRowEncoder& row);
  CDaoResult SetChained(CDaoByteSource& source, CRowEncoder& row);
  CDaoResult WriteChain(CDaoByteSource& source, SChain& chain);
  CDaoResult AllocateChainPage(SChain& chain, uint32_t& page);
  CDaoResult WriteChainPage(uint32_t page, uint32_t next, uint32_t stamp, std::span<const uint8_t> bytes);
  void ReleaseChain(SChain& chain);

  CPageFile& m_file;
  const SColumnDefinition& m_column;
  CPageSet m_owned, m_free;
  CDataPageWriter m_singles;
  CSlottedPage m_chainPage;
  std::vector<uint8_t> m_buffer;   // what was read of a value
  std::vector<uint8_t> m_next;     // the piece of a chain behind it
  std::vector<uint8_t> m_encoded;  // a text in the code page
  std::vector<uint8_t> m_waiting;  // a value that goes to a shared page when its row is stored
  bool m_isWaiting = false;
  SChain m_chain;  // pages of the present row's value
};

}  // namespace tolvane
