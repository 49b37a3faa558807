// A thread that its owner starts again for each piece of work. The owner is on the main thread; the
// destructor waits, so no worker outlives its owner.
#pragma once

#include <condition_variable>
#include <cstdint>
#include <functional>
#include <mutex>
#include <string>
#include <thread>

namespace tolvane {

class CWorkerThread {
 public:
  virtual ~CWorkerThread();

  // Waits for earlier work first. `work` must not throw. False when the system gives no thread.
  bool Start(std::function<void()> work);
  // True from Start until the work has returned.
  [[nodiscard]] bool IsWorking() const;
  // Waits for the end of the work, this long at most; true when nothing works (any more).
  bool WaitFor(uint32_t milliseconds);
  void Join();

 private:
  void SetWorking(bool isWorking);

  mutable std::mutex m_mutex;
  std::condition_variable m_ended;
  bool m_isWorking = false;  // guarded by m_mutex
  std::thread m_thread;
};

// Runs `work`; what it throws becomes a text for the user, empty when nothing was thrown.
std::u16string RunGuarded(const std::function<void()>& work);

}  // namespace tolvane
