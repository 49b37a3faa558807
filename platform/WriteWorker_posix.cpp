#include "platform/WriteWorker_posix.h"

#include <errno.h>
#include <unistd.h>

#include <algorithm>
#include <utility>

namespace tolvane {

namespace {}

uint32_t WriteAllAt(int descriptor, const uint8_t* bytes, size_t size, uint64_t offset) {
  for (size_t done = 0; done < size;) {
    const ssize_t n = pwrite(descriptor, bytes + done, std::min(size - done, kMaxTransfer),
                             static_cast<off_t>(offset + done));
    if (n < 0 && errno == EINTR) continue;
    if (n < 0) return static_cast<uint32_t>(errno);
    if (n == 0) return kWriteFaultError;
    done += static_cast<size_t>(n);
  }
  return kNoSystemError;
}

CWriteWorker& CWriteWorker::Instance() {
  static CWriteWorker worker;
  return worker;
}

CWriteWorker::CWriteWorker() {
  COverlappedLedger::Instance();  // made first, so that it outlives this one
  m_thread = std::thread([this] { Run(); });
}

CWriteWorker::~CWriteWorker() {
  {
    const std::lock_guard lock(m_mutex);
    m_isEnding = true;
  }
  m_changed.notify_one();
  m_thread.join();
}

void CWriteWorker::Submit(int descriptor, SOverlappedWrite write) {
  COverlappedLedger::Instance().Issue(write);
  {
    const std::lock_guard lock(m_mutex);
    m_tasks.push_back({descriptor, std::move(write)});
  }
  m_changed.notify_one();
}

void CWriteWorker::Run() {
  std::unique_lock lock(m_mutex);
  while (true) {
    m_changed.wait(lock, [this] { return m_isEnding || !m_tasks.empty(); });
    if (m_tasks.empty()) return;
    const STask task = std::move(m_tasks.front());
    m_tasks.pop_front();
    lock.unlock();
    const SOverlappedWrite& write = task.write;
    const uint32_t error =
        WriteAllAt(task.descriptor, write.buffer.data(), write.buffer.size(), write.offset);
    COverlappedLedger::Instance().Complete(write, error);
    lock.lock();
  }
}

}  // namespace tolvane
