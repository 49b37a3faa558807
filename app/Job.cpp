#include "app/Job.h"

#include "app/RepairFile.h"

namespace tolvane {

CJob::~CJob() {
  if (IsWorking()) Stop();
}

// Nothing that an earlier piece of work reported is taken for the next one's.
void CJob::ResetContext() {
  m_problem.clear();
  m_context.log.Clear();
  m_context.status.SetText({});
  m_context.progress.SetPos(0);
  m_context.pages.Begin(0);
}

bool CJob::StartRepair(const std::function<void()>& onRunning) {
  Join();
  ResetContext();
  m_isRepairing = true;
  m_context.repairing.SetRunning(true);
  if (onRunning) onRunning();
  if (m_thread.Start([this] { m_problem = RunRepairWorker(m_manager, m_context); })) return true;
  m_context.repairing.SetRunning(false);
  return false;
}

bool CJob::StartSave(CDaoEngine& engine, const SSaveOptions& options,
                     const std::function<void()>& onRunning) {
  Join();
  ResetContext();
  return m_save.StartSave(engine, m_manager, options, onRunning);
}

bool CJob::Start(std::function<void()> work) {
  Join();
  ResetContext();
  m_isRepairing = false;
  m_context.repairing.SetRunning(true);
  const bool isStarted = m_thread.Start([this, work = std::move(work)] {
    m_problem = RunGuarded(work);
    m_context.repairing.SetRunning(false);
  });
  if (!isStarted) m_context.repairing.SetRunning(false);
  return isStarted;
}

bool CJob::WaitFor(uint32_t milliseconds) {
  return m_save.IsWorking() ? m_save.WaitFor(milliseconds) : m_thread.WaitFor(milliseconds);
}

void CJob::Join() {
  m_thread.Join();
  m_save.Join();
}

}  // namespace tolvane
