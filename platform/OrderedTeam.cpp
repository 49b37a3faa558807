#include "platform/OrderedTeam.h"

#include <algorithm>
#include <system_error>
#include <utility>

namespace tolvane {

namespace {

constexpr size_t kSlotsAThread = 3;

}  // namespace

COrderedTeam::COrderedTeam(COrderedSteps& steps, size_t threads)
    : m_steps(steps), m_threadCount(std::max<size_t>(threads, 1)), m_isDone(kSlotsAThread * m_threadCount) {}

COrderedTeam::~COrderedTeam() {
  End();
  {
    const std::lock_guard lock(m_mutex);
    m_isClosing = true;
  }
  m_changed.notify_all();
  for (std::thread& thread : m_threads) thread.join();
}

// Where the system has no room for another thread, those that are there do the work.
void COrderedTeam::StartThreads() {
  m_threads.reserve(m_threadCount);
  while (m_threads.size() + 1 < m_threadCount) {
    try {
      m_threads.emplace_back([this, worker = m_threads.size() + 1] { Run(worker); });
    } catch (const std::system_error&) {
      return;
    }
  }
}

void COrderedTeam::Start(bool isSmall) {
  {
    const std::lock_guard lock(m_mutex);
    m_begun = m_taken = 0;
    m_hasEnded = false;
    m_isSmall = isSmall || m_threadCount == 1;
    m_exception = nullptr;
  }
  if (m_isSmall) return;
  StartThreads();
  m_changed.notify_all();
}

void COrderedTeam::TellThreads() {
  if (!m_isSmall) m_changed.notify_all();
}

std::optional<size_t> COrderedTeam::Next() {
  Lock lock(m_mutex);
  if (std::exchange(m_isHeld, false)) {
    m_isDone[m_taken++ % m_isDone.size()] = false;
    TellThreads();
  }
  for (;;) {
    if (m_exception) std::rethrow_exception(m_exception);
    const size_t slot = m_taken % m_isDone.size();
    if (m_taken < m_begun && m_isDone[slot]) {
      m_isHeld = true;
      return slot;
    }
    if (m_hasEnded && m_taken == m_begun) return std::nullopt;
    if (CanBegin())
      BeginAndDo(0, lock);
    else
      m_changed.wait(lock);
  }
}

void COrderedTeam::End() {
  Lock lock(m_mutex);
  m_hasEnded = true;
  m_changed.wait(lock, [this] { return m_working == 0; });
  std::ranges::fill(m_isDone, uint8_t{0});
  m_begun = m_taken = 0;
  m_isHeld = false;
}

void COrderedTeam::Run(size_t worker) {
  Lock lock(m_mutex);
  while (!m_isClosing) {
    if (!m_isSmall && CanBegin())
      BeginAndDo(worker, lock);
    else
      m_changed.wait(lock);
  }
}

void COrderedTeam::BeginAndDo(size_t worker, Lock& lock) {
  const size_t slot = m_begun % m_isDone.size();
  std::exception_ptr exception;
  bool isThere = false;
  m_working++;
  m_isBeginning = true;
  lock.unlock();
  try {
    isThere = m_steps.BeginStep(slot);
  } catch (...) {
    exception = std::current_exception();
  }
  lock.lock();
  m_isBeginning = false;
  if (isThere) {
    m_begun++;
    TellThreads();
    lock.unlock();
    try {
      m_steps.DoStep(slot, worker);
    } catch (...) {
      exception = std::current_exception();
    }
    lock.lock();
    m_isDone[slot] = true;
  }
  m_hasEnded = m_hasEnded || !isThere;
  if (!m_exception) m_exception = exception;
  m_working--;
  TellThreads();
}

}  // namespace tolvane
