#include "export/TableExport.h"

#include "platform/Text.h"
#include "render/RecordText.h"
#include "writer/AttachmentSource.h"
#include "writer/SafeName.h"
#include "writer/SideFileSource.h"

namespace tolvane {

namespace {

// Values that are what a user typed; all others are digits and words of ours.
bool IsUsersText(uint8_t type) {
  return IsTextType(type) || type == kTypeComplex;
}

}  // namespace

EExportEnd CTableExport::Write(CExportSink& sink) {
  const std::unique_ptr<CRowFormat> format = MakeRowFormat(m_options, sink, !m_rules.recordsHoldTexts);
  std::vector<std::u16string> cells;
  for (const size_t i : m_shown) cells.push_back(SpelledName(*m_table.columns.GetAt(i), m_data.source));
  format->WriteHeader(cells);
  CTableTextReader reader(m_table, m_rules);
  if (reader.Open()) {
    while (m_problem.empty() && sink.GetProblem().empty() && reader.ReadRow(cells)) {
      if (m_watch.isStopped()) return EExportEnd::Stopped;
      ++m_rows;
      m_watch.CountRow();
      if (m_options.ole == EOleForm::Files) NameFiles(cells);
      format->BeginRow();
      for (const size_t i : m_shown) WriteCell(i, cells[i], reader, *format, sink);
      format->EndRow();
    }
  }
  if (!sink.Close()) m_problem = sink.GetProblem();
  return m_problem.empty() ? EExportEnd::Done : EExportEnd::NotWritten;
}

void CTableExport::NameFiles(const std::vector<std::u16string>& cells) {
  std::vector<std::u16string> keys;
  for (const size_t column : m_files.GetKeyColumns()) keys.push_back(cells[column]);
  BeginFiles(keys);
}

void CTableExport::WriteCell(size_t column, std::u16string& text, const CTableTextReader& reader,
                             CRowFormat& format, CExportSink& sink) {
  const uint8_t type = m_table.columns.GetAt(column)->type;
  if (type == kTypeOle && !text.empty()) {
    WriteObject(column, reader.GetObjectPlace(column), format, sink);
    return;
  }
  if (type == kTypeComplex && m_options.ole == EOleForm::Files) {
    CComplexValues* const values = m_texts.GetValues(column);
    const auto files = values == nullptr ? std::vector<CComplexValues::SFile>()
                                         : values->ListFiles(static_cast<int32_t>(LeadingInteger(text)));
    if (!files.empty()) return WriteFiles(column, files, format);
  }
  if (type == kTypeComplex && !text.empty()) m_texts.Show(column, text);
  // A record without values in a complex column has a number there all the same.
  const bool hasNone = type == kTypeComplex && text.empty() && m_rules.complexValuesAreData;
  if (reader.IsNull(column) || hasNone)
    format.WriteNull();
  else if (IsUsersText(type))
    format.WriteText(text);
  else
    format.WriteValue(text);
}

void CTableExport::WriteFiles(size_t column, const std::vector<CComplexValues::SFile>& files,
                              CRowFormat& format) {
  std::u16string paths;
  for (size_t i = 0; i < files.size() && m_problem.empty(); ++i) {
    CAttachmentSource file;
    std::u16string shownAs = files[i].name;
    const bool isWhole = file.Open(files[i].place) &&
                         m_files.CopyFile(column, files[i].name, file, shownAs) && !file.IsDamaged();
    m_problem = m_files.GetProblem();
    if (!isWhole) ++m_lostObjects;
    paths += (i == 0 ? u"" : u"; ") + shownAs;
  }
  format.WriteText(paths);
}

void CTableExport::WriteObject(size_t column, const SObjectPlace& place, CRowFormat& format,
                               CExportSink& sink) {
  CSideFileSource object;
  if (!object.Open(place)) {
    ++m_lostObjects;
    format.WriteText({});
    return;
  }
  bool isWhole = place.length == SObjectPlace::kToTheEnd || object.GetLength() == place.length;
  if (m_options.ole == EOleForm::Files) {
    std::u16string shownAs;
    isWhole = m_files.CopyObject(column, object, shownAs) && isWhole;
    m_problem = m_files.GetProblem();
    format.WriteText(shownAs);
  } else if (object.GetLength() == 0 && !m_rules.recordsHoldTexts) {
    format.WriteText({});
  } else {
    format.BeginBytes();
    isWhole = WriteDigits(object, m_options.ole, sink) && isWhole;
    format.EndBytes();
  }
  if (!isWhole) ++m_lostObjects;
}

}  // namespace tolvane
