// Recovered tables as files for other programs: a file a table, or all of them as one script or database. A
// file and the folder of its objects have their names only when they are whole.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "app/OutputFile.h"
#include "export/ExportedTable.h"
#include "export/SqlScript.h"
#include "model/AccessData.h"

namespace tolvane {

struct SFileExportTask {
  SExportOptions options;
  const CAccessTable* only = nullptr;  // null: all tables,
  bool withSystemTables = false;       // and the database's own as well
  std::u16string file = {};            // the one that is written; where it is empty:
  std::u16string folder = {};          // for a file a table
  std::u16string source;               // never written over
  std::u16string templatePath;         // nor this; may be empty
  bool mayOverwrite = false;
};

// All tables lie in one file.
bool IsOneFile(EExportFormat format);

// --- a file a table ---

struct SExportedFile {
  const CAccessTable* table = nullptr;
  std::u16string path;
  std::u16string objectFolder;  // beside it, where objects are files of their own
  uint64_t rows = 0;
  // Recovered, but could not be read back.
  uint64_t lostRows = 0;
  uint64_t lostObjects = 0;
};

// Of the tables with content, in list order.
std::vector<SExportedFile> ListExportedFiles(const CAccessData& data, const SFileExportTask& task);

struct SFileExportEnd {
  EExportEnd end = EExportEnd::Done;
  std::u16string path;     // that could not be written,
  std::u16string problem;  // and why
  SOutputVerdict verdict;  // or why the file was refused
};
// `preview` says when to leave the reading of multi-value cells.
SFileExportEnd WriteExportedFile(const CAccessData& data, const SFileExportTask& task, SExportedFile& file,
                                 const CPreviewThreadStatus& preview, const SExportWatch& watch);

// --- one file ---

struct SDatabaseExport {
  std::u16string refusal;  // why nothing was begun: a library is missing
  SOutputVerdict verdict;  // why the file was refused
  EExportEnd end = EExportEnd::Done;
  std::u16string problem;
  SSqlSchema schema;
  std::vector<SSqlCount> counts;  // by table of the schema
  bool areKeysWhole = true;       // as far as it is known
};
// A script without a file goes to standard output.
SDatabaseExport WriteDatabaseFile(const CAccessData& data, const SFileExportTask& task,
                                  const SExportWatch& watch);

}  // namespace tolvane
