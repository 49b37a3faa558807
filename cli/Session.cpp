#include "cli/Session.h"

#include <chrono>
#include <condition_variable>
#include <mutex>
#include <thread>

#include "app/WorkerThread.h"
#include "cli/DisplayText.h"
#include "cli/Interrupt.h"
#include "cli/Version.h"
#include "engine/SourceCheck.h"
#include "platform/Files.h"
#include "platform/Process.h"
#include "platform/Terminal.h"
#include "platform/Text.h"
#include "status/Status.h"

namespace tolvane {

namespace {

constexpr auto kPollInterval = std::chrono::milliseconds(80);

EProgressForm ChooseForm(const SArguments& arguments) {
  if (arguments.isQuiet) return EProgressForm::Silent;
  return AcceptsEscapes(EStream::Error) ? EProgressForm::Updating : EProgressForm::Lines;
}

// What to do about a file that cannot be repaired, after the sentence that says what is the matter.
SFailure MakeSourceFailure(const std::u16string& path, const SSourceVerdict& verdict) {
  std::u16string_view advice;
  EExitStatus status = EExitStatus::Failed;
  switch (verdict.state) {
    case ESourceState::Missing:
      advice = u" Check the name and the folder.";
      break;
    case ESourceState::NotReadable:
      advice = u" Check its permissions, or copy it to a healthy disk first.";
      break;
    case ESourceState::Folder:
    case ESourceState::Device:
      advice = u" Name a database file.";
      break;
    case ESourceState::Empty:
    case ESourceState::TooShort:
      advice = u" There is nothing to recover.";
      status = EExitStatus::Nothing;
      break;
    case ESourceState::Encrypted:
      advice = u" Remove the encryption in Access, then repair the result.";
      break;
    case ESourceState::Ok:
      break;
  }
  return {status, AboutFile(path, verdict.reason + std::u16string(advice))};
}

}  // namespace

std::u16string AboutFile(std::u16string_view path, std::u16string_view message) {
  return std::u16string(path) + u": " + std::u16string(message);
}

SFailure StoppedByUser() {
  return {EExitStatus::Stopped, u"Stopped. Nothing was written."};
}

CSession::CSession(const SArguments& arguments)
    : m_arguments(arguments),
      m_progress(ChooseForm(arguments), arguments.isVerbose ? ELogForm::All : ELogForm::Steps),
      m_source(RulesOf(arguments.rules)),
      m_template(RulesOf(arguments.rules)),
      m_repair(RulesOf(arguments.rules)) {}

CSession::~CSession() = default;

void CSession::Say(std::u16string_view message) {
  m_progress.Clear();
  WriteStream(EStream::Error, "tolvane: " + ToDisplay(message) + "\n");
  WriteLog(message);
}

void CSession::Mention(std::u16string_view message) {
  if (m_arguments.isQuiet) {
    WriteLog(message);
  } else {
    Say(message);
  }
}

std::optional<SFailure> CSession::CheckFiles() {
  if (auto failure = CheckSourceFile()) return failure;
  if (auto failure = CheckTemplate()) return failure;
  return OpenLogFile();
}

std::optional<SFailure> CSession::CheckSourceFile() {
  const SSourceVerdict verdict = OpenSource(m_source, m_arguments.source);
  if (verdict.state == ESourceState::Ok) return std::nullopt;
  return MakeSourceFailure(m_arguments.source, verdict);
}

std::optional<SFailure> CSession::CheckTemplate() {
  const std::u16string& path = m_arguments.templatePath;
  if (path.empty()) return std::nullopt;
  const SSourceVerdict verdict = OpenSource(m_template, path);
  if (verdict.state != ESourceState::Ok) {
    SFailure failure = MakeSourceFailure(path, verdict);
    failure.status = EExitStatus::Failed;
    failure.message = AboutFile(path, verdict.reason + u" The template must be a healthy database.");
    return failure;
  }
  if (!IsSameFile(path, m_arguments.source)) return std::nullopt;
  return SFailure{EExitStatus::WrongUsage,
                  AboutFile(path,
                            u"The template is the damaged file itself. Name a healthy database of the same "
                            u"structure, or leave --template out.")};
}

std::optional<SFailure> CSession::OpenLogFile() {
  const std::u16string& path = m_arguments.logFile;
  if (path.empty()) return std::nullopt;
  if (IsSameFile(path, m_arguments.source) || IsSameFile(path, m_arguments.templatePath) ||
      IsSameFile(path, m_arguments.output))
    return SFailure{EExitStatus::WrongUsage, AboutFile(path, u"The log cannot be written over a database.")};
  if (!m_logFile.Open(path, EFileAccess::Write, EFileShare::Read, EFileCreation::CreateAlways))
    return SFailure{EExitStatus::Failed, AboutFile(path, u"The log file cannot be written: " +
                                                             SystemMessage(m_logFile.GetLastErrorCode()))};
  WriteLog(u"tolvane " + FromAscii(kVersion) + u" " + FromAscii(NameOf(m_arguments.command)) + u" " +
           m_arguments.source);
  return std::nullopt;
}

void CSession::WriteLog(std::u16string_view lines) {
  if (!m_logFile.IsOpen() || m_hasLogProblem) return;
  const std::string text = ToUtf8(lines) + "\n";
  try {
    m_logFile.Write({reinterpret_cast<const uint8_t*>(text.data()), text.size()});
  } catch (const CFileCustException& error) {
    m_hasLogProblem = true;
    Say(AboutFile(m_arguments.logFile, u"The log ends here: " + error.GetMessageText()));
  }
}

std::optional<SFailure> CSession::MakeWorkFolder() {
  if (!m_runFolder.GetPath().empty()) return std::nullopt;
  CRunFolder::RemoveStale(m_arguments.workFolder);
  if (m_runFolder.Create(m_arguments.workFolder)) return std::nullopt;
  return SFailure{EExitStatus::Failed, u"There is no folder for temporary files: " +
                                           m_runFolder.GetProblem() +
                                           u". Name another folder with --work-dir."};
}

std::optional<SFailure> CSession::Recover() {
  if (auto failure = MakeWorkFolder()) return failure;
  CRepairingFileStatus::Instance().SetRunning(true);
  m_progress.Start(GetFileLength(m_arguments.source));
  CSource& definitions = m_template.IsOpen() ? m_template : m_source;
  std::u16string problem;
  const bool isWhole = RunWatched([&] { m_repair.Repair(m_source, definitions); }, problem);
  CRepairingFileStatus::Instance().SetRunning(false);
  m_data = m_repair.TakeData();
  if (IsInterrupted()) return StoppedByUser();
  if (!isWhole || !m_data)
    return SFailure{EExitStatus::Failed,
                    AboutFile(m_arguments.source, problem.empty() ? u"The file cannot be read." : problem)};
  // Rows for which there is no room are no damage of the file: with more room they come back.
  if (m_data->GetLedger().GetCount(EDamage::SkippedTable) > 0)
    return SFailure{
        EExitStatus::Failed,
        AboutFile(m_runFolder.GetPath(),
                  u"The recovered rows could not be kept in this folder. Free some space there, or name "
                  u"another folder with --work-dir.")};
  return std::nullopt;
}

bool CSession::RunWatched(const std::function<void()>& work, std::u16string& problem) {
  std::mutex mutex;
  std::condition_variable changed;
  bool isDone = false;
  m_logShown = 0;
  CRepairLog::Instance().Clear();
  CStatusProgress::Instance().SetText({});
  CProgressStatus::Instance().SetPos(0);
  std::thread worker([&] {
    CRepairThreadCounter::Instance()++;
    problem = RunGuarded(work);
    CRepairThreadCounter::Instance()--;
    const std::lock_guard lock(mutex);
    isDone = true;
    changed.notify_one();
  });
  std::unique_lock lock(mutex);
  while (!changed.wait_for(lock, kPollInterval, [&] { return isDone; })) {
    lock.unlock();
    PassInterruptOn();
    ShowProgress();
    lock.lock();
  }
  lock.unlock();
  worker.join();
  ShowProgress();
  m_progress.Clear();
  return problem.empty();
}

void CSession::ShowProgress() {
  const std::u16string log = CRepairLog::Instance().Get();
  if (log.size() > m_logShown) {
    std::u16string_view lines = log;
    lines.remove_prefix(m_logShown);
    if (lines.starts_with(u"\r\n")) lines.remove_prefix(2);
    m_progress.ShowLog(lines);
    WriteLog(lines);
    m_logShown = log.size();
  }
  m_progress.Update({CStatusProgress::Instance().GetText(), CProgressStatus::Instance().GetPos(),
                     CProgressStatus::Instance().GetMax()},
                    GetMonotonicSeconds());
}

}  // namespace tolvane
