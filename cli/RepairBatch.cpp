#include "cli/RepairBatch.h"

#include <algorithm>
#include <array>
#include <map>
#include <set>
#include <utility>
#include <vector>

#include "app/OutputFile.h"
#include "app/TextSearch.h"
#include "cli/DisplayText.h"
#include "cli/Interrupt.h"
#include "cli/JsonOutput.h"
#include "cli/ProgressLine.h"
#include "cli/Session.h"
#include "cli/Summary.h"
#include "cli/TextTable.h"
#include "platform/ChildProcess.h"
#include "platform/Files.h"
#include "platform/Process.h"
#include "platform/Terminal.h"
#include "platform/Text.h"
#include "store/WorkFolder.h"

namespace tolvane {

namespace {

constexpr uint32_t kPollPause = 25;  // milliseconds
constexpr int32_t kWholeBar = 10'000;
constexpr size_t kLossesTold = 2;
constexpr uint64_t kLongestResult = uint64_t{256} << 20;

// What a folder is searched for.
constexpr std::array<std::u16string_view, 8> kEndings{u".mdb", u".accdb", u".mde", u".accde",
                                                      u".mda", u".accda", u".mdw", u".accdr"};
// Worse ones behind.
constexpr std::array<EExitStatus, 6> kBySeverity{EExitStatus::Done,       EExitStatus::Incomplete,
                                                 EExitStatus::Nothing,    EExitStatus::Failed,
                                                 EExitStatus::WrongUsage, EExitStatus::Stopped};

struct SBatchFile {
  std::u16string source;
  std::u16string output;  // empty: none is written
  uint64_t bytes = 0;
  bool isStarted = false;
  bool isEnded = false;
  EExitStatus status = EExitStatus::Done;
  Json result;       // what the run said of itself; null when it said nothing
  std::string told;  // the same in a few words
  CChildProcess run;
};

bool IsDatabaseName(std::u16string_view name) {
  const std::u16string folded = FoldCase(name);
  return std::ranges::any_of(kEndings,
                             [&](std::u16string_view ending) { return folded.ends_with(FoldCase(ending)); });
}

std::u16string InFolder(const std::u16string& folder, std::u16string_view name) {
  const bool isClosed = folder.ends_with(kPathSeparator) || folder.ends_with(u'/');
  return folder + (isClosed ? std::u16string() : std::u16string(1, kPathSeparator)) + std::u16string(name);
}

// What earlier repairs have left beside their sources is no source.
// False: the folder cannot be read.
bool ListDatabases(const std::u16string& folder, std::vector<std::u16string>& paths) {
  std::vector<std::u16string> names;
  const bool isRead = ReadFolder(folder, names);
  for (const std::u16string& name : names)
    if (IsDatabaseName(name) && !name.starts_with(kOutputPrefix)) paths.push_back(InFolder(folder, name));
  return isRead;
}

void EndFile(SBatchFile& file, EExitStatus status, std::string told) {
  file.isEnded = true;
  file.status = status;
  file.told = std::move(told);
}

std::string ReadText(const std::u16string& path) {
  CFileCust file;
  if (!file.Open(path, EFileAccess::Read, EFileShare::ReadWrite, EFileCreation::OpenExisting)) return {};
  std::string text(static_cast<size_t>(std::min(file.GetLength(), kLongestResult)), '\0');
  text.resize(file.ReadAt(0, {reinterpret_cast<uint8_t*>(text.data()), text.size()}));
  return text;
}

// "6 tables, 1365 records; 278 rows missing, ..."
std::string TellResult(const Json& result) {
  if (const std::string error = result.TextAt("error"); !error.empty()) return error;
  std::string told;
  if (const Json* const saving = result.Find("saving"); saving != nullptr && !saving->IsNull())
    told =
        Counted(saving->NumberAt("tables"), "table") + ", " + Counted(saving->NumberAt("records"), "record");
  const Json* const damage = result.Find("damage");
  if (damage == nullptr || damage->Items().empty()) return told;
  const auto items = damage->Items();
  for (size_t i = 0; i < items.size() && i < kLossesTold; ++i)
    told += (told.empty() ? "" : "; ") + std::to_string(items[i].NumberAt("count")) + " " +
            items[i].TextAt("meaning");
  if (items.size() > kLossesTold) told += "; and more";
  return told;
}

class CRepairBatch {
 public:
  explicit CRepairBatch(const SArguments& arguments)
      : m_arguments(arguments), m_progress(ChooseProgressForm(arguments), ELogForm::Steps) {}

