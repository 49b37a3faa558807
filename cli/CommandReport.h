// --report: the report of a command, and the examination of the file that it and --json tell of.
#pragma once

#include <optional>
#include <string>

#include "app/report/Report.h"
#include "app/report/ReportFile.h"
#include "cli/ExitStatus.h"
#include "engine/SourceCheck.h"

namespace tolvane {

class CSession;

// The file can be read, and is none that can be repaired: there is something to report of it all the same.
bool IsNoPlainDatabase(ESourceState state);

class CCommandReport {
 public:
  // The session owns it.
  explicit CCommandReport(CSession& session) : m_session(session) {}
  CCommandReport(const CCommandReport&) = delete;
  CCommandReport& operator=(const CCommandReport&) = delete;

  // Refuses a place that must not or cannot be written, before any work is done.
  std::optional<SFailure> Reserve();
  // The file's pages alone, which a map of them needs; reads the file twice. Null when it cannot be read.
  const SExamination* InspectPages();
  // What the run came to, for the page and for programs. The file is examined at the first call; the answer
  // lives as long as the session's results. `problem`: why the command failed, or nothing.
  SReport Collect(const std::u16string& problem = {});
  // Something can be said of the file itself, though the command failed.
  [[nodiscard]] bool IsVerdictKnown() const;
  // Writes the report, where one was asked for and is not written yet. A report that cannot be written is
  // told and costs a run that was otherwise done its status.
  EExitStatus Write(EExitStatus status, const std::u16string& problem = {});

 private:
  const SExamination* Examine();
  const SExamination* RunExamination(void (*examine)(CSource&, CJobContext&, SExamination&));

  CSession& m_session;
  CReportFile m_file;
  std::optional<SExamination> m_examination;
  bool m_isExamined = false;  // as a whole
};

}  // namespace tolvane
