// A thread that its owner starts again for each piece of work. The owner is on the main thread; the
// destructor waits, so no worker outlives its owner.
#pragma once

#include <atomic>
#include <functional>
#include <string>
#include <thread>

namespace tolvane {

class CWorkerThread {
 public:
  CWorkerThread() = default;
  virtual ~CWorkerThread();
  CWorkerThread(const CWorkerThread&) = delete;
  CWorkerThread& operator=(const CWorkerThread&) = delete;

  // Waits for earlier work first. `work` must not throw. False when the system gives no thread.
  bool Start(std::function<void()> work);
  // True from Start until the work has returned.
  [[nodiscard]] bool IsWorking() const { return m_isWorking; }
  void Join();

 private:
  std::thread m_thread;
  std::atomic<bool> m_isWorking{false};
};

// Runs `work`; what it throws becomes a text for the user, empty when nothing was thrown.
std::u16string RunGuarded(const std::function<void()>& work);

}  // namespace tolvane
