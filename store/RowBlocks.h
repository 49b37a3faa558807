// Reads a table's data file in blocks of whole rows.
#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>
#include <vector>

#include "platform/FileCust.h"
#include "store/FilePart.h"

namespace tolvane {

// Some rows as they stand in the file; or one alone, without its bytes, that is longer than a block or not
// whole.
struct SRowBlock {
  uint64_t position = 0;         // of the first row in the file
  std::vector<uint8_t> bytes;    // may be more than the rows'
  std::vector<uint32_t> starts;  // of the rows in the bytes
  uint32_t end = 0;              // of the last one; 0: they are not here

  [[nodiscard]] bool HasBytes() const { return end != 0; }
  [[nodiscard]] std::span<const uint8_t> GetRow(size_t row) const {
    const uint32_t next = row + 1 < starts.size() ? starts[row + 1] : end;
    return std::span(bytes).subspan(starts[row], next - starts[row]);
  }
};

// One thread at a time.
class CRowBlockReader {
 public:
  static constexpr size_t kBlockBytes = 128 * 1024;

  explicit CRowBlockReader(size_t columnCount) : m_columnCount(columnCount) {}

  // From the first row, up to the length that the file has now. False when it cannot be opened.
  bool Open(const SFilePart& part);
  [[nodiscard]] uint64_t GetLength() const { return m_length; }
  // The next rows, at least one. False behind the last one. Where the system fails to read, the file ends.
  bool Next(SRowBlock& block);

 private:
  [[nodiscard]] std::optional<size_t> EndOfRow(std::span<const uint8_t> bytes, size_t start) const;
  void PassRow();

  size_t m_columnCount;
  CFileCust m_file;
  uint64_t m_start = 0;  // of the part in the file, from which all places count
  uint64_t m_length = 0;
  uint64_t m_position = 0;
};

}  // namespace tolvane
