#include "export/RowFormat.h"

#include <algorithm>
#include <unordered_set>

#include "export/JsonText.h"
#include "platform/Text.h"

namespace tolvane {

namespace {

constexpr std::string_view kByteOrderMark = "\xEF\xBB\xBF";

// What a spreadsheet takes for the beginning of a formula.
bool LooksLikeFormula(std::u16string_view text) {
  return !text.empty() && std::u16string_view(u"=+-@\t\r").find(text.front()) != std::u16string_view::npos;
}

}  // namespace

void CCsvFormat::WriteHeader(const std::vector<std::u16string>& columns) {
  m_columnCount = columns.size();
  if (m_options.hasByteOrderMark) m_sink.Write(kByteOrderMark);
  BeginRow();
  for (const std::u16string& column : columns) WriteText(column);
  EndRow();
}

bool CCsvFormat::NeedsQuotes() const {
  // What stands for no value is not quoted.
  if (m_options.nullText && m_text == *m_options.nullText) return true;
  return std::ranges::any_of(m_text, [this](char byte) {
    return byte == m_options.delimiter || byte == '"' || byte == '\r' || byte == '\n';
  });
}

void CCsvFormat::WriteCell(std::u16string_view text) {
  AppendUtf8(text, m_text);
  m_cell.clear();
  if (m_column++ > 0) m_cell += m_options.delimiter;
  // Without null the quotes of an empty cell tell a row with one column from an empty line.
  if ((text.empty() && (m_tellsNull || m_columnCount == 1)) || NeedsQuotes()) {
    m_cell += '"';
    for (const char byte : m_text) m_cell.append(byte == '"' ? 2 : 1, byte);
    m_cell += '"';
  } else {
    m_cell += m_text;
  }
  m_sink.Write(m_cell);
}

void CCsvFormat::WriteText(std::u16string_view text) {
  m_text.clear();
  if (m_options.guardsFormulas && LooksLikeFormula(text)) m_text += '\'';
  WriteCell(text);
}

void CCsvFormat::WriteValue(std::u16string_view text) {
  m_text.clear();
  WriteCell(text);
}

void CCsvFormat::WriteNull() {
  BeginBytes();
  if (m_options.nullText) m_sink.Write(*m_options.nullText);
}

void CCsvFormat::BeginBytes() {
  if (m_column++ > 0) m_sink.Write({&m_options.delimiter, 1});
}

std::vector<std::string> MakeJsonKeys(const std::vector<std::u16string>& columns) {
  std::vector<std::string> keys;
  std::unordered_set<std::u16string> taken;
  for (const std::u16string& column : columns) {
    std::u16string name = column;
    for (int number = 2; !taken.insert(name).second; ++number) name = column + u"_" + ToDecimal(number);
    std::string& key = keys.emplace_back();
    AppendJsonString(name, key);
    key += ":";
  }
  return keys;
}

void CJsonLinesFormat::WriteHeader(const std::vector<std::u16string>& columns) {
  m_keys = MakeJsonKeys(columns);
}

void CJsonLinesFormat::BeginRow() {
  m_column = 0;
  m_sink.Write("{");
}

void CJsonLinesFormat::WriteKey() {
  if (m_column > 0) m_sink.Write(",");
  m_sink.Write(m_keys[m_column++]);
}

void CJsonLinesFormat::WriteText(std::u16string_view text) {
  WriteKey();
  m_cell.clear();
  AppendJsonString(text, m_cell);
  m_sink.Write(m_cell);
}

void CJsonLinesFormat::WriteNull() {
  WriteKey();
  m_sink.Write("null");
}

void CJsonLinesFormat::BeginBytes() {
  WriteKey();
  m_sink.Write("\"");
}

std::unique_ptr<CRowFormat> MakeRowFormat(const SExportOptions& options, CExportSink& sink, bool tellsNull) {
  if (options.format == EExportFormat::JsonLines) return std::make_unique<CJsonLinesFormat>(sink, tellsNull);
  return std::make_unique<CCsvFormat>(options, sink, tellsNull);
}

}  // namespace tolvane
