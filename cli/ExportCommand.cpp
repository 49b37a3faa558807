// export: the rows of one table on standard output, or of all tables as one file each.

#include "app/OutputFile.h"
#include "app/OutputFolder.h"
#include "cli/Commands.h"
#include "cli/DisplayText.h"
#include "cli/Interrupt.h"
#include "cli/JsonOutput.h"
#include "cli/Outcome.h"
#include "cli/Summary.h"
#include "cli/TextTable.h"
#include "export/ExportedTable.h"
#include "export/SafeFileName.h"
#include "platform/Files.h"
#include "platform/Text.h"

namespace tolvane {

namespace {

struct SExportFile {
  const CAccessTable* table;
  std::u16string path;
  std::u16string objectFolder;  // beside it, where objects are files of their own
  uint64_t rows = 0;
};

// "FOLDER/NAME_files" beside "FOLDER/NAME.csv".
std::u16string ObjectFolderOf(const std::u16string& path) {
  const std::u16string_view extension = ExtensionOf(path);
  return path.substr(0, path.size() - (extension.empty() ? 0 : extension.size() + 1)) + u"_files";
}

// Tables of the export, in list order.
std::vector<SExportFile> ChooseTables(const CAccessData& data, const SArguments& arguments) {
  std::vector<SExportFile> chosen;
  CFileNames names;
  const bool isCsv = arguments.exporting.format == EExportFormat::Csv;
  const CAccessTable* only = arguments.table.empty() ? nullptr : FindTable(data, arguments.table);
  for (const auto& table : data.GetTables()) {
    const bool isWanted =
        arguments.table.empty() ? arguments.withSystemTables || !IsSystemTable(*table) : table.get() == only;
    if (!isWanted || !HasContent(*table)) continue;
    SExportFile& file = chosen.emplace_back();
    file.table = table.get();
    const std::u16string name = names.Add(table->name);
    file.objectFolder = arguments.folder + kPathSeparator + name + u"_files";
    file.path = arguments.folder + kPathSeparator + name + (isCsv ? u".csv" : u".jsonl");
    if (arguments.output.empty()) continue;
    file.path = arguments.output;
    file.objectFolder = ObjectFolderOf(arguments.output);
  }
  return chosen;
}

// Before anything is written.
std::optional<SFailure> CheckFiles(const std::vector<SExportFile>& files, const CSession& session) {
  const SArguments& arguments = session.GetArguments();
  const std::u16string advice =
      arguments.output.empty() ? u"name another folder with --to." : u"name another file with -o.";
  for (const SExportFile& file : files) {
    if (IsSameFile(file.path, session.GetSourcePath()) || IsSameFile(file.path, arguments.templatePath))
      return SFailure{EExitStatus::WrongUsage, AboutFile(file.path, u"A database is never written over.")};
    const bool hasObjects = arguments.exporting.ole == EOleForm::Files;
    const std::u16string& taken = FileExists(file.path) ? file.path : file.objectFolder;
    if (!arguments.mayOverwrite && (FileExists(file.path) || (hasObjects && FileExists(file.objectFolder))))
      return SFailure{
          EExitStatus::Failed,
          AboutFile(taken, (taken == file.path ? u"The file" : u"The folder") +
                               std::u16string(u" exists already. Replace it with --overwrite, or ") +
                               advice)};
  }
  return std::nullopt;
}

SFailure NotWritten(const std::u16string& path, const std::u16string& problem) {
  return {EExitStatus::Failed,
          path.empty() ? problem : AboutFile(path, u"The file cannot be written: " + problem)};
}

// Tells of rows and objects that were recovered but are not in the export.
bool MentionLosses(CSession& session, const CExportedTable& exported, const CAccessTable& table) {
  const auto tell = [&](uint64_t count, const std::string& noun) {
    if (count > 0)
      session.Say(u"Table " + table.name + u": " + FromUtf8(Counted(count, noun)) +
                  u" could not be read back from the temporary files.");
    return count > 0;
  };
  const bool lacksRows = tell(exported.GetLostRows(), "row");
  return tell(exported.GetLostObjects(), "OLE object") || lacksRows;
}

// The file and the folder of its objects have their names only when they are whole.
std::optional<SFailure> WriteFile(CSession& session, SExportFile& file, bool& isIncomplete) {
  const SArguments& arguments = session.GetArguments();
  COutputFile output;
  const SOutputVerdict verdict =
      output.Reserve({file.path, arguments.source, arguments.templatePath, arguments.mayOverwrite});
  if (verdict.state != EOutputState::Ok) return RefuseOutput(file.path, verdict);
  COutputFolder objects;
  objects.Reserve(file.objectFolder);
  CExportSink sink;
  if (!sink.Open(output.GetPartialPath())) return NotWritten(file.path, sink.GetProblem());
  const auto exported = MakeExportedTable(session.GetData(), *file.table, arguments.exporting,
                                          session.GetJob().GetContext().preview, IsInterrupted);
  exported->GetFiles().SetFolder(objects.GetPartialPath(), std::u16string(FileNameOf(file.objectFolder)));
  switch (exported->Write(sink)) {
    case EExportEnd::Stopped:
      sink.Close();
      return SFailure{EExitStatus::Stopped, u"Stopped. The files that were complete stay."};
    case EExportEnd::NotWritten:
      sink.Close();
      return NotWritten(file.path, exported->GetProblem());
    case EExportEnd::Done:
      break;
  }
  if (!objects.Complete()) return NotWritten(file.objectFolder, SystemMessage(LastSystemError()));
  if (const SOutputVerdict end = output.Complete(); end.state != EOutputState::Ok)
    return RefuseOutput(file.path, end);
  file.rows = exported->GetRowCount();
  if (MentionLosses(session, *exported, *file.table)) isIncomplete = true;
  return std::nullopt;
}

std::optional<SFailure> PrintFiles(const CSession& session, const std::vector<SExportFile>& files,
                                   EExitStatus status) {
  const SArguments& arguments = session.GetArguments();
  if (arguments.isJson) {
    Json result = MakeResult(arguments, status);
    result["source"] = DescribeSource(session.GetData(), arguments);
    result["files"] = Json::array();
    for (const SExportFile& file : files)
      result["files"].push_back(
          {{"table", ToUtf8(file.table->name)}, {"path", ToUtf8(file.path)}, {"rows", file.rows}});
    result["damage"] = DescribeDamage(session.GetData());
    if (!PrintJson(result)) return OutputLost();
    return std::nullopt;
  }
  CTextTable drawn;
  drawn.AddColumn("Table");
  drawn.AddColumn("Rows", EAlign::Right);
  drawn.AddColumn("File");
  for (const SExportFile& file : files)
    drawn.AddRow({ToDisplay(file.table->name), std::to_string(file.rows), ToDisplay(file.path)});
  return Print(drawn.Draw(OutputStyle().width));
}

SCommandEnd ExportToFiles(CSession& session, std::vector<SExportFile> files) {
  const SArguments& arguments = session.GetArguments();
  if (auto failure = CheckFiles(files, session)) return *failure;
  if (auto failure = MakeFolder(arguments.folder, u"--to")) return *failure;
  bool isIncomplete = false;
  for (SExportFile& file : files)
    if (auto failure = WriteFile(session, file, isIncomplete)) return *failure;
  const EExitStatus status =
      isIncomplete ? EExitStatus::Incomplete : DecideStatus(session.GetData(), nullptr);
  if (auto failure = PrintFiles(session, files, status)) return *failure;
  MentionDamage(session);
  return status;
}

SCommandEnd ExportToOutput(CSession& session, const CAccessTable& table) {
  CExportSink sink;
  const auto exported = MakeExportedTable(session.GetData(), table, session.GetArguments().exporting,
                                          session.GetJob().GetContext().preview, IsInterrupted);
  switch (exported->Write(sink)) {
    case EExportEnd::Stopped:
      return SFailure{EExitStatus::Stopped, u"Stopped. The output is not complete."};
    case EExportEnd::NotWritten:
      return NotWritten({}, exported->GetProblem() + u" The output is not complete.");
    case EExportEnd::Done:
      break;
  }
  const bool isIncomplete = MentionLosses(session, *exported, table);
  MentionDamage(session);
  return isIncomplete ? EExitStatus::Incomplete : DecideStatus(session.GetData(), nullptr);
}

}  // namespace

SCommandEnd RunExport(CSession& session) {
  if (auto failure = RecoverSomething(session)) return *failure;
  const SArguments& arguments = session.GetArguments();
  session.GetJob().GetContext().preview.SetAbort(IsInterrupted() ? 1 : 0);  // multi-value cells obey it
  const EExportFormat format = arguments.exporting.format;
  if (format == EExportFormat::Sql || format == EExportFormat::Sqlite) {
    const CAccessTable* const only =
        arguments.table.empty() ? nullptr : FindTable(session.GetData(), arguments.table);
    if (only == nullptr && !arguments.table.empty()) return NoSuchTable(arguments);
    return ExportToDatabase(session, only);
  }
  std::vector<SExportFile> files = ChooseTables(session.GetData(), arguments);
  if (files.empty() && !arguments.table.empty()) return NoSuchTable(arguments);
  if (arguments.folder.empty() && arguments.output.empty())
    return ExportToOutput(session, *files.front().table);
  return ExportToFiles(session, std::move(files));
}

}  // namespace tolvane
