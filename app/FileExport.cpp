#include "app/FileExport.h"

#include "app/Losses.h"
#include "app/OutputFolder.h"
#include "export/SafeFileName.h"
#include "export/SqliteFile.h"
#include "platform/Files.h"

namespace tolvane {

namespace {

// "FOLDER/NAME_files" beside "FOLDER/NAME.csv".
std::u16string ObjectFolderOf(const std::u16string& path) {
  const std::u16string_view extension = ExtensionOf(path);
  return path.substr(0, path.size() - (extension.empty() ? 0 : extension.size() + 1)) + u"_files";
}

void WriteScript(const SFileExportTask& task, const CSqlDialect& dialect, const std::u16string& path,
                 const SExportWatch& watch, SDatabaseExport& exported) {
  CExportSink sink;
  if (!path.empty() && !sink.Open(path)) {
    exported.end = EExportEnd::NotWritten;
    exported.problem = sink.GetProblem();
    return;
  }
  CSqlScript script(exported.schema, dialect,
                    u"Recovered by Tolvane for Access from " + std::u16string(FileNameOf(task.source)),
                    watch);
  exported.end = script.Write(sink);
  exported.problem = sink.GetProblem();
  exported.counts = script.GetCounts();
}

void WriteDatabase(const CAccessData& data, const CSqliteLibrary& library, const std::u16string& path,
                   const SExportWatch& watch, SDatabaseExport& exported) {
  CSqliteFile file(library.Get(), data, exported.schema, watch);
  exported.end = file.Write(path);
  exported.problem = file.GetProblem();
  exported.counts = file.GetCounts();
  exported.areKeysWhole = file.AreKeysWhole();
}

}  // namespace

bool IsOneFile(EExportFormat format) {
  return format == EExportFormat::Sql || format == EExportFormat::Sqlite;
}

std::vector<SExportedFile> ListExportedFiles(const CAccessData& data, const SFileExportTask& task) {
  std::vector<SExportedFile> files;
  CFileNames names;
  const bool isCsv = task.options.format == EExportFormat::Csv;
  for (const auto& table : data.GetTables()) {
    const bool isWanted =
        task.only ? table.get() == task.only : task.withSystemTables || !IsSystemTable(*table);
    if (!isWanted || !HasContent(*table)) continue;
    SExportedFile& file = files.emplace_back();
    file.table = table.get();
    const std::u16string name = names.Add(table->name);
    file.objectFolder = task.folder + kPathSeparator + name + u"_files";
    file.path = task.folder + kPathSeparator + name + (isCsv ? u".csv" : u".jsonl");
    if (task.file.empty()) continue;
    file.path = task.file;
    file.objectFolder = ObjectFolderOf(task.file);
  }
  return files;
}

SFileExportEnd WriteExportedFile(const CAccessData& data, const SFileExportTask& task, SExportedFile& file,
                                 const CPreviewThreadStatus& preview, const SExportWatch& watch) {
  const auto notWritten = [](const std::u16string& path, const std::u16string& problem) {
    return SFileExportEnd{EExportEnd::NotWritten, path, problem, {}};
  };
  COutputFile output;
  SOutputVerdict verdict = output.Reserve({file.path, task.source, task.templatePath, task.mayOverwrite});
  if (verdict.state != EOutputState::Ok) return {EExportEnd::NotWritten, file.path, {}, std::move(verdict)};
  COutputFolder objects;
  objects.Reserve(file.objectFolder);
  CExportSink sink;
  if (!sink.Open(output.GetPartialPath())) return notWritten(file.path, sink.GetProblem());
  const auto exported = MakeExportedTable(data, *file.table, task.options, preview, watch);
  exported->GetFiles().SetFolder(objects.GetPartialPath(), std::u16string(FileNameOf(file.objectFolder)));
  const EExportEnd end = exported->Write(sink);
  if (end != EExportEnd::Done) {
    sink.Close();
    return {end, file.path, exported->GetProblem(), {}};
  }
  if (!objects.Complete()) return notWritten(file.objectFolder, SystemMessage(LastSystemError()));
  verdict = output.Complete();
  if (verdict.state != EOutputState::Ok) return {EExportEnd::NotWritten, file.path, {}, std::move(verdict)};
  file.rows = exported->GetRowCount();
  file.lostRows = exported->GetLostRows();
  file.lostObjects = exported->GetLostObjects();
  return {};
}

SDatabaseExport WriteDatabaseFile(const CAccessData& data, const SFileExportTask& task,
                                  const SExportWatch& watch) {
  const bool isScript = task.options.format == EExportFormat::Sql;
  SDatabaseExport exported;
  CSqliteLibrary library;
  if (!isScript && !library.Load(exported.refusal)) return exported;
  COutputFile output;
  if (!task.file.empty()) {
    exported.verdict = output.Reserve({task.file, task.source, task.templatePath, task.mayOverwrite});
    if (exported.verdict.state != EOutputState::Ok) return exported;
  }
  const CSqlDialect dialect(task.options.dialect);
  exported.schema = MakeSqlSchema(data, dialect, task.only, task.withSystemTables, watch.isStopped);
  if (isScript)
    WriteScript(task, dialect, output.GetPartialPath(), watch, exported);
  else
    WriteDatabase(data, library, output.GetPartialPath(), watch, exported);
  if (exported.end == EExportEnd::Done && !task.file.empty()) exported.verdict = output.Complete();
  return exported;
}

}  // namespace tolvane
