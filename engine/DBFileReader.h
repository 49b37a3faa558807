// Positioned reading of one database file, failures reported to the caller's error handler. Opened for
// reading only. One thread at a time.
//
// What copied a file may have changed all of it on the way: taken it for text, so that each line feed has a
// carriage return in front that is not its own, or exchanged the bytes of each pair. Such a change is undone
// here, and offsets and the length are those of the database.
//
// A handler remembers: once it holds an error, every further call with it answers false, though the call is
// done.
#pragma once

#include <cstddef>
#include <cstdint>
#include <span>
#include <string>
#include <vector>

#include "platform/ErrorHandler.h"
#include "platform/FileCust.h"

namespace tolvane {

class CDBFileReader {
 public:
  void SetPath(std::u16string path) { m_path = std::move(path); }
  bool Open(CErrorHandler& handler);
  bool Close();
  [[nodiscard]] bool IsOpen() const { return m_file.IsOpen(); }
  uint64_t GetLength() { return m_file.GetLength() - m_addedReturns.size(); }
  SFileStamp GetStamp() { return m_file.GetStamp(); }

  bool Seek(uint64_t offset, CErrorHandler& handler);
  // At the end of the file the bytes that are missing stay as they were, which is no error.
  bool Read(std::span<uint8_t> buffer, CErrorHandler& handler);
  bool SeekRead(std::span<uint8_t> buffer, uint64_t offset, CErrorHandler& handler);

  // Bytes at `offset` that could be read; does not depend on the position.
  size_t ReadAt(uint64_t offset, std::span<uint8_t> buffer, CErrorHandler& handler) {
    if (m_hasSwappedPairs) return ReadPairs(offset, buffer, handler);
    if (!m_addedReturns.empty()) return ReadLines(offset, buffer, handler);
    return m_file.ReadAt(offset, buffer, handler);
  }

  // Looks through the file for carriage returns that were added, and leaves them out from then on. False:
  // too many line feeds stand alone.
  bool LeaveOutAddedReturns();
  void SwapPairs(bool swaps) { m_hasSwappedPairs = swaps; }

 private:
  size_t ReadPairs(uint64_t offset, std::span<uint8_t> buffer, CErrorHandler& handler);
  size_t ReadLines(uint64_t offset, std::span<uint8_t> buffer, CErrorHandler& handler);
  // How many of them stand in front of the database's byte at `offset`.
  [[nodiscard]] size_t CountAddedBefore(uint64_t offset) const;

  CFileCust m_file;
  std::u16string m_path;
  std::vector<uint64_t> m_addedReturns;  // where they stand in the file
  bool m_hasSwappedPairs = false;
};

}  // namespace tolvane
