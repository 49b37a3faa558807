// The one thread that carries out overlapped writes, in the order in which they were issued.
#pragma once

#include <condition_variable>
#include <deque>
#include <mutex>
#include <thread>

#include "platform/OverlappedLedger.h"

namespace tolvane {

// Bytes in one call; the kernel's own limit is just below 2 GiB.
inline constexpr size_t kMaxTransfer = size_t{1} << 30;

// Started by the first write. Its destructor, at the end of the program, finishes what is queued.
class CWriteWorker {
 public:
  static CWriteWorker& Instance();
  CWriteWorker(const CWriteWorker&) = delete;
  CWriteWorker& operator=(const CWriteWorker&) = delete;
  ~CWriteWorker();

  // `descriptor` must stay open until the ledger counts the file's writes as done.
  void Submit(int descriptor, SOverlappedWrite write);

 private:
  CWriteWorker();
  void Run();

  struct STask {
    int descriptor;
    SOverlappedWrite write;
  };
  std::mutex m_mutex;
  std::condition_variable m_changed;
  std::deque<STask> m_tasks;
  bool m_isEnding = false;
  std::thread m_thread;
};

// All of `size` bytes; 0 or the system's error.
uint32_t WriteAllAt(int descriptor, const uint8_t* bytes, size_t size, uint64_t offset);

}  // namespace tolvane
