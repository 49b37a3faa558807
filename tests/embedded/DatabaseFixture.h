// A database in a file of its own, made through the operations that the writer uses.
#pragma once

#include <gtest/gtest.h>

#include <map>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "checker/DatabaseCheck.h"
#include "embedded/EmbeddedEngine.h"
#include "format/SystemTables.h"
#include "render/ValueParser.h"
#include "tests/embedded/StoredTable.h"
#include "tests/platform/ScratchFolder.h"

namespace tolvane::test {

struct SField {
  std::u16string name;
  int16_t type = kDaoText;
  int32_t size = 0;
  int32_t attributes = 0;
  std::u16string defaultValue = {};
};
const SField kCounter = {u"Id", kDaoLong, 4, kDaoFixedField | kDaoAutoIncrement};

using Texts = std::vector<std::u16string>;

inline std::string LittleEndian(uint64_t value, size_t size) {
  std::string bytes;
  for (size_t i = 0; i < size; i++) bytes += static_cast<char>(value >> 8 * i & 0xFF);
  return bytes;
}

// SELECT expression FROM source.
inline SSavedQuery MakeQuery(std::u16string_view name, std::u16string_view source,
                             std::u16string_view expression) {
  SSavedQuery query{std::u16string(name), 0, {}, {}};
  query.rows = {{kQueryStart, 0, {}, {}, {}, {}},
                {kQueryKind, kKindSelect, {}, {}, {}, {}},
                {kQuerySource, {}, std::u16string(source), {}, {}, {}},
                {kQueryColumn, 0, {}, {}, std::u16string(expression), {}},
                {kQueryEnd, {}, {}, {}, {}, {}}};
  return query;
}

// `length` bytes that repeat late; handed over in pieces of odd sizes, as a file on a slow disk might.
class CPatternSource : public CDaoByteSource {
 public:
  explicit CPatternSource(uint64_t length, uint64_t failAt = UINT64_MAX)
      : m_length(length), m_failAt(failAt) {}
  static char ByteAt(uint64_t i) { return static_cast<char>((i * 7 + (i >> 8)) & 0xFF); }
  static std::string Expected(uint64_t length) {
    std::string bytes;
    for (uint64_t i = 0; i < length; i++) bytes += ByteAt(i);
    return bytes;
  }
  bool Read(std::span<uint8_t> buffer, size_t& bytesRead) override {
    bytesRead = 0;
    if (m_position >= m_failAt) return false;
    for (; bytesRead < buffer.size() && bytesRead < 999 && m_position < m_length; m_position++)
      buffer[bytesRead++] = static_cast<uint8_t>(ByteAt(m_position));
    return true;
  }
  [[nodiscard]] uint64_t GetLength() const override { return m_length; }

 private:
  uint64_t m_length, m_failAt, m_position = 0;
};

// Names differ by more than the case of their letters.
inline std::u16string Lower(std::u16string_view name) {
  std::u16string lower(name);
  for (char16_t& unit : lower)
    if (unit >= u'A' && unit <= u'Z') unit = static_cast<char16_t>(unit + 32);
  return lower;
}

class DatabaseFixture : public ::testing::Test {
 protected:
  void Create(const SEmbeddedLimits& limits = {}) {
    m_engine = MakeEmbeddedEngine(limits);
    ExpectOk(m_engine->CreateDatabase(m_path, u";LANGID=0x0409;CP=1252;COUNTRY=0", m_version, m_database));
  }
  void Reopen() {
    if (m_recordset) ExpectOk(CloseTable());
    ExpectOk(m_database->Close());
    ExpectOk(m_engine->OpenDatabase(m_path, false, false, u"", m_database));
  }
  std::unique_ptr<CDaoTableDef> NewTable(std::u16string_view name, const std::vector<SField>& fields = {}) {
    std::unique_ptr<CDaoTableDef> table;
    ExpectOk(m_database->CreateTableDef(name, 0x10000, u"", u"", table));
    for (const SField& field : fields) {
      ExpectOk(table->CreateField(
          {field.name, field.type, field.size, field.attributes, false, false, field.defaultValue}));
      m_types[Lower(name)].push_back(field.type);
    }
    return table;
  }
  CDaoResult AddTable(std::u16string_view name, const std::vector<SField>& fields,
                      const std::vector<CDaoIndexInfo>& indexes = {}) {
    const std::unique_ptr<CDaoTableDef> table = NewTable(name, fields);
    for (const CDaoIndexInfo& index : indexes) ExpectOk(table->CreateIndex(index));
    return table->Append();
  }
  void OpenTable(std::u16string_view name) {
    if (m_recordset) ExpectOk(CloseTable());
    m_open = m_types[Lower(name)];
    ExpectOk(
        m_database->OpenRecordset(std::u16string(u"SELECT * FROM [").append(name).append(u"]"), m_recordset));
  }
  CDaoResult CloseTable() {
    CDaoResult result = m_recordset->Close();
    m_recordset.reset();
    return result;
  }
  // One value, spelled as a text.
  CDaoResult SetText(size_t field, std::u16string_view text) {
    SValue value;
    const uint8_t type = field < m_open.size() ? ColumnTypeOfField(m_open[field]) : uint8_t{kTypeText};
    if (!m_parser.Parse(type, text, value)) return {EDaoError::DataConversion, std::u16string(text)};
    return m_recordset->SetFieldValue(field, value);
  }
  // A new record with these values; u"-" leaves a field alone.
  CDaoResult AddRow(const Texts& values) {
    if (CDaoResult result = m_recordset->AddNew(); !result.IsOk()) return result;
    for (size_t i = 0; i < values.size(); i++)
      if (values[i] != u"-")
        if (CDaoResult result = SetText(i, values[i]); !result.IsOk()) return result;
    return m_recordset->Update();
  }
  // Records into a table that is open for that long only; answers what closing it says.
  CDaoResult AddRows(std::u16string_view table, const std::vector<Texts>& rows) {
    OpenTable(table);
    for (const Texts& row : rows) ExpectOk(AddRow(row));
    return CloseTable();
  }
  // Closes everything; the file must be sound.
  void CloseAndCheck() {
    if (m_recordset) ExpectOk(CloseTable());
    ExpectOk(m_database->Close());
    const SCheckReport report = CheckDatabase(m_path);
    EXPECT_EQ(report.verdict, ECheckVerdict::Checked);
    for (const SFinding& finding : report.findings)
      ADD_FAILURE() << finding.rule << " " << ToUtf8(finding.table) << ": " << ToUtf8(finding.text);
  }
  SStoredTable CloseAndRead(std::u16string_view table) {
    CloseAndCheck();
    return Read(table);
  }

