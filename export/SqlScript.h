// One SQL script of the recovered tables: definitions, rows, then keys, indexes and foreign keys, each as a
// statement of its own, so that one which the rows break costs itself and no row.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "export/ExportSink.h"
#include "export/SqlRows.h"
#include "export/SqlText.h"

namespace tolvane {

class CSqlScript {
 public:
  // All outlive this object. `title` is told in the script's head.
  CSqlScript(const SSqlSchema& schema, const CSqlDialect& dialect, std::u16string_view title,
             SExportWatch watch)
      : m_schema(schema),
        m_dialect(dialect),
        m_text(schema, dialect),
        m_title(title),
        m_watch(std::move(watch)) {}

  EExportEnd Write(CExportSink& sink);
  // By table of the schema.
  [[nodiscard]] const std::vector<SSqlCount>& GetCounts() const { return m_counts; }

 private:
  void WriteHead(CExportSink& sink) const;
  EExportEnd WriteRows(const SSqlTable& table, SSqlCount& count, CExportSink& sink);
  void WriteValue(const CSqlRows& rows, const SSqlTable& table, size_t column, SSqlCount& count,
                  CExportSink& sink);
  bool WriteBytes(CDaoByteSource& bytes, CExportSink& sink);
  void WriteKeys(CExportSink& sink) const;
  void WriteTail(CExportSink& sink) const;
  void WriteComment(std::u16string_view text, CExportSink& sink) const;

  const SSqlSchema& m_schema;
  const CSqlDialect& m_dialect;
  const CSqlText m_text;
  const std::u16string m_title;
  const SExportWatch m_watch;
  std::vector<SSqlCount> m_counts;
  uint64_t m_statementBytes = 0;  // of rows in the statement that is open
  std::string m_literal;
  std::vector<uint8_t> m_piece;
};

}  // namespace tolvane
