#include "app/WorkerThread.h"

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
  m_isWorking = true;
  try {
    m_thread = std::thread([this, work = std::move(work)] {
      work();
      m_isWorking = false;
    });
  } catch (const std::system_error&) {
    m_isWorking = false;
    return false;
  }
  return true;
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
