#include "export/SqlScript.h"

#include "export/ByteText.h"
#include "platform/Text.h"

namespace tolvane {

namespace {

constexpr uint64_t kMostBytes = 256 * 1024;  // of rows in one statement, but for the last row
constexpr uint64_t kMostRows = 500;
constexpr size_t kScriptPiece = size_t{1} << 15;

}  // namespace

// Recovered names may hold line breaks, which would end the comment.
void CSqlScript::WriteComment(std::u16string_view text, CExportSink& sink) const {
  std::string line = ToUtf8(text);
  for (char& byte : line)
    if (static_cast<unsigned char>(byte) < ' ') byte = ' ';
  sink.Write("-- " + line + "\n");
}

void CSqlScript::WriteHead(CExportSink& sink) const {
  WriteComment(m_title, sink);
  switch (m_dialect.Get()) {
    case ESqlDialect::Sqlite:
      sink.Write("-- For SQLite: sqlite3 new.db < script.sql\n\nPRAGMA foreign_keys = OFF;\nBEGIN;\n");
      break;
    case ESqlDialect::PostgreSql:
      sink.Write(
          "-- For PostgreSQL: psql -d database -f script.sql\n\nSET client_encoding = 'UTF8';\n"
          "SET standard_conforming_strings = on;\nBEGIN;\n");
      break;
    case ESqlDialect::MySql:
      sink.Write(
          "-- For MySQL and MariaDB: mysql database < script.sql\n\nSET NAMES utf8mb4;\n"
          "SET sql_mode = 'NO_AUTO_VALUE_ON_ZERO,STRICT_ALL_TABLES';\n");
      break;
  }
}

EExportEnd CSqlScript::Write(CExportSink& sink) {
  WriteHead(sink);
  const bool isMySql = m_dialect.Is(ESqlDialect::MySql);
  for (const SSqlTable& table : m_schema.tables)
    sink.Write("\n" + m_text.CreateTable(table, m_schema.areRowsWhole) + ";\n");
  // There every definition ends a transaction.
  if (isMySql) sink.Write("\nSTART TRANSACTION;\n");
  m_counts.resize(m_schema.tables.size());
  for (size_t i = 0; i < m_counts.size(); ++i)
    if (const EExportEnd end = WriteRows(m_schema.tables[i], m_counts[i], sink); end != EExportEnd::Done)
      return end;
  sink.Write("\nCOMMIT;\n");
  WriteKeys(sink);
  WriteTail(sink);
  return sink.Close() ? EExportEnd::Done : EExportEnd::NotWritten;
}

EExportEnd CSqlScript::WriteRows(const SSqlTable& table, SSqlCount& count, CExportSink& sink) {
  const std::string insert = "\n" + m_text.InsertInto(table);
  CSqlRows rows(table);
  uint64_t inStatement = 0;
  const bool isOpen = rows.Open();
  while (isOpen && rows.ReadRow()) {
    if (m_watch.isStopped()) return EExportEnd::Stopped;
    if (!sink.GetProblem().empty()) return EExportEnd::NotWritten;
    if (inStatement == kMostRows || m_statementBytes > kMostBytes) {
      sink.Write(";");
      inStatement = 0;
    }
    if (inStatement++ == 0) {
      sink.Write(insert);
      m_statementBytes = 0;
    } else {
      sink.Write(",");
    }
    for (size_t i = 0; i < table.columns.size(); ++i) {
      sink.Write(i == 0 ? "\n(" : ",");
      WriteValue(rows, table, i, count, sink);
    }
    sink.Write(")");
    ++count.rows;
    m_watch.CountRow();
  }
  if (inStatement > 0) sink.Write(";\n");
  rows.AddLosses(count);
  return EExportEnd::Done;
}

void CSqlScript::WriteValue(const CSqlRows& rows, const SSqlTable& table, size_t column, SSqlCount& count,
                            CExportSink& sink) {
  const SValue& value = rows.GetValue(column);
  if (value.type == kTypeOle && !value.isNull) {
    CStoredBytes bytes;
    if (!bytes.Open(rows, table, column)) {
      sink.Write("NULL");
      ++count.lostValues;
      return;
    }
    if (!WriteBytes(bytes.Get(), sink) || bytes.IsDamaged()) ++count.changedValues;
    return;
  }
  m_literal.clear();
  switch (m_dialect.AppendLiteral(table.columns[column].type, value, m_literal)) {
    case ESqlFate::Kept:
      break;
    case ESqlFate::Changed:
      ++count.changedValues;
      break;
    case ESqlFate::Lost:
      ++count.lostValues;
      break;
  }
  m_statementBytes += m_literal.size();
  sink.Write(m_literal);
}

bool CSqlScript::WriteBytes(CDaoByteSource& bytes, CExportSink& sink) {
  m_piece.resize(kScriptPiece);
  bool isWhole = true;
  sink.Write(m_dialect.BytesBegin());
  for (size_t size = m_piece.size(); size == m_piece.size() && isWhole;) {
    isWhole = ReadPiece(bytes, m_piece, size);
    m_literal.clear();
    AppendHex({m_piece.data(), size}, m_literal);
    m_statementBytes += m_literal.size();
    sink.Write(m_literal);
  }
  sink.Write(m_dialect.BytesEnd());
  return isWhole;
}

void CSqlScript::WriteKeys(CExportSink& sink) const {
  const bool isSqlite = m_dialect.Is(ESqlDialect::Sqlite);
  const auto write = [&sink](const std::string& statement) { sink.Write("\n" + statement + ";"); };
  for (const SSqlTable& table : m_schema.tables) {
    if (!isSqlite)
      for (const std::string& statement : m_text.AddKey(table)) write(statement);
    else if (!m_schema.areRowsWhole && !table.key.columns.empty())
      write(m_text.CreateIndex(table, table.key, true));
    for (const SSqlIndex& index : table.indexes) write(m_text.CreateIndex(table, index, index.isUnique));
  }
  // When all keys are there.
  if (!isSqlite)
    for (const SSqlTable& table : m_schema.tables)
      for (const std::string& statement : m_text.AddReferences(table)) write(statement);
  sink.Write("\n");
}

void CSqlScript::WriteTail(CExportSink& sink) const {
  bool hasReferences = false;
  for (const SSqlTable& table : m_schema.tables) hasReferences = hasReferences || !table.references.empty();
  if (hasReferences && m_dialect.Is(ESqlDialect::Sqlite))
    sink.Write("\n-- Shows records that refer to none, one a line.\nPRAGMA foreign_key_check;\n");
  if (!m_schema.remarks.empty()) sink.Write("\n");
  for (const std::u16string& remark : m_schema.remarks) WriteComment(remark, sink);
}

}  // namespace tolvane