  [[nodiscard]] SStoredTable Read(std::u16string_view table) const { return ReadStoredTable(m_path, table); }
  // The values of each row by column number.
  [[nodiscard]] static std::vector<std::vector<Value>> Rows(const SStoredTable& table) {
    std::vector<std::vector<Value>> rows;
    for (const std::vector<Value>& stored : table.rows) {
      rows.emplace_back(stored.size());
      for (size_t i = 0; i < stored.size(); i++) rows.back()[table.columns[i].number] = stored[i];
    }
    return rows;
  }
  // The row of the catalogue.
  [[nodiscard]] std::vector<Value> Object(std::u16string_view name) const {
    for (const std::vector<Value>& object : Rows(Read(u"MSysObjects")))
      if (Text(object[kObjectsName]) == name) return object;
    return {};
  }
  [[nodiscard]] std::u16string Text(const Value& value) const { return TextOf(value, IsJet3()); }
  [[nodiscard]] bool IsJet3() const { return m_version == kDaoVersionJet3; }
  [[nodiscard]] bool IsAce() const { return m_version == kDaoVersionAce; }
  // What a new database has.
  [[nodiscard]] uint32_t EmptyPages() const { return IsJet3() ? 20 : IsAce() ? 42 : 19; }
  [[nodiscard]] size_t EmptyObjects() const { return IsAce() ? 18 : 8; }
  [[nodiscard]] size_t PageSize() const { return IsJet3() ? 2048 : 4096; }
  [[nodiscard]] size_t PageCount() const { return ReadText(m_path).size() / PageSize(); }
  [[nodiscard]] std::string Page(uint32_t page) const {
    return ReadText(m_path).substr(page * PageSize(), PageSize());
  }
  // The bytes of a row of any page with slots.
  [[nodiscard]] std::string Row(uint32_t pointer) const {
    const std::string page = Page(pointer >> 8);
    const auto slotAt = [&](size_t row) {
      const size_t at = (IsJet3() ? 10 : 14) + 2 * row;
      return static_cast<uint8_t>(page[at]) + static_cast<uint8_t>(page[at + 1]) % 32 * size_t{256};
    };
    const size_t row = pointer & 0xFF, end = row == 0 ? PageSize() : slotAt(row - 1);
    return page.substr(slotAt(row), end - slotAt(row));
  }
  static void ExpectOk(const CDaoResult& result) {
    EXPECT_EQ(result.code, EDaoError::None) << ToUtf8(result.text);
  }

  const CScratchFolder m_folder;  // goes last
  const std::u16string m_path = m_folder / u"made.mdb";
  int32_t m_version = kDaoVersionJet4;
  CValueParser m_parser;
  std::map<std::u16string, std::vector<int16_t>> m_types;  // of each table's fields
  std::vector<int16_t> m_open;                             // of the table that is open
  std::unique_ptr<CDaoEngine> m_engine;
  std::unique_ptr<CDaoDatabase> m_database;
  std::unique_ptr<CDaoRecordset> m_recordset;
};

// The same test over all formats.
class AllFormats : public DatabaseFixture, public ::testing::WithParamInterface<int32_t> {
 protected:
  AllFormats() { m_version = GetParam(); }
};
inline const auto kAllFormats = ::testing::Values(kDaoVersionJet3, kDaoVersionJet4, kDaoVersionAce);
inline std::string FormatName(const ::testing::TestParamInfo<int32_t>& info) {
  return info.param == kDaoVersionJet3 ? "Jet3" : info.param == kDaoVersionJet4 ? "Jet4" : "Ace";
}

}  // namespace tolvane::test
