// Sorts the entries of one index. Up to a memory bound they stay in memory; beyond it sorted runs go to one
// temporary file, which is removed with the sorter, and are merged while they are read back.
//
// The order is that of the tree: key, page and row as one byte string.
#pragma once

#include <cstddef>
#include <cstdint>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "dao/dao.h"
#include "platform/FileCust.h"

namespace tolvane {

struct SIndexEntry {
  std::span<const uint8_t> key;  // valid until the next call of Next
  uint32_t page = 0;
  uint8_t row = 0;
  bool repeatsKey = false;  // an entry before this one has the same key
};

class CIndexSorter {
 public:
  static constexpr size_t kDefaultMemory = size_t{16} << 20;

  // `folder` takes the temporary file; with its separator at the end.
  explicit CIndexSorter(std::u16string_view folder, size_t memoryBound = kDefaultMemory);
  ~CIndexSorter();

  // Every call after a failure answers that failure again.
  EDaoError Add(std::span<const uint8_t> key, uint32_t page, uint8_t row);
  // Ends the collection; then Next hands out the entries. Nothing may be added any more. A second call does
  // nothing.
  EDaoError Sort();
  // False at the end, and on a failure that GetError names.
  bool Next(SIndexEntry& entry);

  // That were added.
  [[nodiscard]] uint64_t GetEntryCount() const { return m_entryCount; }
  [[nodiscard]] EDaoError GetError() const { return m_error; }
  [[nodiscard]] size_t GetRunCount() const { return m_runs.size(); }  // on disk

 private:
  struct SRecord {    // one entry in m_arena
    uint64_t prefix;  // its first bytes as a number that sorts as they do
    uint32_t offset;
    uint32_t size;
  };
  // A sorted run in the file, read through a buffer of its own.
  struct SRun {
    uint64_t next = 0;  // file offset of the first byte not yet in the buffer
    uint64_t end = 0;
    std::vector<uint8_t> buffer;
    size_t position = 0;
    std::vector<uint8_t> entry;  // the run's smallest entry not yet handed out
    uint64_t prefix = 0;         // of the entry
  };

  [[nodiscard]] std::span<const uint8_t> BytesOf(const SRecord& record) const;
  void SortRecords();
  void SortByPrefix();
  bool Spill();
  bool OpenFile();
  bool WriteBlock(std::vector<uint8_t>& block);
  bool StartMerge();
  [[nodiscard]] bool IsRunBefore(size_t a, size_t b) const;
  void SiftDown(size_t position);
  bool Advance(SRun& run, bool& isAtEnd);
  bool Read(SRun& run, size_t size, std::vector<uint8_t>& target);
  bool TakeFromRuns();
  bool RepeatsOpenKey();
  bool Fail(EDaoError error);

  std::u16string m_folder;
  size_t m_memoryBound;
  std::vector<uint8_t> m_arena;
  std::vector<SRecord> m_records;
  uint64_t m_entryCount = 0;
  size_t m_nextRecord = 0;
  bool m_isSorted = false;

  CFileCust m_file;
  std::u16string m_path;
  uint64_t m_fileLength = 0;
  std::vector<SRun> m_runs;
  std::vector<size_t> m_heap;  // runs with an entry, as a binary heap; the smallest entry first
  size_t m_bufferSize = 0;

  std::span<const uint8_t> m_current;            // the entry handed out last
  std::vector<uint8_t> m_taken;                  // it, when it came from a run
  std::vector<std::vector<uint8_t>> m_openKeys;  // the first m_openCount may still be repeated
  size_t m_openCount = 0;
  EDaoError m_error = EDaoError::None;
};

}  // namespace tolvane
