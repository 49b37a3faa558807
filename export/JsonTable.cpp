#include "export/JsonTable.h"

#include "export/JsonText.h"
#include "export/RowFormat.h"
#include "format/Bytes.h"
#include "render/ExactText.h"
#include "writer/AttachmentSource.h"
#include "writer/SafeName.h"
#include "writer/SideFileSource.h"

namespace tolvane {

void CJsonTable::PrepareColumns() {
  std::vector<std::u16string> names;
  for (const size_t i : m_shown) names.push_back(SpelledName(*m_table.columns.GetAt(i), m_data.source));
  std::vector<std::string> keys = MakeJsonKeys(names);
  m_columns.resize(m_table.columns.GetCount());
  for (size_t shown = 0; shown < m_shown.size(); ++shown) {
    const size_t i = m_shown[shown];
    SColumn& column = m_columns[i];
    column.key = (shown == 0 ? "" : ",") + keys[shown];
    const CAccessColumn& recovered = *m_table.columns.GetAt(i);
    const auto flat = FindFlatTable(m_data.GetTables(), recovered, m_data.source.pageSize);
    if (!flat) continue;
    column.kind = flat->kind;
    column.values = std::make_unique<CComplexValues>(m_table, i, *flat, m_data.GetRules());
  }
}

EExportEnd CJsonTable::Write(CExportSink& sink) {
  PrepareColumns();
  CTableValueReader reader(m_table);
  if (reader.Open()) {
    while (m_problem.empty() && sink.GetProblem().empty() && reader.ReadRow()) {
      if (m_watch.isStopped()) return EExportEnd::Stopped;
      ++m_rows;
      m_watch.CountRow();
      if (m_options.ole == EOleForm::Files) NameFiles(reader);
      sink.Write("{");
      for (const size_t i : m_shown) {
        sink.Write(m_columns[i].key);
        WriteCell(i, reader, sink);
      }
      sink.Write("}\n");
    }
  }
  m_lostObjects += reader.GetLostValues();
  if (!sink.Close()) m_problem = sink.GetProblem();
  return m_problem.empty() ? EExportEnd::Done : EExportEnd::NotWritten;
}

void CJsonTable::NameFiles(const CTableValueReader& reader) {
  std::vector<std::u16string> keys;
  for (const size_t column : m_files.GetKeyColumns())
    MakeExactText(reader.GetValue(column), keys.emplace_back());
  BeginFiles(keys);
}

void CJsonTable::WriteCell(size_t column, const CTableValueReader& reader, CExportSink& sink) {
  const SValue& value = reader.GetValue(column);
  if (m_columns[column].values) return WriteItems(column, value, sink);
  if (value.type == kTypeOle && !value.isNull) return WriteObject(column, reader, sink);
  m_cell.clear();
  AppendJsonValue(value, m_options.ole, m_cell);
  sink.Write(m_cell);
}

void CJsonTable::WriteObject(size_t column, const CTableValueReader& reader, CExportSink& sink) {
  SObjectPlace place;
  CSideFileSource object;
  bool isWhole = reader.GetPlace(column, place) && object.Open(place);
  if (!isWhole) {
    sink.Write("null");
  } else if (m_options.ole == EOleForm::Files) {
    std::u16string shownAs;
    isWhole = m_files.CopyObject(column, object, shownAs);
    m_problem = m_files.GetProblem();
    m_cell.clear();
    AppendJsonString(shownAs, m_cell);
    sink.Write(m_cell);
  } else {
    sink.Write("\"");
    isWhole = WriteDigits(object, m_options.ole, sink);
    sink.Write("\"");
  }
  const bool isCut = place.length != SObjectPlace::kToTheEnd && object.GetLength() != place.length;
  if (!isWhole || isCut) ++m_lostObjects;
}

void CJsonTable::WriteItems(size_t column, const SValue& key, CExportSink& sink) {
  const int32_t number = key.isNull ? 0 : GetLittle<int32_t>(key.bytes, 0);
  const EFlatKind kind = m_columns[column].kind;
  std::string_view before = "[";
  const auto write = [&](const CComplexValues::SItem& item) {
    sink.Write(before);
    before = ",";
    if (kind == EFlatKind::Files) return WriteAttachment(column, item, sink);
    m_cell.clear();
    if (kind == EFlatKind::Versions) m_cell += "{\"value\":";
    AppendJsonValue(item.value, m_options.ole, m_cell);
    if (kind == EFlatKind::Versions) {
      m_cell += ",\"date\":";
      AppendJsonValue(item.date, m_options.ole, m_cell);
      m_cell += '}';
    }
    sink.Write(m_cell);
  };
  if (number > 0) m_columns[column].values->ForEachItem(number, write);
  sink.Write(before == "[" ? "[]" : "]");
}

void CJsonTable::WriteAttachment(size_t column, const CComplexValues::SItem& item, CExportSink& sink) {
  const bool areFiles = m_options.ole == EOleForm::Files;
  m_cell = "{\"name\":";
  AppendJsonValue(item.value, m_options.ole, m_cell);
  m_cell += areFiles ? ",\"file\":" : ",\"data\":";
  CAttachmentSource file;
  bool isWhole = item.place.length > 0 && file.Open(item.place);
  if (!isWhole) {
    sink.Write(m_cell += "null}");
  } else if (areFiles) {
    std::u16string name, shownAs;
    MakeExactText(item.value, name);
    isWhole = m_files.CopyFile(column, name, file, shownAs);
    m_problem = m_files.GetProblem();
    AppendJsonString(shownAs, m_cell);
    sink.Write(m_cell += "}");
  } else {
    sink.Write(m_cell += "\"");
    isWhole = WriteDigits(file, m_options.ole, sink);
    sink.Write("\"}");
  }
  if (!isWhole || file.IsDamaged()) ++m_lostObjects;
}

}  // namespace tolvane
