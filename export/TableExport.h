// The rows of a table as texts: CSV, and JSON lines where the run keeps texts.
#pragma once

#include <string>
#include <utility>
#include <vector>

#include "export/ExportedTable.h"
#include "export/RowFormat.h"
#include "render/PreviewText.h"
#include "render/RecordText.h"
#include "store/ObjectPlace.h"

namespace tolvane {

class CTableExport : public CExportedTable {
 public:
  CTableExport(const CAccessData& data, const CAccessTable& table, const SExportOptions& options,
               const CPreviewThreadStatus& preview, SExportWatch watch)
      : CExportedTable(data, table, options, std::move(watch)),
        m_texts(table, &data.GetTables(), data.source.pageSize, data.GetRules(), preview) {}
  EExportEnd Write(CExportSink& sink) override;

 private:
  void NameFiles(const std::vector<std::u16string>& cells);
  void WriteCell(size_t column, std::u16string& text, const CTableTextReader& reader, CRowFormat& format,
                 CExportSink& sink);
  void WriteObject(size_t column, const SObjectPlace& place, CRowFormat& format, CExportSink& sink);
  void WriteFiles(size_t column, const std::vector<CComplexValues::SFile>& files, CRowFormat& format);

  const SRecoveryRules& m_rules = m_data.GetRules();
  CPreviewText m_texts;
};

}  // namespace tolvane
