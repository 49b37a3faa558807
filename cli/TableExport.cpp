#include "cli/TableExport.h"

#include <utility>

#include "app/Losses.h"
#include "cli/ByteText.h"
#include "cli/Interrupt.h"
#include "cli/SafeFileName.h"
#include "platform/Files.h"
#include "platform/Text.h"
#include "render/RecordText.h"
#include "writer/AttachmentSource.h"

namespace tolvane {

namespace {
// A multiple of three, so that base64 pieces join.
constexpr size_t kPieceSize = 3 << 14;
}  // namespace

void CTableExport::SetOleFolder(std::u16string path, std::u16string shownAs) {
  m_oleFolder = std::move(path);
  m_oleShownAs = std::move(shownAs);
}

uint64_t CTableExport::GetLostRows() const {
  return m_rows < m_table.header.rowCount ? m_table.header.rowCount - m_rows : 0;
}

EExportEnd CTableExport::Write(CExportSink& sink) {
  const std::unique_ptr<CRowFormat> format =
      MakeRowFormat(m_arguments.format, sink, !m_rules.recordsHoldTexts);
  std::vector<std::u16string> cells;
  for (const CAccessColumn& column : m_table.columns) cells.push_back(SpelledName(column, m_source));
  format->WriteHeader(cells);
  CTableTextReader reader(m_table, m_rules);
  if (reader.Open()) {
    while (m_problem.empty() && sink.GetProblem().empty() && reader.ReadRow(cells)) {
      if (IsInterrupted()) return EExportEnd::Stopped;
      ++m_rows;
      format->BeginRow();
      for (size_t i = 0; i < cells.size(); ++i) WriteCell(i, cells[i], reader, *format);
      format->EndRow();
    }
  }
  if (!sink.Close()) m_problem = sink.GetProblem();
  return m_problem.empty() ? EExportEnd::Done : EExportEnd::NotWritten;
}

void CTableExport::WriteCell(size_t column, std::u16string& text, const CTableTextReader& reader,
                             CRowFormat& format) {
  const uint8_t type = m_table.columns.GetAt(column)->type;
  if (type == kTypeOle && !text.empty()) {
    WriteObject(column, reader.GetObjectPlace(column), format);
    return;
  }
  if (type == kTypeComplex && m_arguments.ole == EOleForm::Files) {
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
  else
    format.WriteText(text);
}

void CTableExport::WriteFiles(size_t column, const std::vector<CComplexValues::SFile>& files,
                              CRowFormat& format) {
  std::u16string paths;
  for (size_t i = 0; i < files.size() && m_problem.empty(); ++i) {
    CAttachmentSource file;
    std::u16string shownAs = files[i].name;
    bool isWhole = file.Open(files[i].place);
    if (isWhole)
      isWhole =
          CopyObject(FileNameOf(column) + u"_" + ToDecimal(i + 1) + u"_" + MakeSafeFileName(files[i].name),
                     file, shownAs) &&
          !file.IsDamaged();
    if (!isWhole) ++m_lostObjects;
    paths += (i == 0 ? u"" : u"; ") + shownAs;
  }
  format.WriteText(paths);
}

std::u16string CTableExport::FileNameOf(size_t column) const {
  return ToDecimal(m_rows) + u"_" + MakeSafeFileName(SpelledName(*m_table.columns.GetAt(column), m_source)) +
         u"_" + ToDecimal(column + 1);
}

void CTableExport::WriteObject(size_t column, const SObjectPlace& place, CRowFormat& format) {
  CSideFileSource object;
  if (!object.Open(place)) {
    ++m_lostObjects;
    format.WriteText({});
    return;
  }
  bool isWhole = place.length == SObjectPlace::kToTheEnd || object.GetLength() == place.length;
  if (m_arguments.ole == EOleForm::Files) {
    std::u16string shownAs;
    isWhole = CopyObject(FileNameOf(column) + u".bin", object, shownAs) && isWhole;
    format.WriteText(shownAs);
  } else if (object.GetLength() == 0 && !m_rules.recordsHoldTexts) {
    format.WriteText({});
  } else {
    m_piece.resize(kPieceSize);
    format.BeginBytes();
    for (size_t size = kPieceSize; size == kPieceSize;) {
      isWhole = object.Read(m_piece, size) && isWhole;
      m_digits.clear();
      if (m_arguments.ole == EOleForm::Base64) {
        AppendBase64({m_piece.data(), size}, m_digits);
      } else {
        AppendHex({m_piece.data(), size}, m_digits);
      }
      format.WriteBytes(m_digits);
    }
    format.EndBytes();
  }
  if (!isWhole) ++m_lostObjects;
}

// False when the bytes cannot be read; a copy that cannot be written is a problem of the whole export.
bool CTableExport::CopyObject(const std::u16string& name, CDaoByteSource& object, std::u16string& shownAs) {
  if (GetFileKind(m_oleFolder) == EFileKind::Missing) CreateFolder(m_oleFolder);
  const std::u16string path = m_oleFolder + kPathSeparator + name;
  CFileCust copy;
  const EFileCreation creation =
      m_arguments.mayOverwrite ? EFileCreation::CreateAlways : EFileCreation::CreateNew;
  if (!copy.Open(path, EFileAccess::Write, EFileShare::Read, creation)) {
    m_problem = path + u": " + SystemMessage(copy.GetLastErrorCode());
    return true;
  }
  shownAs = m_oleShownAs + u"/" + name;
  bool isRead = true;
  m_piece.resize(kPieceSize);
  try {
    for (size_t size = kPieceSize; size == kPieceSize;) {
      isRead = object.Read(m_piece, size) && isRead;
      copy.Write({m_piece.data(), size});
    }
  } catch (const CFileCustException& error) {
    m_problem = path + u": " + error.GetMessageText();
  }
  return isRead;
}

}  // namespace tolvane
