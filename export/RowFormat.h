// The text forms of exported rows: CSV after RFC 4180, and JSON lines. UTF-8 both.
#pragma once

#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "export/ExportOptions.h"
#include "export/ExportSink.h"

namespace tolvane {

// Calls in this order: WriteHeader, then for each row BeginRow, one cell a column, EndRow. A cell is a
// WriteText, WriteValue (no text of a user's) or WriteNull, or BeginBytes, hexadecimal or base64 digits
// written to the sink, EndBytes. What cannot be written shows in the sink. Where null is told from an empty
// text, CSV has nothing for the one and quotes for the other.
class CRowFormat {
 public:
  CRowFormat(CExportSink& sink, bool tellsNull) : m_sink(sink), m_tellsNull(tellsNull) {}
  virtual ~CRowFormat() = default;

  virtual void WriteHeader(const std::vector<std::u16string>& columns) = 0;
  virtual void BeginRow() = 0;
  virtual void WriteText(std::u16string_view text) = 0;
  virtual void WriteValue(std::u16string_view text) { WriteText(text); }
  // Only where it is told from an empty text.
  virtual void WriteNull() = 0;
  virtual void BeginBytes() = 0;
  virtual void EndBytes() = 0;
  virtual void EndRow() = 0;

 protected:
  CExportSink& m_sink;
  const bool m_tellsNull;
};

class CCsvFormat : public CRowFormat {
 public:
  CCsvFormat(const SExportOptions& options, CExportSink& sink, bool tellsNull)
      : CRowFormat(sink, tellsNull), m_options(options) {}
  void WriteHeader(const std::vector<std::u16string>& columns) override;
  void BeginRow() override { m_column = 0; }
  void WriteText(std::u16string_view text) override;
  void WriteValue(std::u16string_view text) override;
  void WriteNull() override;
  void BeginBytes() override;
  void EndBytes() override {}
  void EndRow() override { m_sink.Write("\r\n"); }

 private:
  // Behind what m_text holds already.
  void WriteCell(std::u16string_view text);
  [[nodiscard]] bool NeedsQuotes() const;

  const SExportOptions& m_options;
  size_t m_column = 0;
  size_t m_columnCount = 0;
  std::string m_text, m_cell;
};

// One object a row, all values texts.
class CJsonLinesFormat : public CRowFormat {
 public:
  using CRowFormat::CRowFormat;
  void WriteHeader(const std::vector<std::u16string>& columns) override;
  void BeginRow() override;
  void WriteText(std::u16string_view text) override;
  void WriteNull() override;
  void BeginBytes() override;
  void EndBytes() override { m_sink.Write("\""); }
  void EndRow() override { m_sink.Write("}\n"); }

 private:
  void WriteKey();

  std::vector<std::string> m_keys;  // with quotes and colon
  size_t m_column = 0;
  std::string m_cell;
};

// With quotes and colon. Columns of the same name are told apart by "_2", "_3", ...
std::vector<std::string> MakeJsonKeys(const std::vector<std::u16string>& columns);

// CSV or JSON lines; the options outlive the format.
std::unique_ptr<CRowFormat> MakeRowFormat(const SExportOptions& options, CExportSink& sink, bool tellsNull);

}  // namespace tolvane
