// The user's way through the window program without a window, as a program whose file calls can be made to
// fail: chooses SOURCE, repairs it, looks at the first rows of each table, saves as OUTPUT and the report as
// REPORT. What the user is told goes to standard error as one line; the status is that of the command line.
//
//   window_run SOURCE OUTPUT REPORT WORK-FOLDER
#include <algorithm>
#include <cstdio>

#include "app/RepairWorkflow.h"
#include "app/ViewTexts.h"
#include "cli/ExitStatus.h"
#include "embedded/EmbeddedEngine.h"
#include "platform/Arguments.h"
#include "platform/Process.h"
#include "status/Status.h"
#include "store/WorkFolder.h"
#include "tests/app/FakeFrontEnd.h"

namespace tolvane {
namespace {

template <class F>
void Until(F condition) {
  while (!condition()) SleepMilliseconds(1);
}

bool Holds(const std::string& text, std::string_view part) {
  return text.find(part) != std::string::npos;
}

EExitStatus Tell(EExitStatus status, CFakeFrontEnd& window, std::string text) {
  for (const std::string& message : window.Take({"message"})) text += " " + message;
  std::ranges::replace(text, '\r', ' ');
  std::ranges::replace(text, '\n', ' ');
  std::fprintf(stderr, "tolvane: %s\n", text.c_str());
  return status;
}

void SaveReport(CRepairWorkflow& workflow, CFakeFrontEnd& window, const std::u16string& path) {
  window.paths = {path};
  window.notice.clear();
  workflow.SaveReport();
  do {
    SleepMilliseconds(1);
    workflow.OnTimer(kOutputTimer);
  } while (!window.notice.empty() && !window.notice.starts_with("The report was"));
}

EExitStatus Work(CRepairWorkflow& workflow, CFakeFrontEnd& window, const std::vector<std::u16string>& words) {
  workflow.Start();
  workflow.SelectCorruptedFile(words[0]);
  workflow.Next();
  Until([] { return !CRepairingFileStatus::Instance().IsRunning(); });
  workflow.OnTimer(kRepairTimer);
  const std::string found = window.hint + window.summary;
  const Lines tables = window.tables;
  for (const std::string& table : tables) {
    workflow.GetResultView().SelectItem(FromUtf8(table.substr(0, table.rfind(' '))));
    Until([] { return !CPreviewThreadStatus::Instance().IsBusy(); });
  }
  window.paths = {words[1]};
  window.answers = {true, true};
  workflow.Next();
  if (workflow.GetPage() != EPageState::Saving) return Tell(EExitStatus::Failed, window, found);
  Until([] { return !CSavingStatus::Instance().IsSaving(); });
  workflow.OnTimer(kSaveTimer);
  const std::string saved = window.hint + " " + window.summary + " " + window.log;
  if (window.hint != ToUtf8(kSavedHint) && window.hint != ToUtf8(kPartSavedHint))
    return Tell(EExitStatus::Failed, window, saved);
  SaveReport(workflow, window, words[2]);
  const bool isReported = window.notice.starts_with("The report was saved");
  if (isReported && Holds(found, "Nothing was lost.") && !Holds(saved, "Not saved")) return EExitStatus::Done;
  return Tell(EExitStatus::Incomplete, window, found + " " + saved + " " + window.notice);
}

EExitStatus Run(const std::vector<std::u16string>& words) {
  CRunFolder::RemoveStale(words[3]);
  CRunFolder folder;
  CFakeFrontEnd window;
  if (!folder.Create(words[3])) return Tell(EExitStatus::Failed, window, ToUtf8(folder.GetProblem()));
  CFakeProcesses processes;
  const auto engine = MakeEmbeddedEngine();
  CRepairWorkflow workflow(
      {.dialogs = window, .view = window, .frame = window, .processes = processes, .engine = *engine});
  return Work(workflow, window, words);
}

}  // namespace
}  // namespace tolvane

int main(int count, char** words) {
  using namespace tolvane;
  const std::vector<std::u16string> arguments = GetProgramArguments(count, words);
  return static_cast<int>(arguments.size() == 4 ? Run(arguments) : EExitStatus::WrongUsage);
}
