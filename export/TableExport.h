// Writes the rows of one recovered table as text.
#pragma once

#include <cstdint>
#include <functional>
#include <string>
#include <string_view>
#include <vector>

#include "export/ExportOptions.h"
#include "export/ExportSink.h"
#include "export/ObjectFiles.h"
#include "export/RowFormat.h"
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

// Whether the user wants the export to end.
using StopRequest = std::function<bool()>;

// One object a table.
class CTableExport {
 public:
  // All outlive this object. `preview` says when to leave the reading of multi-value cells.
  CTableExport(const CAccessData& data, const CAccessTable& table, const SExportOptions& options,
               const CPreviewThreadStatus& preview, StopRequest isStopped)
      : m_source(data.source),
        m_rules(data.GetRules()),
        m_table(table),
        m_options(options),
        m_isStopped(std::move(isStopped)),
        m_texts(table, &data.GetTables(), data.source.pageSize, data.GetRules(), preview),
        m_files(data, table) {}

  // Where objects are files of their own: the folder of this table's.
  [[nodiscard]] CObjectFiles& GetFiles() { return m_files; }

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
  void BeginFiles(const std::vector<std::u16string>& cells);
  void WriteDigits(CDaoByteSource& object, bool& isWhole, CRowFormat& format);

  const SSourceFacts& m_source;
  const SRecoveryRules& m_rules;
  const CAccessTable& m_table;
  const SExportOptions& m_options;
  const StopRequest m_isStopped;
  CPreviewText m_texts;
  CObjectFiles m_files;
  std::vector<uint8_t> m_piece;
  std::string m_digits;
  uint64_t m_rows = 0;
  uint64_t m_lostObjects = 0;
  std::u16string m_problem;
};

}  // namespace tolvane
