// A growing sequence of bytes that lies in a temporary file once it is large, with a few blocks of it in
// memory. One thread at a time.
#pragma once

#include <cstddef>
#include <cstdint>
#include <list>
#include <span>
#include <string>
#include <vector>

#include "platform/FileCust.h"

namespace tolvane {

class CSpillFile {
 public:
  static constexpr size_t kBlockSize = 65536;
  static constexpr size_t kBlocksKept = 16;

  ~CSpillFile();  // deletes the file

  // False when the file can take nothing more; what was appended before stays readable.
  bool Append(std::span<const uint8_t> bytes);
  // Bytes that were there; fewer at the end, and where the file cannot be read.
  size_t Read(uint64_t position, std::span<uint8_t> buffer);
  [[nodiscard]] uint64_t GetLength() const { return m_stored + m_tail.size(); }
  // Why the file can take nothing more or could not be read; empty when all is well.
  [[nodiscard]] const std::u16string& GetProblem() const { return m_problem; }
  void Clear();

 private:
  struct SBlock {
    uint64_t number;
    std::vector<uint8_t> bytes;
  };

  bool StoreTail();
  bool OpenFile();
  const std::vector<uint8_t>& GetBlock(uint64_t number);

  CFileCust m_file;  // in the work folder; not open before the first block is full
  uint64_t m_stored = 0;
  std::vector<uint8_t> m_tail;  // behind what is stored; at most one block
  std::list<SBlock> m_blocks;   // read last first
  std::u16string m_problem;
};

}  // namespace tolvane
