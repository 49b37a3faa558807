#include "export/SqliteFile.h"

#include <algorithm>
#include <charconv>
#include <utility>

#include "export/JsonText.h"
#include "export/SqliteViews.h"
#include "platform/FileCust.h"
#include "platform/Text.h"
#include "render/ExactText.h"
#include "writer/SafeName.h"

namespace tolvane {

namespace {

// False for what is no number.
template <class T>
bool TakeNumber(std::u16string_view digits, T& value) {
  const std::string text = ToUtf8(digits);
  const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), value);
  return error == std::errc() && end == text.data() + text.size();
}

}  // namespace

EExportEnd CSqliteFile::End(const CSqliteDatabase& database) {
  m_problem = database.GetProblem();
  return m_watch.isStopped() || database.GetCode() == kSqliteInterrupted ? EExportEnd::Stopped
                                                                         : EExportEnd::NotWritten;
}

EExportEnd CSqliteFile::Write(std::u16string_view path) {
  const EExportEnd end = WriteOnce(path);
  // Foreign keys are part of their tables, and one to a key that is gone would be none: once more without.
  if (end != EExportEnd::Done || !DropReferences()) return end;
  m_problem = WriteWholeFile(path, EFileShare::None, EFileCreation::CreateAlways, {});
  return m_problem.empty() ? WriteOnce(path) : EExportEnd::NotWritten;
}

EExportEnd CSqliteFile::WriteOnce(std::u16string_view path) {
  CSqliteDatabase database(m_functions, m_watch.isStopped);
  m_counts.assign(m_schema.tables.size(), {});
  if (!database.Open(path)) return End(database);
  for (size_t i = 0; i < m_schema.tables.size(); ++i)
    if (!WriteTable(database, i)) return End(database);
  if (!CheckReferences(database)) return End(database);
  if (!CSqliteViews(database, m_schema).Write(m_data) || !database.Close()) return End(database);
  return m_watch.isStopped() ? EExportEnd::Stopped : EExportEnd::Done;
}

bool CSqliteFile::WriteTable(CSqliteDatabase& database, size_t position) {
  SSqlTable& table = m_schema.tables[position];
  const bool hasKey = !table.key.columns.empty();
  bool isWritten = database.Execute("BEGIN") && database.Execute(m_text.CreateTable(table, true)) &&
                   WriteRows(database, table, m_counts[position]);
  if (!isWritten && hasKey && database.GetCode() == kSqliteConstraint) {
    WeakenKey(table);
    m_counts[position] = {};
    isWritten = database.Execute("ROLLBACK") && database.Execute("BEGIN") &&
                database.Execute(m_text.CreateTable(table, false)) &&
                WriteRows(database, table, m_counts[position]);
  }
  return isWritten && database.Execute("COMMIT") && WriteIndexes(database, table);
}

void CSqliteFile::WeakenKey(SSqlTable& table) {
  m_areKeysWhole = false;
  m_schema.remarks.push_back(u"Table " + Quoted(FromUtf8(table.name)) +
                             u" has no primary key: several records have the same one.");
  table.indexes.insert(table.indexes.begin(), std::exchange(table.key, {}));
  table.indexes.front().isUnique = false;
  table.isKeyRowNumber = false;
}

bool CSqliteFile::WriteIndexes(CSqliteDatabase& database, SSqlTable& table) {
  for (SSqlIndex& index : table.indexes) {
    if (database.Execute(m_text.CreateIndex(table, index, index.isUnique))) continue;
    if (database.GetCode() != kSqliteConstraint || !index.isUnique) return false;
    index.isUnique = false;
    m_areKeysWhole = false;
    m_schema.remarks.push_back(u"Index " + Quoted(FromUtf8(index.name)) +
                               u" is not unique: several records have the same values.");
    if (!database.Execute(m_text.CreateIndex(table, index, false))) return false;
  }
  return true;
}

bool CSqliteFile::WriteRows(CSqliteDatabase& database, const SSqlTable& table, SSqlCount& count) {
  std::string values;
  for (size_t i = 0; i < table.columns.size(); ++i) values += i == 0 ? " (?" : ",?";
  CSqliteStatement insert(database);
  if (!insert.Prepare(m_text.InsertInto(table) + values + ")")) return false;
  m_texts.resize(table.columns.size());
  StoredObjects objects;
  CSqlRows rows(table);
  const bool isOpen = rows.Open();
  while (isOpen && rows.ReadRow()) {
    if (m_watch.isStopped()) return false;
    if (!WriteRow(insert, rows, table, objects, count) || !FillBlobs(database, table, objects, count))
      return false;
    ++count.rows;
    m_watch.CountRow();
  }
  rows.AddLosses(count);
  return true;
}

