#include "export/ExportedTable.h"

#include "export/ByteText.h"
#include "export/JsonTable.h"
#include "export/TableExport.h"

namespace tolvane {

namespace {

// A multiple of three, so that base64 pieces join.
constexpr size_t kDigitPiece = 3 << 14;
constexpr size_t kKeyUnits = 64;

}  // namespace

bool ReadPiece(CDaoByteSource& bytes, std::span<uint8_t> piece, size_t& size) {
  size = 0;
  for (size_t read = 1; read > 0 && size < piece.size(); size += read)
    if (!bytes.Read(piece.subspan(size), read)) return false;
  return true;
}

void CExportedTable::BeginFiles(const std::vector<std::u16string>& keyTexts) {
  std::u16string key;
  for (const std::u16string& text : keyTexts) key += (key.empty() ? u"" : u"_") + text.substr(0, kKeyUnits);
  m_files.BeginRecord(m_rows, key);
}

bool CExportedTable::WriteDigits(CDaoByteSource& bytes, EOleForm form, CExportSink& sink) {
  m_piece.resize(kDigitPiece);
  bool isWhole = true;
  for (size_t size = m_piece.size(); size == m_piece.size() && isWhole;) {
    isWhole = ReadPiece(bytes, m_piece, size);
    m_digits.clear();
    AppendDigits({m_piece.data(), size}, form, m_digits);
    sink.Write(m_digits);
  }
  return isWhole;
}

std::unique_ptr<CExportedTable> MakeExportedTable(const CAccessData& data, const CAccessTable& table,
                                                  const SExportOptions& options,
                                                  const CPreviewThreadStatus& preview, SExportWatch watch) {
  if (options.format == EExportFormat::JsonLines && !data.GetRules().recordsHoldTexts)
    return std::make_unique<CJsonTable>(data, table, options, std::move(watch));
  return std::make_unique<CTableExport>(data, table, options, preview, std::move(watch));
}

}  // namespace tolvane
