// Threads that do the steps of some work ahead of whoever takes the results in order.
//
//   steps    | taken | being done, by any thread | not begun |
//                    ^ the taker: waits for the next step in order
//
// The taker's own thread works, too, while the step that it needs is another thread's. A step stands in one
// of a bounded number of slots from its beginning until the taker lets go of it, so that memory does not
// depend on the length of the work.
#pragma once

#include <condition_variable>
#include <cstddef>
#include <cstdint>
#include <exception>
#include <mutex>
#include <optional>
#include <thread>
#include <vector>

namespace tolvane {

// The work. What two steps share must not change while the work goes on.
class COrderedSteps {
 public:
  virtual ~COrderedSteps() = default;
  // Puts the next step into a free slot: in order, one call at a time, on any thread. False: there is none.
  virtual bool BeginStep(size_t slot) = 0;
  // Does the step of that slot, several of them at a time. `worker` is the thread's number, 0 the taker's.
  virtual void DoStep(size_t slot, size_t worker) = 0;
};

class COrderedTeam {
 public:
  // `threads`: all that work, the taker's among them, at least one; fewer work where the system gives no
  // more. The steps outlive the team.
  COrderedTeam(COrderedSteps& steps, size_t threads);
  // Ends the work and waits for the threads. Where the steps are parts of an object that goes first, that
  // must have ended the work.
  ~COrderedTeam();

  [[nodiscard]] size_t GetThreadCount() const { return m_threadCount; }
  [[nodiscard]] size_t GetSlotCount() const { return m_isDone.size(); }

  // The following calls are the taker's, on one thread.
  // Begins with the first step; earlier work must have been ended. `isSmall`: the taker does it alone, and
  // wakes nobody.
  void Start(bool isSmall);
  // The slot of the next step, which is done; the taker's until the next call. Nothing behind the last one.
  // Throws what a step threw; the work should be ended then.
  std::optional<size_t> Next();
  // No step is begun any more, and no thread has anything of the work when it returns.
  void End();

 private:
  using Lock = std::unique_lock<std::mutex>;

  void StartThreads();
  void TellThreads();
  void Run(size_t worker);
  [[nodiscard]] bool CanBegin() const {
    return !m_isBeginning && !m_hasEnded && m_begun < m_taken + m_isDone.size();
  }
  void BeginAndDo(size_t worker, Lock& lock);

  COrderedSteps& m_steps;
  const size_t m_threadCount;
  std::vector<std::thread> m_threads;  // the taker's is not among them

  std::mutex m_mutex;  // guards what follows, and whose turn each slot is
  std::condition_variable m_changed;
  std::vector<uint8_t> m_isDone;    // of step i: i modulo their number
  size_t m_begun = 0, m_taken = 0;  // steps
  bool m_isSmall = true;
  bool m_isHeld = false;           // the step that the taker has
  bool m_isBeginning = false;      // some thread is in BeginStep
  bool m_hasEnded = true;          // there are no further steps
  size_t m_working = 0;            // threads that are in a step
  std::exception_ptr m_exception;  // the first one
  bool m_isClosing = false;
};

}  // namespace tolvane
