// export: the rows of one table on standard output, or of all tables as one file each.

#include "app/OutputFile.h"
#include "cli/Commands.h"
#include "cli/DisplayText.h"
#include "cli/Interrupt.h"
#include "cli/JsonOutput.h"
#include "cli/Outcome.h"
#include "cli/SafeFileName.h"
#include "cli/Summary.h"
#include "cli/TableExport.h"
#include "cli/TextTable.h"
#include "platform/Files.h"
#include "platform/Text.h"

namespace tolvane {

namespace {

struct SExportFile {
  const CAccessTable* table;
  std::u16string name;  // without its ending
  std::u16string path;
  uint64_t rows = 0;
};

// Tables of the export, in list order.
std::vector<SExportFile> ChooseTables(const CAccessData& data, const SArguments& arguments) {
  std::vector<SExportFile> chosen;
  CFileNames names;
  const std::u16string_view ending = arguments.format == EExportFormat::Csv ? u".csv" : u".jsonl";
  const CAccessTable* only = arguments.table.empty() ? nullptr : FindTable(data, arguments.table);
  for (const auto& table : data.GetTables()) {
    const bool isWanted =
        arguments.table.empty() ? arguments.withSystemTables || !IsSystemTable(*table) : table.get() == only;
    if (!isWanted || !HasContent(*table)) continue;
    SExportFile& file = chosen.emplace_back();
    file.table = table.get();
    file.name = names.Add(table->name);
    file.path = arguments.folder + kPathSeparator + file.name + std::u16string(ending);
  }
  return chosen;
}

std::optional<SFailure> PrepareFolder(const SArguments& arguments) {
  const std::u16string& folder = arguments.folder;
  switch (GetFileKind(folder)) {
    case EFileKind::Folder:
      return std::nullopt;
    case EFileKind::Missing:
      if (CreateFolder(folder)) return std::nullopt;
      return SFailure{EExitStatus::Failed, AboutFile(folder, u"The folder cannot be created: " +
                                                                 SystemMessage(LastSystemError()))};
    default:
      return SFailure{EExitStatus::Failed, AboutFile(folder, u"This is no folder. Name one with --to.")};
  }
}

std::optional<SFailure> CheckFiles(const std::vector<SExportFile>& files, const SArguments& arguments) {
  for (const SExportFile& file : files) {
    if (IsSameFile(file.path, arguments.source) || IsSameFile(file.path, arguments.templatePath))
      return SFailure{EExitStatus::WrongUsage, AboutFile(file.path, u"A database is never written over.")};
    if (!arguments.mayOverwrite && FileExists(file.path))
      return SFailure{EExitStatus::Failed,
                      AboutFile(file.path,
                                u"The file exists already. Replace it with --overwrite, or name another "
                                u"folder with --to.")};
  }
  return std::nullopt;
}

SFailure NotWritten(const std::u16string& path, const std::u16string& problem) {
  return {EExitStatus::Failed,
          path.empty() ? problem : AboutFile(path, u"The file cannot be written: " + problem)};
}

// Tells of rows and objects that were recovered but are not in the export.
bool MentionLosses(CSession& session, const CTableExport& exported, const CAccessTable& table) {
  const auto tell = [&](uint64_t count, const std::string& noun) {
    if (count > 0)
      session.Say(u"Table " + table.name + u": " + FromUtf8(Counted(count, noun)) +
                  u" could not be read back from the temporary files.");
    return count > 0;
  };
  const bool lacksRows = tell(exported.GetLostRows(), "row");
  return tell(exported.GetLostObjects(), "OLE object") || lacksRows;
}

// Each file has its name only when it is whole.
std::optional<SFailure> WriteFile(CSession& session, SExportFile& file, bool& isIncomplete) {
  const SArguments& arguments = session.GetArguments();
  RemoveStalePartials(file.path);
  const std::u16string partial = MakePartialPath(file.path);
  CExportSink sink;
  if (!sink.CreateNew(partial)) return NotWritten(file.path, sink.GetProblem());
  CTableExport exported(session.GetData(), *file.table, arguments, session.GetJob().GetContext().preview);
  const std::u16string objects = file.name + u"_files";
  exported.SetOleFolder(arguments.folder + kPathSeparator + objects, objects);
  const EExportEnd end = exported.Write(sink);
  if (end == EExportEnd::Done && RenameFile(partial, file.path)) {
    file.rows = exported.GetRowCount();
    if (MentionLosses(session, exported, *file.table)) isIncomplete = true;
    return std::nullopt;
  }
  const std::u16string problem =
      end == EExportEnd::Done ? SystemMessage(LastSystemError()) : exported.GetProblem();
  sink.Close();
  RemoveFile(partial);
  if (end == EExportEnd::Stopped)
    return SFailure{EExitStatus::Stopped, u"Stopped. The files that were complete stay."};
  return NotWritten(file.path, problem);
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

SCommandEnd ExportToFolder(CSession& session, std::vector<SExportFile> files) {
  const SArguments& arguments = session.GetArguments();
  if (auto failure = CheckFiles(files, arguments)) return *failure;
  if (auto failure = PrepareFolder(arguments)) return *failure;
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
  CTableExport exported(session.GetData(), table, session.GetArguments(),
                        session.GetJob().GetContext().preview);
  switch (exported.Write(sink)) {
    case EExportEnd::Stopped:
      return SFailure{EExitStatus::Stopped, u"Stopped. The output is not complete."};
    case EExportEnd::NotWritten:
      return NotWritten({}, exported.GetProblem() + u" The output is not complete.");
    case EExportEnd::Done:
      break;
  }
  const bool isIncomplete = MentionLosses(session, exported, table);
  MentionDamage(session);
  return isIncomplete ? EExitStatus::Incomplete : DecideStatus(session.GetData(), nullptr);
}

}  // namespace

SCommandEnd RunExport(CSession& session) {
  if (auto failure = RecoverSomething(session)) return *failure;
  const SArguments& arguments = session.GetArguments();
  session.GetJob().GetContext().preview.SetAbort(IsInterrupted() ? 1 : 0);  // multi-value cells obey it
  std::vector<SExportFile> files = ChooseTables(session.GetData(), arguments);
  if (files.empty() && !arguments.table.empty()) return NoSuchTable(arguments);
  if (arguments.folder.empty()) return ExportToOutput(session, *files.front().table);
  return ExportToFolder(session, std::move(files));
}

}  // namespace tolvane