  std::optional<SFailure> Prepare();
  EExitStatus Run();

 private:
  void AddFiles();
  std::optional<SFailure> CheckOutputs() const;
  void Start(SBatchFile& file);
  void Finish(SBatchFile& file, int status);
  void Tell(const SBatchFile& file);
  void ShowProgress();
  void StopAll();
  EExitStatus Print();
  [[nodiscard]] std::u16string PathOf(const SBatchFile& file, std::u16string_view kind) const;

  const SArguments& m_arguments;
  CProgressLine m_progress;
  CRunFolder m_folder;
  std::vector<SBatchFile> m_files;
  bool m_isStopped = false;
};

void CRepairBatch::AddFiles() {
  std::set<std::u16string> known;
  const auto add = [&](const std::u16string& path) -> SBatchFile* {
    if (!known.insert(GetAbsolutePath(path)).second) return nullptr;
    SBatchFile& file = m_files.emplace_back();
    file.source = path;
    file.bytes = GetFileLength(path);
    if (!m_arguments.isDryRun) file.output = OutputPathFor(path, m_arguments);
    return &file;
  };
  for (const std::u16string& source : m_arguments.sources) {
    if (GetFileKind(source) != EFileKind::Folder) {
      add(source);
      continue;
    }
    std::vector<std::u16string> found;
    const bool isRead = ListDatabases(source, found);
    const std::string reason =
        isRead ? "There is no database in this folder."
               : "The folder cannot be read: " + ToUtf8(SystemMessage(LastSystemError())) + ".";
    for (const std::u16string& path : found) add(path);
    if (SBatchFile* const file = found.empty() || !isRead ? add(source) : nullptr)
      EndFile(*file, EExitStatus::Failed, reason);
  }
}

std::optional<SFailure> CRepairBatch::CheckOutputs() const {
  std::map<std::u16string, const SBatchFile*> taken;
  for (const SBatchFile& file : m_files) {
    if (file.output.empty()) continue;
    const auto [other, isNew] = taken.emplace(FoldCase(file.output), &file);
    if (isNew) continue;
    return WrongUsageOf(file.output, u"The new databases of " + other->second->source + u" and " +
                                         file.source +
                                         u" would both get this name. Repair them in two runs.");
  }
  return std::nullopt;
}

std::optional<SFailure> CRepairBatch::Prepare() {
  AddFiles();
  if (auto failure = CheckOutputs()) return failure;
  if (!m_arguments.reportFile.empty())
    return WrongUsageOf(m_arguments.reportFile,
                        u"A report tells of one file; name one SOURCE, not a folder.");
  if (auto failure = MakeFolder(m_arguments.outputFolder, u"--to-dir")) return failure;
  CRunFolder::RemoveStale(m_arguments.workFolder);
  if (m_folder.Create(m_arguments.workFolder)) return std::nullopt;
  return NoWorkFolder(m_folder);
}

std::u16string CRepairBatch::PathOf(const SBatchFile& file, std::u16string_view kind) const {
  return m_folder.GetPath() + std::u16string(kind) + u"-" +
         ToDecimal(static_cast<uint64_t>(&file - m_files.data()));
}

void CRepairBatch::Start(SBatchFile& file) {
  std::vector<std::u16string> words{u"repair", u"--json", u"--quiet"};
  // Nobody reads the rest.
  if (!m_arguments.isJson || m_arguments.isBrief) words.emplace_back(u"--brief");
  words.insert(words.end(), m_arguments.shared.begin(), m_arguments.shared.end());
  if (!file.output.empty()) words.insert(words.end(), {u"--output", file.output});
  words.insert(words.end(), {u"--", file.source});
  file.isStarted = true;
  if (!file.run.Start(GetProgramPath(), words, PathOf(file, u"result"), PathOf(file, u"messages")))
    Finish(file, CChildProcess::kCrashed);
}

void CRepairBatch::Finish(SBatchFile& file, int status) {
  if (std::optional<Json> result = Json::Parse(ReadText(PathOf(file, u"result"))))
    file.result = std::move(*result);
  const auto known =
      std::ranges::find(kExitStatuses, static_cast<EExitStatus>(status), &SExitStatusWords::status);
  if (known == kExitStatuses.end()) {
    EndFile(file, EExitStatus::Failed, "The repair ended unexpectedly; nothing was written.");
  } else {
    std::string told = TellResult(file.result);
    // Messages begin with the file's name, which stands in front of them already.
    if (const std::string name = ToUtf8(file.source) + ": "; told.starts_with(name))
      told.erase(0, name.size());
    if (told.empty() && file.result.IsNull()) told = ToDisplay(FromUtf8(ReadText(PathOf(file, u"messages"))));
    EndFile(file, known->status, std::move(told));
  }
  RemoveFile(PathOf(file, u"result"));
  RemoveFile(PathOf(file, u"messages"));
  Tell(file);
}

const SExitStatusWords& StatusWords(EExitStatus status) {
  return *std::ranges::find(kExitStatuses, status, &SExitStatusWords::status);
}

void CRepairBatch::Tell(const SBatchFile& file) {
  if (m_arguments.isQuiet) return;
  m_progress.Clear();
  constexpr size_t kLongestName = 10;  // "incomplete"
  std::string name = StatusWords(file.status).name;
  const std::string gap(kLongestName - std::min(name.size(), kLongestName) + 2, ' ');
  const size_t width = IsTerminal(EStream::Error) ? GetTerminalWidth(EStream::Error) : 0;
  const size_t indent = name.size() + gap.size();
  WriteStream(
      EStream::Error,
      Paint(name, MeaningOf(file.status), HasColors(EStream::Error)) + gap +
          WrapWords(ToDisplay(file.source) + (file.told.empty() ? "" : ": ") + file.told, indent, width) +
          "\n");
}

void CRepairBatch::ShowProgress() {
  uint64_t all = 0, done = 0;
  size_t ended = 0;
  for (const SBatchFile& file : m_files) {
    // A file of no length is work, too.
    all += file.bytes + 1;
    if (!file.isEnded) continue;
    done += file.bytes + 1;
    ++ended;
  }
  const auto position =
      static_cast<int32_t>(static_cast<double>(done) / static_cast<double>(all) * kWholeBar);
  m_progress.Update(
      {u"Repairing files: " + ToDecimal(ended) + u" of " + ToDecimal(m_files.size()), position, kWholeBar},
      GetMonotonicSeconds());
}

void CRepairBatch::StopAll() {
  m_isStopped = true;
  for (SBatchFile& file : m_files) {
    if (file.isEnded) continue;
    if (file.isStarted)
      file.run.Stop();
    else
      EndFile(file, EExitStatus::Stopped, "Not begun.");
  }
}

EExitStatus CRepairBatch::Run() {
  for (const SBatchFile& file : m_files)
    if (file.isEnded) Tell(file);
  for (;;) {
    if (IsInterrupted() && !m_isStopped) StopAll();
    size_t running = 0;
    for (SBatchFile& file : m_files) {
      if (file.isEnded) continue;
      if (!file.isStarted && running < m_arguments.jobs) Start(file);
      if (!file.isStarted || file.isEnded) continue;
      if (const std::optional<int> status = file.run.Poll())
        Finish(file, *status);
      else
        ++running;
    }
    ShowProgress();
    if (std::ranges::all_of(m_files, &SBatchFile::isEnded)) break;
    if (running > 0) SleepMilliseconds(kPollPause);
  }
  m_progress.Clear();
  return Print();
}

EExitStatus CRepairBatch::Print() {
  size_t worst = 0;
  std::map<size_t, size_t> counts;  // by severity
  for (const SBatchFile& file : m_files) {
    const auto severity =
        static_cast<size_t>(std::ranges::find(kBySeverity, file.status) - kBySeverity.begin());
    worst = std::max(worst, severity);
    ++counts[severity];
  }
  if (m_arguments.isJson) {
    Json result = MakeResult(m_arguments, kBySeverity[worst]);
    result["results"] = Json::array();
    for (SBatchFile& file : m_files) {
      if (file.result.IsNull()) {
        file.result = MakeResult(m_arguments, file.status);
        file.result["error"] = file.told;
      }
      Json described = {{"path", ToUtf8(file.source)}, {"result", std::move(file.result)}};
      result["results"].push_back(std::move(described));
    }
    return PrintJson(result) ? kBySeverity[worst] : EExitStatus::Failed;
  }
  const SPageStyle style = OutputStyle();
  CTextTable drawn{
      {"Status"}, {"File"}, {"Tables", EAlign::Right}, {"Records", EAlign::Right}, {"New database"}};
  for (const SBatchFile& file : m_files) {
    const Json* const saving = file.result.Find("saving");
    const bool isSaved = saving != nullptr && !saving->IsNull();
    const auto number = [&](const char* name) {
      return isSaved ? std::to_string(saving->NumberAt(name)) : "";
    };
    drawn.AddRow({StatusWords(file.status).name, ToDisplay(file.source), number("tables"), number("records"),
                  isSaved ? ToDisplay(file.output) : "-"});
  }
  std::string text = drawn.Draw(style.width) + Counted(m_files.size(), "file") + ":";
  const char* between = " ";
  for (const auto& [severity, count] : counts) {
    const EExitStatus status = kBySeverity[severity];
    text += between + Paint(std::to_string(count) + " " + StatusWords(status).name, MeaningOf(status),
                            style.hasEscapes);
    between = ", ";
  }
  return WriteStream(EStream::Output, text + "\n") ? kBySeverity[worst] : EExitStatus::Failed;
}

// Of files in a format that was asked for; empty for the source's own.
std::u16string_view EndingOf(EOutputFormat format) {
  if (format == EOutputFormat::ByRules) return {};
  return format == EOutputFormat::Ace ? u".accdb" : u".mdb";
}

}  // namespace

std::u16string OutputPathFor(const std::u16string& source, const SArguments& arguments) {
  if (!arguments.output.empty()) return arguments.output;
  const std::u16string path = DefaultOutputPath(source, EndingOf(arguments.outputFormat));
  if (arguments.outputFolder.empty()) return path;
  return InFolder(arguments.outputFolder, FileNameOf(path).substr(kOutputPrefix.size()));
}

bool IsBatch(const SArguments& arguments) {
  if (arguments.command != ECommand::Repair) return false;
  return arguments.sources.size() > 1 || GetFileKind(arguments.source) == EFileKind::Folder;
}

EExitStatus RunRepairBatch(const SArguments& arguments) {
  CRepairBatch batch(arguments);
  if (const auto failure = batch.Prepare()) {
    WriteMessage(failure->message, EMeaning::Bad);
    if (arguments.isJson) PrintJson(MakeFailure(arguments, *failure));
    return failure->status;
  }
  return batch.Run();
}

}  // namespace tolvane
