// The rows of a table as JSON lines with typed values: one object a row, its columns in their order.
//
//   OLE object       base64 or hexadecimal digits of its bytes, or the place of the file that has them
//   multi-values     an array of values
//   attachments      an array of {"name", "data"}, or {"name", "file"} where files stand for themselves
//   versions         an array of {"value", "date"}
#pragma once

#include <cstddef>
#include <memory>
#include <string>
#include <vector>

#include "export/ExportedTable.h"
#include "export/ValueReader.h"
#include "render/ComplexValues.h"

namespace tolvane {

class CJsonTable : public CExportedTable {
 public:
  using CExportedTable::CExportedTable;
  EExportEnd Write(CExportSink& sink) override;

 private:
  struct SColumn {
    std::string key;                         // with quotes, colon and, behind the first one, a comma
    std::unique_ptr<CComplexValues> values;  // of a complex column; null where they are lost
    EFlatKind kind = EFlatKind::Values;
  };
  void PrepareColumns();
  void NameFiles(const CTableValueReader& reader);
  void WriteCell(size_t column, const CTableValueReader& reader, CExportSink& sink);
  void WriteObject(size_t column, const CTableValueReader& reader, CExportSink& sink);
  void WriteItems(size_t column, const SValue& key, CExportSink& sink);
  void WriteAttachment(size_t column, const CComplexValues::SItem& item, CExportSink& sink);

  std::vector<SColumn> m_columns;
  std::string m_cell;
};

}  // namespace tolvane
