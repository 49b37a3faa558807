#include "cli/Session.h"

#include "app/InputCheck.h"
#include "app/Losses.h"
#include "cli/DisplayText.h"
#include "cli/Interrupt.h"
#include "cli/Version.h"
#include "engine/RescueMap.h"
#include "engine/SourceCheck.h"
#include "platform/DiskRoom.h"
#include "platform/Files.h"
#include "platform/Process.h"
#include "platform/Terminal.h"
#include "platform/Text.h"

namespace tolvane {

namespace {

constexpr uint32_t kPollInterval = 80;  // milliseconds

// What the command does with its file.
std::vector<EJobPhase> ListPhases(const SArguments& arguments) {
  const bool isInspecting = arguments.command == ECommand::Inspect;
  std::vector<EJobPhase> phases{EJobPhase::Opening};
  if (arguments.command == ECommand::Check) return {EJobPhase::Opening, EJobPhase::Check};
  if (!isInspecting) phases.push_back(EJobPhase::Recovery);
  if (arguments.command == ECommand::Repair && !arguments.isDryRun) phases.push_back(EJobPhase::Save);
  if (arguments.command == ECommand::Export) phases.push_back(EJobPhase::Export);
  if (isInspecting || arguments.WithVerdict()) phases.push_back(EJobPhase::Examination);
  return phases;
}

// What needs the rows of the users' tables.
bool ShowsRows(ECommand command) {
  return command != ECommand::Tables && command != ECommand::Queries && command != ECommand::Objects;
}

// The largest file of any format.
constexpr uint64_t kLongestDatabase = uint64_t{1} << 31;

// Empty when all of standard input is in the file, or nobody wants it any more.
std::u16string CopyInput(const std::u16string& path, const CRepairingFileStatus& running) {
  CFileCust file;
  if (!file.Open(path, EFileAccess::Write, EFileShare::None, EFileCreation::CreateNew))
    return u"It cannot be kept: " + SystemMessage(file.GetLastErrorCode()) +
           u". Name another folder with --work-dir.";
  std::vector<uint8_t> bytes(size_t{1} << 16);
  // The other half is for what is recovered; input without an end takes neither.
  const uint64_t most = GetFreeBytes(FolderOf(path)).value_or(2 * kLongestDatabase) / 2;
  try {
    for (uint64_t kept = 0; running.IsRunning();) {
      bool isOk = true;
      const std::optional<size_t> count = ReadInput(bytes, isOk);
      if (!isOk) return u"It cannot be read: " + SystemMessage(LastSystemError()) + u".";
      if (count == size_t{0}) break;
      if (!count) continue;
      kept += *count;
      if (kept > most)
        return u"It is longer than half of the room in the work folder (" + FromUtf8(FormatSize(most)) +
               u"). Name another folder with --work-dir, or save it and name the file.";
      file.Write(std::span(bytes).first(*count));
    }
  } catch (const CFileCustException& error) {
    return u"It cannot be kept: " + error.GetMessageText() + u". Name another folder with --work-dir.";
  }
  return {};
}

}  // namespace

void WriteMessage(std::u16string_view message, EMeaning meaning) {
  constexpr std::string_view kName = "tolvane:";
  constexpr size_t kIndent = 2;
  const size_t width = IsTerminal(EStream::Error) ? GetTerminalWidth(EStream::Error) : 0;
  const std::string text = WrapWords(std::string(kName) + " " + ToDisplay(message), kIndent, width);
  WriteStream(EStream::Error, Paint(std::string(kName), meaning, HasColors(EStream::Error)) +
                                  text.substr(kName.size()) + "\n");
}

EProgressForm ChooseProgressForm(const SArguments& arguments) {
  if (arguments.isQuiet) return EProgressForm::Silent;
  return AcceptsEscapes(EStream::Error) ? EProgressForm::Updating : EProgressForm::Lines;
}

CSession::CSession(const SArguments& arguments)
    : m_arguments(arguments),
      m_sourcePath(arguments.source),
      m_progress(ChooseProgressForm(arguments), arguments.isVerbose ? ELogForm::All : ELogForm::Steps,
                 ListPhases(arguments)),
      m_source(RulesOf(arguments.rules), arguments.start),
      m_template(RulesOf(arguments.rules)) {
  if (m_sourcePath == kStandardInput) m_arguments.source = kStandardInputShown;
  m_job.GetContext().SetThreads(arguments.threads);
  m_job.GetContext().SetWantsRows(ShowsRows(arguments.command));
  m_source.SetJob(m_job.GetContext());
  m_template.SetJob(m_job.GetContext());
  COvRepairFileManager& manager = m_job.GetManager();
  manager.SetRules(arguments.rules);
  manager.SetCorruptedPath(arguments.source);
  manager.SetTemplatePath(arguments.templatePath);
  if (!arguments.templatePath.empty()) manager.GetMode().SetMode(CRepairModeStatus::kAdvance);
}

void CSession::Say(std::u16string_view message) {
  m_progress.Clear();
  WriteMessage(message, EMeaning::Doubt);
  WriteLog(message);
}

void CSession::Complain(std::u16string_view message) {
  m_progress.Clear();
  WriteMessage(message, EMeaning::Bad);
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
  if (m_sourcePath == kStandardInput)
    if (auto failure = KeepInput()) return failure;
  if (auto failure = TakeMap()) return failure;
  const std::optional<SFailure> sourceFailure = CheckSourceFile();
  if (sourceFailure && !IsNoPlainDatabase(m_sourceState)) return sourceFailure;
  if (auto failure = m_report.Reserve()) return failure;
  if (sourceFailure) return sourceFailure;
  if (auto failure = CheckTemplate()) return failure;
  return OpenLogFile();
}

// A copy, since a repair reads a file more than once and not in order.
std::optional<SFailure> CSession::KeepInput() {
  if (IsTerminal(EStream::Input))
    return SFailure{EExitStatus::WrongUsage,
                    u"Standard input is the terminal. Pipe a database into it, or name a file."};
  if (auto failure = MakeWorkFolder()) return failure;
  m_sourcePath = m_runFolder.GetPath() + u"input";
  std::u16string reason, problem;
  RunWatched([&] { reason = CopyInput(m_sourcePath, m_job.GetContext().repairing); }, problem);
  if (IsInterrupted()) return StoppedByUser();
  if (reason.empty() && problem.empty()) {
    m_job.GetManager().SetCorruptedPath(m_sourcePath);
    return std::nullopt;
  }
  return FailedOn(m_arguments.source, reason.empty() ? problem : reason);
}

std::optional<SFailure> CSession::TakeMap() {
  if (m_arguments.mapFile.empty()) return std::nullopt;
  SRescueMap map = LoadRescueMap(m_arguments.mapFile);
  if (!map.problem.empty())
    return WrongUsageOf(m_arguments.mapFile,
                        map.problem + u" Name the map that ddrescue wrote beside the copy.");
  m_source.SetHoles(std::move(map.holes));
  return std::nullopt;
}

std::optional<SFailure> CSession::CheckSourceFile() {
  SSourceVerdict verdict;
  if (auto failure = OpenWatched(m_source, m_sourcePath, verdict)) return failure;
  m_sourceState = verdict.state;
  if (verdict.state != ESourceState::Ok) return RefuseSource(m_arguments.source, verdict);
  const uint64_t length = m_source.GetPages().GetFileLength();
  if (m_arguments.start >= length)
    return WrongUsageOf(m_arguments.source,
                        u"The file ends before --start: it has " + ToDecimal(length) + u" bytes.");
  MentionPlace();
  return std::nullopt;
}

// What is odd about the place of the database in its file.
void CSession::MentionPlace() {
  const SSourceFacts& facts = m_source.GetFacts();
  // The checker, which looks at one place alone, says so itself.
  const bool isImage = m_source.GetPages().GetFileLength() > kLongestDatabase;
  if (isImage && m_arguments.command != ECommand::Check)
    Mention(
        AboutFile(m_arguments.source,
                  u"The file is longer than 2 GiB, which no Access database is" +
                      (m_source.HasPages() ? u". It is read as an image that holds one, at byte " +
                                                 ToDecimal(facts.start) + u"; --start names another place."
                                           : std::u16string(u", and no page of one was found in it."))));
  if (m_arguments.start != 0 && facts.start != m_arguments.start)
    Mention(AboutFile(m_arguments.source, u"No database begins at byte " + ToDecimal(m_arguments.start) +
                                              u"; the pages from byte " + ToDecimal(facts.start) +
                                              u" on are read."));
  constexpr size_t kStartsTold = 8;
  std::u16string places;
  for (size_t i = 0; i < facts.otherStarts.size() && i < kStartsTold; ++i)
    places += u" --start " + ToDecimal(facts.otherStarts[i]);
  if (!places.empty())
    Mention(AboutFile(m_arguments.source, ToDecimal(facts.otherStarts.size()) +
                                              (facts.otherStarts.size() == 1
                                                   ? u" further database is in the file; to read it:"
                                                   : u" further databases are in the file; to read them:") +
                                              places));
}

std::optional<SFailure> CSession::OpenWatched(CSource& source, const std::u16string& path,
                                              SSourceVerdict& verdict) {
  std::u16string problem;
  RunWatched([&] { verdict = OpenSource(source, path); }, problem);
  if (IsInterrupted()) return StoppedByUser();
  if (problem.empty()) return std::nullopt;
  return FailedOn(path, problem);
}

std::optional<SFailure> CSession::CheckTemplate() {
  const std::u16string& path = m_arguments.templatePath;
  if (path.empty()) return std::nullopt;
  SSourceVerdict verdict;
  if (auto failure = OpenWatched(m_template, path, verdict)) return failure;
  if (verdict.state != ESourceState::Ok) {
    SFailure failure = RefuseSource(path, verdict);
    failure.status = EExitStatus::Failed;
    failure.message = AboutFile(path, verdict.reason + u" The template must be a healthy database.");
    return failure;
  }
  if (!IsSameFile(path, m_sourcePath)) return std::nullopt;
  return WrongUsageOf(path,
                      u"The template is the damaged file itself. Name a healthy database of the same "
                      u"structure, or leave --template out.");
}

std::optional<SFailure> CSession::OpenLogFile() {
  const std::u16string& path = m_arguments.logFile;
  if (path.empty()) return std::nullopt;
  if (path == m_arguments.output || IsSameFile(path, m_sourcePath) ||
      IsSameFile(path, m_arguments.templatePath) || IsSameFile(path, m_arguments.output) ||
      (HasDatabaseEnding(path) && FileExists(path)))
    return WrongUsageOf(path, u"The log cannot be written over a database. Name another file with --log.");
  if (!m_logFile.Open(path, EFileAccess::Write, EFileShare::Read, EFileCreation::CreateAlways))
    return FailedOn(path, u"The log file cannot be written: " + SystemMessage(m_logFile.GetLastErrorCode()) +
                              u". Name another one with --log.");
  WriteLog(u"tolvane " + FromAscii(kVersion) + u" " + FromAscii(NameOf(m_arguments.command)) + u" " +
           m_arguments.source);
  return std::nullopt;
}

void CSession::LogLosses() {
  if (!m_logFile.IsOpen()) return;
  ForEachDamage(GetData(), [this](const std::u16string& line) { WriteLog(line); });
  for (const SLossLine& line : ListOmittedObjects(GetData(), SIZE_MAX))
    WriteLog(u"not brought back: " + ToDecimal(line.count) + u" " + line.words + u": " + line.places);
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
  return NoWorkFolder(m_runFolder);
}

std::optional<SFailure> CSession::Recover() {
  if (auto failure = MakeWorkFolder()) return failure;
  m_progress.Start(GetFileLength(m_sourcePath));
  m_logShown = 0;
  m_job.GetManager().SetSources(&m_source, m_template.IsOpen() ? &m_template : &m_source);
  if (!m_job.StartRepair()) return NoThread();
  Watch();
  if (IsInterrupted()) return StoppedByUser();
  const COvRepairFileManager& manager = m_job.GetManager();
  if (!manager.GetData())
    return FailedOn(m_arguments.source,
                    m_job.GetProblem().empty() ? u"The file cannot be read." : m_job.GetProblem());
  LogLosses();
  // Rows for which there is no room are no damage of the file: with more room they come back.
  if (GetData().GetLedger().GetCount(EDamage::SkippedTable) > 0)
    return FailedOn(m_runFolder.GetPath(),
                    u"The recovered rows could not be kept in this folder. Free some space there, or name "
                    u"another folder with --work-dir.");
  return std::nullopt;
}

std::optional<SFailure> CSession::Save(CDaoEngine& engine, const SSaveOptions& options) {
  m_logShown = 0;
  m_savedFormat = options.format;
  if (!m_job.StartSave(engine, options, {})) return NoThread();
  Watch();
  const COvFileSave& save = m_job.GetSave();
  if (save.IsComplete()) return std::nullopt;
  if (IsInterrupted()) return StoppedByUser();
  if (save.GetOutputState() != EOutputState::Ok)
    return RefuseOutput(save.GetOutputPath(), {save.GetOutputState(), save.GetProblem()});
  std::u16string problem = save.GetProblem();
  if (!problem.ends_with(u'.')) problem += u'.';
  const std::u16string_view advice =
      m_arguments.engine == EEngineChoice::Dao
          ? u" No file was made or changed under this name. tolvane engines tells what is installed; without "
            u"--engine the program's own engine writes it."
          : u" Make room, or name other places with -o and --work-dir.";
  return FailedOn(save.GetOutputPath(),
                  u"The new database could not be written: " + problem + std::u16string(advice));
}

bool CSession::RunWatched(const std::function<void()>& work, std::u16string& problem) {
  m_logShown = 0;
  if (m_job.Start(work)) {
    Watch();
    problem = m_job.GetProblem();
  } else {
    problem = NoThread().message;
  }
  return problem.empty();
}

void CSession::Watch() {
  while (!m_job.WaitFor(kPollInterval)) {
    if (IsInterrupted()) m_job.Stop();
    ShowProgress();
  }
  m_job.Join();
  ShowProgress();
  m_progress.Clear();
}

void CSession::ShowProgress() {
  CJobContext& context = m_job.GetContext();
  const std::u16string log = context.log.Get();
  if (log.size() > m_logShown) {
    std::u16string_view lines = log;
    lines.remove_prefix(m_logShown);
    if (lines.starts_with(u"\r\n")) lines.remove_prefix(2);
    m_progress.ShowLog(lines);
    WriteLog(lines);
    m_logShown = log.size();
  }
  m_progress.Update({context.status.GetText(), context.progress.GetPos(), context.progress.GetMax()},
                    GetMonotonicSeconds());
}

}  // namespace tolvane
