// One value file read from front to back: the one place that knows how a record's bytes become text.
//
//   0  u32  N, little-endian
//   4       N bytes: N / 2 UTF-16LE units; the last byte of an odd N is no text
//
// Positions count from the start of the part that is read. The stream ends with it, or at the length that the
// file had when it was opened, because another thread may still be appending to it. A count is untrusted: no
// more is allocated than the file still holds.
#pragma once

#include <cstddef>
#include <cstdint>
#include <span>
#include <string>
#include <vector>

#include "platform/FileCust.h"
#include "store/FilePart.h"

namespace tolvane {

// In front of a record's bytes: how many there are.
inline constexpr size_t kCountBytes = 4;

class CValueStream {
 public:
  static constexpr size_t kAllUnits = ~size_t{0};

  // False when the file cannot be opened; the stream is then at its end.
  bool Open(const SFilePart& part);
  void Close();
  [[nodiscard]] bool IsOpen() const { return m_file.IsOpen(); }
  [[nodiscard]] bool IsAtEnd() const { return m_position >= m_length; }
  [[nodiscard]] uint64_t GetPosition() const { return m_position; }
  // Bytes between the position and the end; 0 past the end.
  [[nodiscard]] uint64_t GetBytesLeft() const { return IsAtEnd() ? 0 : m_length - m_position; }

  // The next record's count. At an end inside the four bytes the missing ones read as 0, the position moves
  // on all the same and the answer is false.
  bool ReadCount(uint32_t& count);
  // The text of a record of `count` bytes, at most its first `maximumUnits` units; moves on by `count`. Where
  // the file ends earlier the text is what is there and the answer is false.
  bool ReadText(uint32_t count, std::u16string& text, size_t maximumUnits = kAllUnits);
  // The bytes of a record of `count` bytes, in the same way.
  bool ReadRecord(uint32_t count, std::vector<uint8_t>& bytes);
  // As many of the next bytes as there are: fewer at the end of the file, or where the system fails to read,
  // which ends the stream.
  size_t ReadBytes(std::span<uint8_t> bytes);
  void Skip(uint64_t count);
  void MoveTo(uint64_t position) { m_position = position; }

 private:
  // The next `count` bytes, at least one.
  [[nodiscard]] bool IsInBlock(size_t count) const {
    const uint64_t at = m_position - m_blockStart;
    return at < m_blockSize && count <= m_blockSize - at;
  }
  bool FillBlock();

  CFileCust m_file;
  uint64_t m_start = 0;  // of the part in the file, from which all places count
  uint64_t m_length = 0;
  uint64_t m_position = 0;  // may lie past the end after a count that lies
  // Bytes of the file from m_blockStart on.
  std::vector<uint8_t> m_block;
  uint64_t m_blockStart = 0;
  size_t m_blockSize = 0;
};

}  // namespace tolvane
