#include "app/ResultOutput.h"

#include <vector>

#include "app/Losses.h"
#include "app/report/HtmlReport.h"
#include "app/report/ReportFile.h"
#include "engine/SourceCheck.h"
#include "export/SafeFileName.h"
#include "platform/FileCust.h"
#include "platform/Files.h"
#include "platform/Text.h"
#include "writer/AttachmentSource.h"
#include "writer/SideFileSource.h"

namespace tolvane {

namespace {

constexpr size_t kPiece = size_t{1} << 16;
constexpr std::u16string_view kStoppedText = u"Stopped. Files that were complete stay.";

std::u16string AboutPath(std::u16string_view path, std::u16string_view words) {
  return std::u16string(path) + u": " + std::u16string(words);
}

std::u16string CountedOf(uint64_t count, std::u16string_view noun) {
  return Counted(count, noun, ToGroupedDecimal);
}

// A line for each table that lacks something.
class CShortages {
 public:
  void Add(std::u16string_view table, uint64_t count, std::u16string_view noun, std::u16string_view what) {
    if (count > 0)
      m_text += u"\n" + std::u16string(table) + u": " + CountedOf(count, noun) + u" " + std::u16string(what);
  }
  [[nodiscard]] const std::u16string& Get() const { return m_text; }

 private:
  std::u16string m_text;
};

}  // namespace

CResultOutput::CResultOutput(CDialogs& dialogs, CMainFrameWindow& frame, std::string_view version,
                             std::function<void()> onChange)
    : m_dialogs(dialogs), m_frame(frame), m_version(version), m_onChange(std::move(onChange)) {}

// --- the thread ---

void CResultOutput::Begin(std::u16string_view notice, Work work) {
  m_context.repairing.SetRunning(true);
  m_context.preview.SetAbort(0);
  m_context.status.SetText(std::u16string(notice));
  m_end = {};
  const auto run = [this, work = std::move(work)] {
    SEnd end;
    const std::u16string problem = RunGuarded([&] { end = work(); });
    m_end = problem.empty() ? std::move(end) : SEnd{problem, true};
    m_context.repairing.SetRunning(false);
  };
  if (!m_thread.Start(run)) {
    m_dialogs.ShowMessage(u"The system has no room for another thread.", EMessageIcon::Warning);
    return;
  }
  m_isWorking = true;
  m_onChange();
  m_frame.SetTimer(kOutputTimer, kOutputTimerPeriod);
  m_frame.ShowNotice(notice);
}

void CResultOutput::OnTimer() {
  if (!m_isWorking) return;
  if (m_thread.IsWorking()) {
    m_frame.ShowNotice(m_context.status.GetText() + u" - Esc stops it.");
    return;
  }
  Abort();
  m_onChange();
  m_frame.ShowNotice(m_end.isWarning ? std::u16string() : m_end.text);
  if (m_end.isWarning) m_dialogs.ShowMessage(m_end.text, EMessageIcon::Warning);
}

void CResultOutput::Abort() {
  if (!m_isWorking) return;
  m_context.Stop();
  m_thread.Join();
  m_isWorking = false;
  m_frame.KillTimer(kOutputTimer);
}

// --- exports ---

bool CResultOutput::MayReplace(const COvRepairFileManager& manager, const SFileExportTask& task,
                               const SExportChoice& choice) {
  std::vector<std::u16string> wanted{task.file};
  if (task.file.empty()) {
    wanted.clear();
    for (const SExportedFile& file : ListExportedFiles(*manager.GetData(), task)) wanted.push_back(file.path);
  }
  std::erase_if(wanted, [](const std::u16string& path) { return !FileExists(path); });
  if (wanted.empty() || choice.path == choice.replaced) return true;
  return m_dialogs.AskYesNo(wanted.size() == 1 ? wanted.front() + u" exists already. Replace it?"
                                               : CountedOf(wanted.size(), u"file") +
                                                     u" of the same names exist already in " + choice.path +
                                                     u". Replace them?");
}

void CResultOutput::ExportTables(const COvRepairFileManager& manager, const SExportChoice& choice) {
  const CAccessData* const data = manager.GetData();
  if (m_isWorking || !data) return;
  SFileExportTask task{.options = choice.GetForm().options,
                       .only = choice.table.empty() ? nullptr : data->GetTables().FindTable(choice.table),
                       .source = manager.GetCorruptedPath(),
                       .templatePath = manager.GetMode().IsAdvance() ? manager.GetTemplatePath() : u"",
                       .mayOverwrite = true};
  if (!choice.table.empty() && !task.only) return;
  (choice.IsFolder() ? task.folder : task.file) = choice.path;
  if (!MayReplace(manager, task, choice)) return;
  // Typed values are kept by the exact rules only.
  if (data->GetRules().recordsHoldTexts) task.options.ole = EOleForm::Hex;
  Begin(u"Exporting", [this, data, task] {
    return IsOneFile(task.options.format) ? ExportDatabase(*data, task) : ExportFiles(*data, task);
  });
}

CResultOutput::SEnd CResultOutput::ExportFiles(const CAccessData& data, const SFileExportTask& task) {
  std::vector<SExportedFile> files = ListExportedFiles(data, task);
  if (!task.folder.empty() && GetFileKind(task.folder) == EFileKind::Missing && !CreateFolder(task.folder))
    return {AboutPath(task.folder, u"The folder cannot be made: " + SystemMessage(LastSystemError())), true};
  CShortages shortages;
  for (size_t i = 0; i < files.size(); ++i) {
    SExportedFile& file = files[i];
    m_context.status.SetText(u"Exporting " + file.table->name + u", table " + ToGroupedDecimal(i + 1) +
                             u" of " + ToGroupedDecimal(files.size()));
    const SFileExportEnd ended =
        WriteExportedFile(data, task, file, m_context.preview, {.isStopped = [this] { return IsStopped(); }});
    if (ended.verdict.state != EOutputState::Ok) return {AboutPath(ended.path, ended.verdict.reason), true};
    if (ended.end == EExportEnd::Stopped) return {std::u16string(kStoppedText)};
    if (ended.end == EExportEnd::NotWritten)
      return {AboutPath(ended.path, u"The file cannot be written: " + ended.problem), true};
    shortages.Add(file.table->name, file.lostRows, u"row", u"could not be read back.");
    shortages.Add(file.table->name, file.lostObjects, u"OLE object", u"could not be read back.");
  }
  const std::u16string where = task.file.empty() ? task.folder : task.file;
  if (shortages.Get().empty()) return {CountedOf(files.size(), u"table") + u" exported to " + where};
  return {AboutPath(where, u"The export is done, but not whole:") + shortages.Get(), true};
}

CResultOutput::SEnd CResultOutput::ExportDatabase(const CAccessData& data, const SFileExportTask& task) {
  const SDatabaseExport exported =
      WriteDatabaseFile(data, task, {.isStopped = [this] { return IsStopped(); }});
  if (!exported.refusal.empty()) return {exported.refusal, true};
  if (exported.verdict.state != EOutputState::Ok)
    return {AboutPath(task.file, exported.verdict.reason), true};
  if (exported.end == EExportEnd::Stopped) return {u"Stopped. Nothing was exported."};
  if (exported.end == EExportEnd::NotWritten)
    return {AboutPath(task.file, u"The file cannot be written: " + exported.problem), true};
  CShortages shortages;
  for (size_t i = 0; i < exported.counts.size(); ++i) {
    const std::u16string table = FromUtf8(exported.schema.tables[i].name);
    const SSqlCount& count = exported.counts[i];
    shortages.Add(table, count.lostRows, u"row", u"could not be brought over.");
    shortages.Add(table, count.lostValues, u"value", u"that the database does not take: NULL stands there.");
    shortages.Add(table, count.changedValues, u"value", u"changed: digits, characters or bytes are lost.");
  }
  std::u16string lines = shortages.Get();
  for (const std::u16string& remark : exported.schema.remarks) lines += u"\n" + remark;
  if (lines.empty() && exported.areKeysWhole)
    return {CountedOf(exported.counts.size(), u"table") + u" exported to " + task.file};
  return {AboutPath(task.file, u"The export is done. What it lacks:") +
              (lines.empty() ? u"\nKeys that the rows break are left out." : lines),
          true};
}

// --- the report ---

void CResultOutput::SaveReport(const CJob& job) {
  const COvRepairFileManager& manager = job.GetManager();
  if (m_isWorking || !manager.GetData()) return;
  const std::u16string source = manager.GetCorruptedPath();
  const std::u16string path = m_dialogs.ChooseSaveFile(
      {.title = u"Save report",
       .filter = u"Web pages (*.html)|*.html||",
       .defaultExtension = u"html",
       .defaultName = std::u16string(kOutputPrefix) + std::u16string(FileNameOf(source)) + u" report.html",
       .folder = std::u16string(FolderOf(source))});
  if (!path.empty())
    Begin(u"Examining the file for the report", [this, &job, path] { return WriteReport(job, path); });
}

CResultOutput::SEnd CResultOutput::WriteReport(const CJob& job, const std::u16string& path) {
  const COvRepairFileManager& manager = job.GetManager();
  const CAccessData& data = *manager.GetData();
  const std::u16string templatePath = manager.GetMode().IsAdvance() ? manager.GetTemplatePath() : u"";
  CReportFile file;
  const SOutputVerdict reserved = file.Reserve(
      {.path = path, .source = manager.GetCorruptedPath(), .templatePath = templatePath, .mayReplace = true});
  if (reserved.state != EOutputState::Ok) return {AboutPath(path, reserved.reason), true};
  CSource source(data.GetRules());
  const SSourceVerdict opened = OpenSource(source, manager.GetCorruptedPath());
  SExamination examination;
  examination.pagesWithLosses = FindPagesWithLosses(data);
  if (opened.state == ESourceState::Ok) ExamineFile(source, m_context, examination);
  SReportSources sources;
  sources.source = &source;
  sources.isEncrypted = opened.state == ESourceState::Encrypted;
  sources.isNoDatabase = opened.state == ESourceState::TooShort || opened.state == ESourceState::Empty ||
                         opened.state == ESourceState::Foreign;
  sources.examination = opened.state == ESourceState::Ok ? &examination : nullptr;
  sources.data = &data;
  const COvFileSave& save = job.GetSave();
  if (save.IsComplete()) {
    sources.saved = &save.GetSummary();
    sources.outputPath = save.GetOutputPath();
  }
  const std::string page = PrintHtmlReport(
      CollectReport({.command = "repair",
                     .version = m_version,
                     .source = manager.GetCorruptedPath(),
                     .templatePath = templatePath,
                     .rules = data.GetRules().recordsHoldTexts ? ERules::Standard : ERules::Exact},
                    sources));
  if (IsStopped()) return {u"Stopped. The report was not saved."};
  const SOutputVerdict written = file.Write(page, sources.outputPath);
  if (written.state != EOutputState::Ok) return {AboutPath(path, written.reason), true};
  return {u"The report was saved: " + path};
}

// --- values ---

void CResultOutput::SaveObjects(std::vector<SSavedObject> objects) {
  if (m_isWorking || objects.empty()) return;
  std::vector<std::u16string> paths;
  if (objects.size() == 1) {
    paths.push_back(m_dialogs.ChooseSaveFile({.title = u"Save value",
                                              .filter = u"All files (*.*)|*.*||",
                                              .defaultName = MakeSafeFileName(objects.front().name)}));
  } else {
    const std::u16string folder = m_dialogs.ChooseFolder(
        {.title = u"Save the attached files into the folder", .filter = {}, .defaultName = {}});
    CFileNames names;
    for (const SSavedObject& object : objects)
      paths.push_back(folder.empty() ? folder : folder + kPathSeparator + names.Add(object.name));
  }
  if (paths.front().empty()) return;
  Begin(u"Saving the value", [this, objects = std::move(objects), paths = std::move(paths)] {
    return WriteObjects(objects, paths);
  });
}

CResultOutput::SEnd CResultOutput::WriteObjects(const std::vector<SSavedObject>& objects,
                                                const std::vector<std::u16string>& paths) {
  for (size_t i = 0; i < objects.size(); ++i) {
    CSideFileSource object;
    CAttachmentSource attachment;
    const bool isOpen =
        objects[i].isAttachment ? attachment.Open(objects[i].place) : object.Open(objects[i].place);
    if (!isOpen) return {objects[i].name + u": This object could not be read.", true};
    COutputFile output;
    // The dialog has asked about the one file; of several none is replaced.
    const SOutputVerdict verdict = output.Reserve({.path = paths[i], .mayReplace = objects.size() == 1});
    if (verdict.state != EOutputState::Ok) return {AboutPath(paths[i], verdict.reason), true};
    CDaoByteSource& bytes = objects[i].isAttachment ? static_cast<CDaoByteSource&>(attachment) : object;
    const std::u16string problem = WriteObject(bytes, output);
    if (IsStopped()) return {u"Stopped. Nothing was saved."};
    if (!problem.empty()) return {AboutPath(paths[i], problem), true};
    if (objects[i].isAttachment && attachment.IsDamaged())
      return {AboutPath(paths[i], u"This file is damaged: what is left of it was saved."), true};
  }
  return {u"The value was saved: " + paths.front()};
}

std::u16string CResultOutput::WriteObject(CDaoByteSource& bytes, COutputFile& output) {
  try {
    CFileCust file;
    if (!file.Open(output.GetPartialPath(), EFileAccess::Write, EFileShare::None,
                   EFileCreation::OpenExisting))
      return SystemMessage(file.GetLastErrorCode());
    std::vector<uint8_t> piece(kPiece);
    for (size_t size = kPiece; size > 0 && !IsStopped();) {
      if (!bytes.Read(piece, size)) return u"This object could not be read to its end; nothing was saved.";
      file.Write({piece.data(), size});
    }
    file.Close();
  } catch (const CFileCustException& error) {
    return error.GetMessageText();
  }
  return IsStopped() ? std::u16string() : output.Complete().reason;
}

}  // namespace tolvane
