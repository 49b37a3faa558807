// Writes the rows of one recovered table as text.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "cli/CommandArguments.h"
#include "cli/ExportSink.h"
#include "cli/RowFormat.h"
#include "model/AccessData.h"
#include "render/PreviewText.h"
#include "render/RecordText.h"
#include "store/ObjectPlace.h"
#include "writer/SideFileSource.h"

namespace tolvane {

enum class EExportEnd : uint8_t {
  Done,
  Stopped,
  NotWritten,  // the disk is full or the pipe is closed; GetProblem tells
};

// One object a table.
class CTableExport {
 public:
  CTableExport(const CAccessData& data, const CAccessTable& table, const SArguments& arguments,
               const CPreviewThreadStatus& preview)
      : m_source(data.source),
        m_rules(data.GetRules()),
        m_table(table),
        m_arguments(arguments),
        m_texts(table, &data.GetTables(), data.source.pageSize, data.GetRules(), preview) {}

  // For --ole files: the folder of this table's object files, created with the first one, and how the rows
  // name it.
  void SetOleFolder(std::u16string path, std::u16string shownAs);

  EExportEnd Write(CExportSink& sink);
  [[nodiscard]] uint64_t GetRowCount() const { return m_rows; }
  // Objects whose bytes could not be read back, and rows that were recovered but not read back.
  [[nodiscard]] uint64_t GetLostObjects() const { return m_lostObjects; }
  [[nodiscard]] uint64_t GetLostRows() const;
  [[nodiscard]] const std::u16string& GetProblem() const { return m_problem; }

 private:
  void WriteCell(size_t column, std::u16string& text, const CTableTextReader& reader, CRowFormat& format);
  void WriteObject(size_t column, const SObjectPlace& place, CRowFormat& format);
  void WriteFiles(size_t column, const std::vector<CComplexValues::SFile>& files, CRowFormat& format);
  bool CopyObject(const std::u16string& name, CDaoByteSource& object, std::u16string& shownAs);
  // How the names of the files of a cell begin.
  [[nodiscard]] std::u16string FileNameOf(size_t column) const;

  const SSourceFacts& m_source;
  const SRecoveryRules& m_rules;
  const CAccessTable& m_table;
  const SArguments& m_arguments;
  CPreviewText m_texts;
  std::u16string m_oleFolder;
  std::u16string m_oleShownAs;
  std::vector<uint8_t> m_piece;
  std::string m_digits;
  uint64_t m_rows = 0;
  uint64_t m_lostObjects = 0;
  std::u16string m_problem;
};

}  // namespace tolvane
