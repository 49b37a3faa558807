#include "app/WorkerThread.h"

#include <chrono>
#include <exception>
#include <new>
#include <system_error>

#include "platform/FileCust.h"
#include "platform/Text.h"

namespace tolvane {

CWorkerThread::~CWorkerThread() {
  Join();
}

bool CWorkerThread::Start(std::function<void()> work) {
  Join();
  SetWorking(true);
  try {
    m_thread = std::thread([this, work = std::move(work)] {
      work();
      SetWorking(false);
    });
  } catch (const std::system_error&) {
    SetWorking(false);
    return false;
  }
  return true;
}

bool CWorkerThread::IsWorking() const {
  const std::lock_guard lock(m_mutex);
  return m_isWorking;
}

void CWorkerThread::SetWorking(bool isWorking) {
  const std::lock_guard lock(m_mutex);
  m_isWorking = isWorking;
  m_ended.notify_all();
}

bool CWorkerThread::WaitFor(uint32_t milliseconds) {
  std::unique_lock lock(m_mutex);
  return m_ended.wait_for(lock, std::chrono::milliseconds(milliseconds), [this] { return !m_isWorking; });
}

void CWorkerThread::Join() {
  if (m_thread.joinable()) m_thread.join();
}

std::u16string RunGuarded(const std::function<void()>& work) {
  try {
    work();
    return {};
  } catch (const std::bad_alloc&) {
    return u"There is not enough memory.";
  } catch (const CFileCustException& error) {
    return error.GetMessageText();
  } catch (const std::exception& error) {
    return FromUtf8(error.what());
  }
}

}  // namespace tolvane
