#include "app/ExternalEngine.h"

#include <memory>

#include "app/FileSave.h"
#include "platform/FileCust.h"
#include "platform/Text.h"
#include "status/Status.h"
#include "store/WorkFolder.h"
#include "writer/handoff/AccdbPICollector.h"
#include "writer/handoff/AccddbPIWriter.h"

namespace tolvane {

namespace {

constexpr std::u16string_view kInfoFileName = u"ParsedInformation.kpi";
constexpr uint64_t kProgressMaximum = 100;
// An engine that has just been started needs a moment for its window. Milliseconds.
constexpr uint32_t kWindowPatience = 5000;
constexpr uint32_t kWindowPeriod = 50;

// A file that goes when its user is done with it.
class CPassingFile {
 public:
  explicit CPassingFile(std::u16string path) : m_path(std::move(path)) {}
  ~CPassingFile() {
    if (FileExists(m_path)) RemoveFile(m_path);
  }
  CPassingFile(const CPassingFile&) = delete;
  CPassingFile& operator=(const CPassingFile&) = delete;
  [[nodiscard]] const std::u16string& GetPath() const { return m_path; }

 private:
  std::u16string m_path;
};

void ResetStatus() {
  CProgressStatus::Instance().Begin(kProgressMaximum);
  CRepairLog::Instance().Set({});
  CStatusProgress::Instance().SetText({});
}

// What went wrong; empty when the file is whole.
std::u16string WriteParsedInfo(const CAccessData& data, std::u16string_view path) {
  CAccdbParsedInfo parsedInfo;
  CAccdbPICollector().Collect(data, parsedInfo);
  CAccddbPIWriter writer;
  if (writer.Open(path)) writer.Write(parsedInfo);
  return writer.GetProblem();
}

void TellServerWindow(const SHandOff& handOff, CExternalEngineLauncher& launcher, CExternalProcess& engine) {
  for (uint32_t waited = 0;; waited += kWindowPeriod) {
    if (const WindowHandle window = launcher.FindTopLevelWindow(kServerWindowTitle)) {
      launcher.SendText(window, handOff.mainWindow, handOff.outputPath);
      launcher.SendWindowMessage(window, kServerMessage, handOff.mainWindow, handOff.outputPath);
      return;
    }
    if (waited >= kWindowPatience || engine.WaitForEnd(kWindowPeriod)) return;
  }
}

SHandOffResult RunEngine(const SHandOff& handOff, CProcessManager& processes,
                         CExternalEngineLauncher& launcher) {
  SHandOffResult result;
  EndExternalEngine(processes);
  const CPassingFile info(GetWorkFolder() + std::u16string(kInfoFileName));
  result.problem = WriteParsedInfo(handOff.data, info.GetPath());
  if (!result.problem.empty()) return result;
  const std::u16string program = handOff.engineFolder + std::u16string(kExternalEngineName);
  const std::unique_ptr<CExternalProcess> engine = launcher.Start(program, info.GetPath());
  if (!engine) {
    const uint32_t reason = LastSystemError();
    result.problem = u"The save engine \"" + program + u"\" cannot be started: " + SystemMessage(reason);
    return result;
  }
  result.isStarted = true;
  TellServerWindow(handOff, launcher, *engine);
  engine->WaitForEnd();
  result.exitCode = engine->GetExitCode();
  if (result.exitCode != 0)
    result.problem = u"The save engine ended early, with status " + ToDecimal(result.exitCode) + u".";
  else if (!FileExists(handOff.outputPath))
    result.problem = u"The save engine ended without writing the database.";
  return result;
}

}  // namespace

SHandOffResult SaveThroughExternalEngine(const SHandOff& handOff, CProcessManager& processes,
                                         CExternalEngineLauncher& launcher) {
  ResetStatus();
  SHandOffResult result = RunEngine(handOff, processes, launcher);
  CRepairLog& log = CRepairLog::Instance();
  if (!result.problem.empty()) log.Append(result.problem);
  log.Append(u"Location: \r\n" + handOff.outputPath);
  CStatusProgress::Instance().SetText(u"Location: " + handOff.outputPath);
  CSavingStatus::Instance().SetLaunchFailed(!result.isStarted);
  CSavingStatus::Instance().SetSaving(false);
  return result;
}

}  // namespace tolvane