bool CSqliteFile::WriteRow(CSqliteStatement& insert, const CSqlRows& rows, const SSqlTable& table,
                           StoredObjects& objects, SSqlCount& count) {
  objects.clear();
  objects.resize(table.columns.size());
  for (size_t i = 0; i < table.columns.size(); ++i) {
    const SValue& value = rows.GetValue(i);
    ESqlFate fate = ESqlFate::Kept;
    bool isBound = false;
    if (value.isNull) {
      isBound = insert.BindNull(i);
    } else if (value.type == kTypeOle) {
      // The room for the bytes, which are written when the row is there.
      auto bytes = std::make_unique<CStoredBytes>();
      isBound = bytes->Open(rows, table, i) && insert.BindZeros(i, bytes->Get().GetLength());
      if (isBound) objects[i] = std::move(bytes);
    } else {
      isBound = Bind(insert, i, table.columns[i], value, fate);
    }
    if (fate == ESqlFate::Changed) ++count.changedValues;
    if (isBound) continue;
    ++count.lostValues;
    insert.BindNull(i);
  }
  return insert.Run();
}

bool CSqliteFile::Bind(CSqliteStatement& insert, size_t column, const SSqlColumn& to, const SValue& value,
                       ESqlFate& fate) {
  if (value.type == kTypeBoolean && !IsTextType(to.type.type))
    return insert.BindInteger(column, value.bytes[0] != 0);
  if (FamilyOf(value.type) == EFamily::Bytes) return insert.BindBytes(column, value.bytes);
  MakeExactText(value, m_digits);
  int64_t whole = 0;
  double real = 0;
  bool isReal = false;
  switch (IsTextType(to.type.type) ? uint8_t{kTypeText} : value.type) {
    case kTypeByte:
    case kTypeInteger:
    case kTypeLong:
    case kTypeComplex:
    case kTypeBigInt:
      return TakeNumber(m_digits, whole) && insert.BindInteger(column, whole);
    case kTypeCurrency:
    case kTypeDecimal:
      isReal = FitsDouble(m_digits);
      break;
    case kTypeSingle:
    case kTypeDouble:
      isReal = true;
      break;
    case kTypeDate:
      isReal = !MakeIsoDate(m_digits, u' ');
      break;
    case kTypeExtendedDate:
      MakeIsoDate(m_digits, u' ');
      break;
    default:
      if (HasHalfPair(m_digits)) fate = ESqlFate::Changed;
      break;
  }
  if (isReal && m_digits != u"nan" && TakeNumber(m_digits, real)) return insert.BindReal(column, real);
  m_texts[column].clear();
  AppendUtf8(m_digits, m_texts[column]);
  return insert.BindText(column, m_texts[column]);
}

bool CSqliteFile::FillBlobs(CSqliteDatabase& database, const SSqlTable& table, const StoredObjects& objects,
                            SSqlCount& count) {
  for (size_t i = 0; i < objects.size(); ++i) {
    if (!objects[i]) continue;
    CStoredBytes& bytes = *objects[i];
    const auto length = static_cast<size_t>(bytes.Get().GetLength());
    if (length == 0) continue;
    const int64_t row = m_functions.last_insert_rowid(database.GetHandle());
    bool isWhole = true;
    if (!database.FillBlob(table.name, table.columns[i].name, row, bytes.Get(), length, isWhole))
      return false;
    if (!isWhole || bytes.IsDamaged()) ++count.changedValues;
  }
  return true;
}

// True when there was one to a key that is unique no more.
bool CSqliteFile::DropReferences() {
  bool isDropped = false;
  const auto isLost = [this](const SSqlReference& reference) {
    const SSqlTable& parent = m_schema.tables[reference.parent];
    const auto holds = [&reference](const SSqlIndex& index) {
      return index.isUnique && index.columns == reference.parentColumns;
    };
    return !holds(parent.key) && std::ranges::none_of(parent.indexes, holds);
  };
  for (SSqlTable& table : m_schema.tables)
    for (size_t i = table.references.size(); i-- > 0;) {
      if (!isLost(table.references[i])) continue;
      m_schema.remarks.push_back(u"Relationship " + Quoted(FromUtf8(table.references[i].name)) +
                                 u" is no foreign key: the key that it refers to is not unique.");
      table.references.erase(table.references.begin() + static_cast<ptrdiff_t>(i));
      isDropped = true;
    }
  return isDropped;
}

bool CSqliteFile::CheckReferences(CSqliteDatabase& database) {
  for (const SSqlTable& table : m_schema.tables) {
    if (table.references.empty()) continue;
    uint64_t loose = 0;
    // Where the other key is not unique there is no answer; the foreign key goes.
    if (!database.Query("PRAGMA foreign_key_check(" + m_dialect.QuoteName(table.name) + ")",
                        [&loose](std::string_view) { ++loose; })) {
      if (database.GetCode() == kSqliteInterrupted) return false;
      continue;
    }
    if (loose == 0) continue;
    m_areKeysWhole = false;
    m_schema.remarks.push_back(u"Table " + Quoted(FromUtf8(table.name)) + u": " + ToDecimal(loose) +
                               u" of its references lead to no record; its foreign keys stay all the same.");
  }
  return true;
}

}  // namespace tolvane
