#include "cli/RowFormat.h"

#include <algorithm>
#include <unordered_set>

#include "cli/JsonOutput.h"
#include "platform/Text.h"

namespace tolvane {

namespace {

bool NeedsQuotes(std::u16string_view text) {
  return std::any_of(text.begin(), text.end(), [](char16_t unit) {
    return unit == u',' || unit == u'"' || unit == u'\r' || unit == u'\n';
  });
}

void AppendQuoted(std::u16string_view text, std::string& out) {
  out += '"';
  for (size_t quote = text.find(u'"'); quote != std::u16string_view::npos; quote = text.find(u'"')) {
    AppendUtf8(text.substr(0, quote + 1), out);
    out += '"';
    text.remove_prefix(quote + 1);
  }
  AppendUtf8(text, out);
  out += '"';
}

}  // namespace

void CCsvFormat::WriteHeader(const std::vector<std::u16string>& columns) {
  m_columnCount = columns.size();
  BeginRow();
  for (const std::u16string& column : columns) WriteText(column);
  EndRow();
}

void CCsvFormat::WriteText(std::u16string_view text) {
  m_cell.clear();
  if (m_column++ > 0) m_cell += ',';
  // Without null the quotes of an empty cell tell a row with one column from an empty line.
  const bool isQuotedEmpty = text.empty() && (m_tellsNull || m_columnCount == 1);
  if (isQuotedEmpty || NeedsQuotes(text))
    AppendQuoted(text, m_cell);
  else
    AppendUtf8(text, m_cell);
  m_sink.Write(m_cell);
}

void CCsvFormat::WriteNull() {
  if (m_column++ > 0) m_sink.Write(",");
}

void CCsvFormat::BeginBytes() {
  if (m_column++ > 0) m_sink.Write(",");
}

void CJsonLinesFormat::WriteHeader(const std::vector<std::u16string>& columns) {
  std::unordered_set<std::u16string> taken;
  for (const std::u16string& column : columns) {
    std::u16string name = column;
    for (int number = 2; !taken.insert(name).second; ++number) name = column + u"_" + ToDecimal(number);
    std::string& key = m_keys.emplace_back();
    AppendJsonString(name, key);
    key += ":";
  }
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

std::unique_ptr<CRowFormat> MakeRowFormat(EExportFormat format, CExportSink& sink, bool tellsNull) {
  if (format == EExportFormat::JsonLines) return std::make_unique<CJsonLinesFormat>(sink, tellsNull);
  return std::make_unique<CCsvFormat>(sink, tellsNull);
}

}  // namespace tolvane
