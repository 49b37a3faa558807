#include "cli/CommandReport.h"

#include "app/report/HtmlReport.h"
#include "cli/FixedDate.h"
#include "cli/Interrupt.h"
#include "cli/Session.h"
#include "cli/Version.h"
#include "platform/Files.h"

namespace tolvane {

namespace {

// By EOutputFormat.
constexpr std::u16string_view kFormatNames[] = {u"", u"Access 97 (Jet 3)", u"Access 2000-2003 (Jet 4)",
                                                u"Access 2007 and later (ACE)"};

std::u16string ShownPath(const SArguments& arguments) {
  return arguments.source == kStandardInput ? std::u16string(kStandardInputShown) : arguments.source;
}

}  // namespace

bool IsNoPlainDatabase(ESourceState state) {
  return state == ESourceState::Encrypted || state == ESourceState::TooShort ||
         state == ESourceState::Empty || state == ESourceState::Foreign;
}

std::optional<SFailure> CCommandReport::Reserve() {
  const SArguments& arguments = m_session.GetArguments();
  const std::u16string& path = arguments.reportFile;
  if (path.empty()) return std::nullopt;
  for (const std::u16string* other : {&arguments.output, &arguments.logFile})
    if (!other->empty() && (path == *other || IsSameFile(path, *other)))
      return WrongUsageOf(path, u"The report needs a file of its own. Name another one with --report.");
  const SOutputVerdict verdict = m_file.Reserve({.path = path,
                                                 .source = arguments.source,
                                                 .templatePath = arguments.templatePath,
                                                 .mayReplace = arguments.mayOverwrite});
  if (verdict.state == EOutputState::Ok) return std::nullopt;
  return RefuseOutput(path, verdict, u"--report");
}

const SExamination* CCommandReport::RunExamination(void (*examine)(CSource&, CJobContext&, SExamination&)) {
  CSource& source = m_session.GetSource();
  if (!source.IsOpen() || m_session.GetSourceState() != ESourceState::Ok) return nullptr;
  m_examination.emplace();
  if (const CAccessData* data = m_session.GetJob().GetManager().GetData())
    m_examination->pagesWithLosses = FindPagesWithLosses(*data);
  std::u16string problem;
  m_session.RunWatched([&] { examine(source, m_session.GetJob().GetContext(), *m_examination); }, problem);
  return &*m_examination;
}

const SExamination* CCommandReport::InspectPages() {
  return m_examination ? &*m_examination : RunExamination(tolvane::InspectPages);
}

const SExamination* CCommandReport::Examine() {
  if (m_isExamined) return m_examination ? &*m_examination : nullptr;
  m_isExamined = true;
  return RunExamination(ExamineFile);
}

SReport CCommandReport::Collect(const std::u16string& problem) {
  const SArguments& arguments = m_session.GetArguments();
  SReportSources sources;
  sources.source = &m_session.GetSource();
  const ESourceState state = m_session.GetSourceState();
  sources.isEncrypted = state == ESourceState::Encrypted;
  sources.isNoDatabase = !sources.isEncrypted && IsNoPlainDatabase(state);
  if (arguments.WithVerdict()) sources.examination = Examine();
  sources.data = m_session.GetJob().GetManager().GetData();
  const COvFileSave& save = m_session.GetJob().GetSave();
  if (save.IsComplete()) {
    sources.saved = &save.GetSummary();
    sources.outputPath = save.GetOutputPath();
    sources.outputFormat = kFormatNames[static_cast<size_t>(m_session.GetSavedFormat())];
  }
  return CollectReport({.command = NameOf(arguments.command),
                        .version = kVersion,
                        .source = ShownPath(arguments),
                        .templatePath = arguments.templatePath,
                        .rules = arguments.rules,
                        .withSystemTables = arguments.withSystemTables,
                        .problem = problem,
                        .date = FindFixedDate(arguments).date},
                       sources);
}

bool CCommandReport::IsVerdictKnown() const {
  if (!m_session.GetArguments().WithVerdict()) return false;
  return IsNoPlainDatabase(m_session.GetSourceState()) ||
         m_session.GetJob().GetManager().GetData() != nullptr;
}

EExitStatus CCommandReport::Write(EExitStatus status, const std::u16string& problem) {
  const bool isWritten =
      m_file.IsReserved() && status != EExitStatus::Stopped && status != EExitStatus::WrongUsage;
  const std::string page = isWritten ? PrintHtmlReport(Collect(problem)) : std::string();
  if (status == EExitStatus::Done && m_session.GetSource().GetPages().HasChanged()) {
    m_session.Say(AboutFile(m_session.GetArguments().source, kSourceChanged));
    status = EExitStatus::Incomplete;
  }
  if (!isWritten) return status;
  if (IsInterrupted()) {
    m_session.Say(u"Stopped. The report was not written.");
    m_file.Discard();
    return EExitStatus::Stopped;
  }
  const COvFileSave& save = m_session.GetJob().GetSave();
  const std::u16string path = m_file.GetPath();
  const SOutputVerdict verdict =
      m_file.Write(page, save.IsComplete() ? save.GetOutputPath() : std::u16string());
  if (verdict.state == EOutputState::Ok) {
    m_session.Mention(AboutFile(path, u"The report was written."));
    return status;
  }
  const bool isDone = status == EExitStatus::Done || status == EExitStatus::Incomplete;
  m_session.Say(AboutFile(path, verdict.reason + (isDone ? u" All else was done; name" : u" Name") +
                                    std::u16string(u" another place with --report.")));
  return status == EExitStatus::Done ? EExitStatus::Incomplete : status;
}

}  // namespace tolvane
