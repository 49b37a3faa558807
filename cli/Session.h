// One run of the program on one damaged file: checks the files, has a work folder of its own, runs the
// workers while the main thread draws their progress and passes the user's interrupt on.
#pragma once

#include <cstddef>
#include <functional>
#include <optional>
#include <string>
#include <string_view>

#include "app/Job.h"
#include "cli/CommandArguments.h"
#include "cli/CommandReport.h"
#include "cli/ExitStatus.h"
#include "cli/Failures.h"
#include "cli/ProgressLine.h"
#include "cli/Summary.h"
#include "engine/Source.h"
#include "engine/SourceCheck.h"
#include "model/AccessData.h"
#include "platform/FileCust.h"
#include "store/WorkFolder.h"

namespace tolvane {

class CSession {
 public:
  explicit CSession(const SArguments& arguments);

  [[nodiscard]] const SArguments& GetArguments() const { return m_arguments; }
  // The file that is read: the source, or what standard input was kept in.
  [[nodiscard]] const std::u16string& GetSourcePath() const { return m_sourcePath; }
  // The damaged file, open once CheckFiles found no failure.
  [[nodiscard]] CSource& GetSource() { return m_source; }

  // The source, the template and the log file, before anything is done. A failure ends the program.
  std::optional<SFailure> CheckFiles();
  // The folder for temporary files, which Recover needs; nothing more when it is there.
  std::optional<SFailure> MakeWorkFolder();
  // Recovers the tables into the work folder. After that there is data.
  std::optional<SFailure> Recover();
  [[nodiscard]] const CAccessData& GetData() const { return *m_job.GetManager().GetData(); }
  [[nodiscard]] CJob& GetJob() { return m_job; }
  // What CheckFiles found.
  [[nodiscard]] ESourceState GetSourceState() const { return m_sourceState; }
  // Of the last save.
  [[nodiscard]] EOutputFormat GetSavedFormat() const { return m_savedFormat; }
  [[nodiscard]] CCommandReport& GetReport() { return m_report; }

  // Saves what was recovered to the output that the job has reserved.
  std::optional<SFailure> Save(CDaoEngine& engine, const SSaveOptions& options);
  // Runs `work` on the job's worker thread to its end. False when it threw, with the reason in `problem`.
  bool RunWatched(const std::function<void()>& work, std::u16string& problem);

  // One line for the user on standard error; in the log, too.
  void Say(std::u16string_view message);
  // The same of what ended the run.
  void Complain(std::u16string_view message);
  // Like Say, but not with --quiet.
  void Mention(std::u16string_view message);

 private:
  std::optional<SFailure> KeepInput();
  std::optional<SFailure> TakeMap();
  std::optional<SFailure> CheckSourceFile();
  void MentionPlace();
  std::optional<SFailure> OpenWatched(CSource& source, const std::u16string& path, SSourceVerdict& verdict);
  std::optional<SFailure> CheckTemplate();
  std::optional<SFailure> OpenLogFile();
  // Draws the job's progress and passes interrupts on until it ends.
  void Watch();
  void ShowProgress();
  // Every loss of the recovery, where there is a log file.
  void LogLosses();
  void WriteLog(std::u16string_view lines);

  SArguments m_arguments;
  std::u16string m_sourcePath;
  CProgressLine m_progress;
  CRunFolder m_runFolder;
  CSource m_source;
  ESourceState m_sourceState = ESourceState::Missing;
  EOutputFormat m_savedFormat = EOutputFormat::ByRules;
  CSource m_template;
  CJob m_job;  // its result goes before the work folder that holds its files
  CCommandReport m_report{*this};
  CFileCust m_logFile;
  bool m_hasLogProblem = false;
  size_t m_logShown = 0;  // units of the repair log that were shown
};

// "tolvane: ..." on standard error, the name in the colour of the meaning.
void WriteMessage(std::u16string_view message, EMeaning meaning);
EProgressForm ChooseProgressForm(const SArguments& arguments);

}  // namespace tolvane
