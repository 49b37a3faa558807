// export: the rows of one table on standard output, or of all tables as one file each.

#include "app/FileExport.h"
#include "cli/Commands.h"
#include "cli/DisplayText.h"
#include "cli/ExportWatch.h"
#include "cli/Interrupt.h"
#include "cli/JsonOutput.h"
#include "cli/Outcome.h"
#include "cli/Summary.h"
#include "cli/TextTable.h"
#include "platform/Files.h"
#include "platform/Text.h"

namespace tolvane {

namespace {

// Before anything is written.
std::optional<SFailure> CheckFiles(const std::vector<SExportedFile>& files, const CSession& session) {
  const SArguments& arguments = session.GetArguments();
  const std::u16string advice =
      arguments.output.empty() ? u"name another folder with --to." : u"name another file with -o.";
  for (const SExportedFile& file : files) {
    if (IsSameFile(file.path, session.GetSourcePath()) || IsSameFile(file.path, arguments.templatePath))
      return WrongUsageOf(file.path, u"A database is never written over.");
    const bool hasObjects = arguments.exporting.ole == EOleForm::Files;
    const std::u16string& taken = FileExists(file.path) ? file.path : file.objectFolder;
    if (!arguments.mayOverwrite && (FileExists(file.path) || (hasObjects && FileExists(file.objectFolder))))
      return FailedOn(taken, (taken == file.path ? u"The file" : u"The folder") +
                                 std::u16string(u" exists already. Replace it with --overwrite, or ") +
                                 advice);
  }
  return std::nullopt;
}

SFailure NotWritten(const std::u16string& path, const std::u16string& problem) {
  return {EExitStatus::Failed,
          path.empty() ? problem : AboutFile(path, u"The file cannot be written: " + problem)};
}

// Tells of rows and objects that were recovered but are not in the export.
bool MentionLosses(CSession& session, const CAccessTable& table, uint64_t rows, uint64_t objects) {
  const auto tell = [&](uint64_t count, const std::string& noun) {
    if (count > 0)
      session.Say(u"Table " + table.name + u": " + FromUtf8(Counted(count, noun)) +
                  u" could not be read back from the temporary files.");
    return count > 0;
  };
  const bool lacksRows = tell(rows, "row");
  return tell(objects, "OLE object") || lacksRows;
}

std::optional<SFailure> WriteFile(CSession& session, const SFileExportTask& task, SExportedFile& file) {
  const SFileExportEnd ended = WriteExportedFile(session.GetData(), task, file,
                                                 session.GetJob().GetContext().preview, WatchOf(session));
  if (ended.verdict.state != EOutputState::Ok) return RefuseOutput(ended.path, ended.verdict);
  if (ended.end == EExportEnd::Stopped)
    return SFailure{EExitStatus::Stopped, u"Stopped. The files that were complete stay."};
  if (ended.end == EExportEnd::NotWritten) return NotWritten(ended.path, ended.problem);
  return std::nullopt;
}

SCommandEnd PrintFiles(CSession& session, const std::vector<SExportedFile>& files, EExitStatus status) {
  if (session.GetArguments().isJson) {
    const auto describe = [](const SExportedFile& file) {
      return Json{{"table", ToUtf8(file.table->name)}, {"path", ToUtf8(file.path)}, {"rows", file.rows}};
    };
    MentionDamage(session);
    return EndRecovery(session, Json{{"files", Json::list(files, describe)}}, status);
  }
  CTextTable drawn{{"Table"}, {"Rows", EAlign::Right}, {"File"}};
  for (const SExportedFile& file : files)
    drawn.AddRow({ToDisplay(file.table->name), std::to_string(file.rows), ToDisplay(file.path)});
  return EndRecovery(session, drawn.Draw(OutputStyle().width), status);
}

SCommandEnd ExportToFiles(CSession& session, const SFileExportTask& task, std::vector<SExportedFile> files) {
  const SArguments& arguments = session.GetArguments();
  if (auto failure = CheckFiles(files, session)) return *failure;
  if (auto failure = MakeFolder(arguments.folder, u"--to")) return *failure;
  std::optional<SFailure> ended;
  const auto write = [&] {
    BeginExport(session, CountRows(files));
    for (auto file = files.begin(); file != files.end() && !ended; ++file)
      ended = WriteFile(session, task, *file);
  };
  if (auto failure = WatchExport(session, true, write)) return *failure;
  bool isIncomplete = false;
  for (const SExportedFile& file : files)
    if (MentionLosses(session, *file.table, file.lostRows, file.lostObjects)) isIncomplete = true;
  if (ended) return *ended;
  const EExitStatus status =
      isIncomplete ? EExitStatus::Incomplete : DecideStatus(session.GetData(), nullptr);
  return PrintFiles(session, files, status);
}

SCommandEnd ExportToOutput(CSession& session, const CAccessTable& table) {
  CExportSink sink;
  const auto exported = MakeExportedTable(session.GetData(), table, session.GetArguments().exporting,
                                          session.GetJob().GetContext().preview, WatchOf(session));
  EExportEnd end = EExportEnd::Done;
  const auto write = [&] {
    BeginExport(session, table.header.rowCount);
    end = exported->Write(sink);
  };
  if (auto failure = WatchExport(session, false, write)) return *failure;
  switch (end) {
    case EExportEnd::Stopped:
      return SFailure{EExitStatus::Stopped, u"Stopped. The output is not complete."};
    case EExportEnd::NotWritten:
      return NotWritten({}, exported->GetProblem() + u" The output is not complete.");
    case EExportEnd::Done:
      break;
  }
  const bool isIncomplete =
      MentionLosses(session, table, exported->GetLostRows(), exported->GetLostObjects());
  MentionDamage(session);
  return isIncomplete ? EExitStatus::Incomplete : DecideStatus(session.GetData(), nullptr);
}

}  // namespace

SCommandEnd RunExport(CSession& session) {
  if (auto failure = RecoverSomething(session)) return *failure;
  const SArguments& arguments = session.GetArguments();
  session.GetJob().GetContext().preview.SetAbort(IsInterrupted() ? 1 : 0);  // multi-value cells obey it
  const CAccessTable* const only =
      arguments.table.empty() ? nullptr : FindTable(session.GetData(), arguments.table);
  if (only == nullptr && !arguments.table.empty()) return NoSuchTable(arguments);
  const SFileExportTask task{.options = arguments.exporting,
                             .only = only,
                             .withSystemTables = arguments.withSystemTables,
                             .file = arguments.output,
                             .folder = arguments.folder,
                             .source = arguments.source,
                             .templatePath = arguments.templatePath,
                             .mayOverwrite = arguments.mayOverwrite};
  if (IsOneFile(task.options.format)) return ExportToDatabase(session, task);
  std::vector<SExportedFile> files = ListExportedFiles(session.GetData(), task);
  if (files.empty() && only != nullptr) return NoSuchTable(arguments);
  if (arguments.folder.empty() && arguments.output.empty())
    return ExportToOutput(session, *files.front().table);
  return ExportToFiles(session, task, std::move(files));
}

}  // namespace tolvane
