// What only ACE files have: complex columns, newer types, calculated columns; and properties and links, which
// the catalogue of every format holds.
#include <gtest/gtest.h>

#include <cstring>

#include "format/PropertyBlob.h"
#include "format/SystemTables.h"
#include "tests/embedded/DatabaseFixture.h"

namespace tolvane::test {
namespace {

std::string Wide(std::string_view text) {
  std::string bytes;
  for (const char unit : text) bytes += {unit, '\0'};
  return bytes;
}

class Ace : public DatabaseFixture {
 protected:
  Ace() {
    m_version = kDaoVersionAce;
    Create();
  }
  CDaoResult MakeTable(std::u16string_view name, const std::vector<CDaoFieldInfo>& fields) {
    std::unique_ptr<CDaoTableDef> table;
    ExpectOk(m_database->CreateTableDef(name, 0, u"", u"", table));
    for (const CDaoFieldInfo& field : fields) ExpectOk(table->CreateField(field));
    return table->Append();
  }
  CDaoResult Set(size_t field, uint8_t type, std::string_view bytes, uint8_t scale = 0) {
    SValue value;
    value.type = type;
    value.scale = scale;
    value.isNull = false;
    value.bytes = {reinterpret_cast<const uint8_t*>(bytes.data()), bytes.size()};
    return m_recordset->SetFieldValue(field, value);
  }
  void OpenValues(std::u16string_view field) {
    if (m_recordset) ExpectOk(CloseTable());
    ExpectOk(m_database->OpenComplexRecordset(u"People", field, m_recordset));
  }
  // A record of the catalogue, by column number.
  std::vector<Value> Object(std::u16string_view name) {
    const SStoredTable objects = Read(u"MSysObjects");
    std::vector<Value> found(objects.columns.size());
    for (size_t row = 0; row < objects.rows.size(); row++)
      for (size_t i = 0; i < objects.columns.size(); i++)
        if (objects.columns[i].name == u"Name" && Text(objects.rows[row][i]).starts_with(name))
          for (size_t k = 0; k < objects.columns.size(); k++)
            found[objects.columns[k].number] = objects.rows[row][k];
    return found;
  }
  // By column number.
  std::vector<std::vector<Value>> Rows(const SStoredTable& table) {
    std::vector<std::vector<Value>> rows;
    for (const std::vector<Value>& stored : table.rows) {
      rows.emplace_back(stored.size());
      for (size_t i = 0; i < stored.size(); i++) rows.back()[table.columns[i].number] = stored[i];
    }
    return rows;
  }
};

CDaoFieldInfo Field(std::u16string name, int16_t type) {
  CDaoFieldInfo field;
  field.name = std::move(name);
  field.type = type;
  return field;
}

TEST_F(Ace, ComplexColumnsAndVersionsHaveTheirFlatTables) {
  CDaoFieldInfo story = Field(u"Story", kDaoMemo), files = Field(u"Files", kDaoAttachment);
  story.keepsHistory = true;
  files.lastNumber = 6;
  ExpectOk(MakeTable(u"People", {Field(u"Name", kDaoText), files, story, Field(u"Tags", kDaoComplexText)}));
  Reopen();
  ExpectOk(m_database->OpenRecordset(u"SELECT * FROM [People]", m_recordset));
  ExpectOk(m_recordset->AddNew());
  ExpectOk(Set(0, kTypeText, Wide("Ann")));
  ExpectOk(m_recordset->Update());  // has the number 7
  ExpectOk(m_recordset->AddNew());
  ExpectOk(Set(1, kTypeLong, LittleEndian(9, 4)));  // so has the other complex column
  ExpectOk(Set(2, kTypeMemo, Wide("now")));
  ExpectOk(m_recordset->Update());
  OpenValues(u"Tags");
  ExpectOk(m_recordset->AddNew());
  ExpectOk(Set(0, kTypeText, Wide("red")));
  ExpectOk(Set(2, kTypeLong, LittleEndian(9, 4)));
  ExpectOk(m_recordset->Update());
  OpenValues(u"Story");
  ExpectOk(m_recordset->AddNew());
  ExpectOk(Set(0, kTypeMemo, Wide("before")));
  ExpectOk(Set(1, kTypeDate, LittleEndian(0x40E0000000000000, 8)));
  ExpectOk(Set(3, kTypeLong, LittleEndian(9, 4)));
  ExpectOk(m_recordset->Update());
  OpenValues(u"Files");
  CPatternSource content(10000);
  ExpectOk(m_recordset->AddNew());
  ExpectOk(m_recordset->SetFieldValue(0, content));
  ExpectOk(Set(2, kTypeText, Wide("a.txt")));
  ExpectOk(Set(7, kTypeLong, LittleEndian(7, 4)));
  ExpectOk(m_recordset->Update());
  CloseAndCheck();  // also proves that table, list and flat tables fit together

  const auto people = Rows(Read(u"People"));
  ASSERT_EQ(people.size(), 2u);
  for (const size_t complex : {1u, 3u, 4u}) {  // the last one, which nobody sees, leads to the versions
    EXPECT_EQ(people[0][complex], LittleEndian(7, 4));
    EXPECT_EQ(people[1][complex], LittleEndian(9, 4));
  }
  EXPECT_EQ(Page(Read(u"People").page).substr(28, 4), LittleEndian(9, 4)) << "the last number given out";
  EXPECT_EQ(Object(u"People")[kObjectsFlags], LittleEndian(kHasComplexColumnsFlag, 4));
  size_t found = 0;
  for (const std::vector<Value>& object : Rows(Read(u"MSysObjects"))) {
    const std::u16string name = Text(object[kObjectsName]);
    if (object[kObjectsFlags] != LittleEndian(kFlatTableFlags, 4)) continue;
    found++;
    const auto rows = Rows(Read(name));
    ASSERT_EQ(rows.size(), 1u);
    if (name.ends_with(u"_Tags")) {
      EXPECT_EQ(Text(rows[0][0]), u"red");
      EXPECT_EQ(rows[0][1], LittleEndian(1, 4)) << "the record's own number";
    } else if (name.ends_with(u"_Files")) {
      EXPECT_EQ(rows[0][0], CPatternSource::Expected(10000));
      EXPECT_EQ(rows[0][7], LittleEndian(7, 4));
    } else {
      EXPECT_EQ(Text(rows[0][0]), u"before");
      EXPECT_EQ(rows[0][3], LittleEndian(9, 4));
    }
  }
  EXPECT_EQ(found, 3u);
}

TEST_F(Ace, NewerTypesAndCalculatedColumnsKeepTheirBytes) {
  CDaoFieldInfo decimal = Field(u"Decimal", kDaoDecimal), twice = Field(u"Twice", kDaoLong),
                sum = Field(u"Sum", kDaoDecimal), fixed = Field(u"Fixed", kDaoText),
                binary = Field(u"Binary", kDaoBinary), note = Field(u"Note", kDaoMemo);
  decimal.scale = 2;
  sum.expression = twice.expression = note.expression = u"[Big]*2";
  fixed.attributes = kDaoFixedField;
  fixed.size = 3;
  const std::string day = "0000000000000737954:0000000459000000000:7" + std::string(1, '\0');
  const std::string amount = '\x80' + std::string(12, '\0') + LittleEndian(50325000, 4);
  ExpectOk(MakeTable(u"T", {Field(u"Big", kDaoBigInt), Field(u"Day", kDaoExtendedDate), decimal, twice, sum,
                            fixed, binary, note, Field(u"Text", kDaoMemo)}));
  ExpectOk(m_database->OpenRecordset(u"SELECT * FROM [T]", m_recordset));
  ExpectOk(m_recordset->AddNew());
  ExpectOk(Set(0, kTypeBigInt, LittleEndian(42, 8)));
  ExpectOk(Set(1, kTypeExtendedDate, day));
  EXPECT_EQ(Set(2, kTypeDecimal, amount, 6).code, EDaoError::DataConversion) << "another scale";
  ExpectOk(Set(2, kTypeDecimal, amount, 2));
  ExpectOk(Set(3, kTypeLong, LittleEndian(12, 4)));
  ExpectOk(Set(4, kTypeDecimal, amount, 6));
  ExpectOk(Set(5, kTypeText, Wide("N")));
  ExpectOk(Set(6, kTypeBinary, std::string("\0\xFF", 2)));
  CPatternSource units(20000);
  ExpectOk(m_recordset->SetFieldValue(8, units));
  ExpectOk(m_recordset->Update());
  const auto row = Rows(CloseAndRead(u"T")).front();
  EXPECT_EQ(row[0], LittleEndian(42, 8));
  EXPECT_EQ(row[1], day);
  EXPECT_EQ(row[2], amount);
  const std::string zeros(16, '\0');
  EXPECT_EQ(row[3], zeros + LittleEndian(4, 4) + LittleEndian(12, 4) + std::string(3, '\0'));
  EXPECT_EQ(row[4], zeros + LittleEndian(16, 4) + std::string("\0\0\x06\x80", 4) + LittleEndian(0, 4) +
                        LittleEndian(50325000, 8) + std::string(3, '\0'));
  EXPECT_EQ(row[5], Wide("N  "));
  EXPECT_EQ(row[6], std::string("\0\xFF", 2));
  EXPECT_EQ(row[7], std::string(23, '\0')) << "a calculated value that is null";
  EXPECT_EQ(row[8], CPatternSource::Expected(20000)) << "a memo that came piece by piece";
  EXPECT_EQ(Page(0)[0x14], 6) << "the version that extended dates need";
}

// A file of the order "General" keeps it where all weights are known for certain.
TEST_F(Ace, TheNewerSortOrderGivesWayWhereItsWeightsAreNotKnown) {
  ExpectOk(m_database->Close());
  for (const bool isNameKnown : {true, false}) {
    RemoveFile(m_path);
    ExpectOk(m_engine->CreateDatabase(m_path, u";LANGID=0x01000409", kDaoVersionAce, m_database));
    const std::vector<CDaoIndexInfo> key{{.name = u"K", .fields = {{u"N"}}, .unique = true}};
    ExpectOk(AddTable(u"Plain", {{u"N"}, {u"M"}}, key));
    ExpectOk(AddTable(isNameKnown ? u"Town" : u"D\u00F6rfer", {{u"N"}}, key));
    ExpectOk(AddRows(u"Plain", {{u"a-b 1", u"\u00FC"}}));
    const CDaoResult closed = AddRows(isNameKnown ? u"Town" : u"D\u00F6rfer", {{u"a-b 1"}, {u"Z\u00FCrich"}});
    EXPECT_EQ(ToUtf8(closed.text),
              "Field \"N\" sorts by the order General Legacy: its own is not known for all its texts.");
    EXPECT_EQ(m_database->Close().text.empty(), isNameKnown);
    CloseAndCheck();
    const uint8_t version = isNameKnown ? 1 : 0;
    EXPECT_EQ(Read(u"MSysObjects").columns[0].order.version, version);
    EXPECT_EQ(Read(u"MSysComplexType_Text").columns[0].order.version, version);
    EXPECT_EQ(Read(u"Plain").columns[0].order.version, 1);
    EXPECT_EQ(static_cast<uint8_t>(Page(0)[0x71]) ^ 0xFD, version) << "behind the mask of page 0";
    EXPECT_EQ(Page(0)[0x14], 3);

    // Keys of both orders are none of each other's.
    ExpectOk(m_engine->OpenDatabase(m_path, false, false, u"", m_database));
    const CDaoRelationInfo relation{
        u"R", isNameKnown ? u"Town" : u"D\u00F6rfer", u"Plain", 0, {{u"N", u"N"}}};
    ExpectOk(m_database->CreateRelation(relation));
    CloseAndCheck();
    EXPECT_EQ(Read(u"Plain").columns[0].order.version, 0);
  }
}

TEST_P(AllFormats, PropertiesAndLinksStandInTheCatalogue) {
  Create();
  const std::vector<CDaoProperty> title{{u"Title", kTypeText, false, {'T', 0, '1', 0}}},
      rule{{u"Required", kTypeBoolean, true, {1}}};
  ExpectOk(m_database->SetProperties(u"MSysDb", title));
  ExpectOk(m_database->SetProperties(u"SummaryInfo", title));
  for (const std::u16string_view taken : {u"summaryinfo", u"MSYSDB"})
    EXPECT_EQ(m_database->SetProperties(taken, title).code, EDaoError::InvalidName);
  std::unique_ptr<CDaoTableDef> table;
  ExpectOk(m_database->CreateTableDef(u"T", kDaoHiddenObject, u"", u"", table));
  CDaoFieldInfo field;
  field.name = u"F";
  field.type = kDaoLong;
  field.properties = rule;
  ExpectOk(table->CreateField(field));
  ExpectOk(table->SetProperties(title));
  ExpectOk(table->Append());
  ExpectOk(m_database->CreateTableDef(u"Server", 0, u"", u"", table));
  ExpectOk(table->CreateField(field));
  ExpectOk(table->SetLink({true, u"dbo.T", u"", u"DSN=x", {1, 2}, {3}}));
  ExpectOk(table->Append());
  ExpectOk(m_database->CreateTableDef(u"File", 0, u"", u"", table));
  ExpectOk(table->SetLink({false, u"Other", u"C:\\other.mdb", u""}));
  ExpectOk(table->Append());
  const auto text = [](const char* name, std::string bytes, uint8_t flags) {
    return SStoredProperty{Wide(name), flags, kTypeText, {bytes.begin(), bytes.end()}};
  };
  const SPropertyOwner ofQuery{
      kPropertiesOfObject, "", {text("Title", Wide("T1"), 0), text("?", "\x16\x04", 0)}},
      ofColumn{kPropertiesOfColumn, Wide("F"), {text("Caption", "", kPropertyOfEngine)}};
  SSavedQuery query = MakeQuery(u"Q", u"T", u"F");
  query.properties = EncodePropertyBlob(false, std::vector{ofQuery, ofColumn});
  const CDaoResult created = m_database->CreateQuery(query);
  ExpectOk(created);
  EXPECT_EQ(created.text.empty(), !IsJet3()) << "no character of the code page";
  CloseAndCheck();

  size_t seen = 0;
  const SStoredTable objects = Read(u"MSysObjects");
  for (const std::vector<Value>& stored : objects.rows) {
    std::vector<Value> object(stored.size());
    for (size_t i = 0; i < stored.size(); i++) object[objects.columns[i].number] = stored[i];
    const std::u16string name = Text(object[kObjectsName]);
    std::vector<SPropertyOwner> owners;
    if (object[kObjectsProperties]) {
      const std::string& blob = *object[kObjectsProperties];
      EXPECT_TRUE(
          DecodePropertyBlob(IsJet3(), {reinterpret_cast<const uint8_t*>(blob.data()), blob.size()}, owners));
    }
    const std::string spelt = IsJet3() ? "T1" : Wide("T1");
    if (name == u"MSysDb" || name == u"SummaryInfo" || name == u"T" || name == u"Q") {
      seen++;
      const bool hasColumn = name == u"T" || name == u"Q";
      ASSERT_EQ(owners.size(), hasColumn ? 2u : 1u);
      EXPECT_EQ(owners[0].properties.size(), name == u"Q" && !IsJet3() ? 2u : 1u);
      EXPECT_EQ(std::string(owners[0].properties[0].value.begin(), owners[0].properties[0].value.end()),
                spelt);
      EXPECT_EQ(owners.back().name, !hasColumn ? "" : IsJet3() ? "F" : Wide("F"));
      EXPECT_EQ(owners.back().properties[0].flags, hasColumn ? kPropertyOfEngine : 0);
    }
    if (name == u"T") {
      EXPECT_EQ(object[kObjectsFlags], LittleEndian(8, 4));
    }
    if (name != u"Server" && name != u"File") continue;
    seen++;
    const bool isServer = name == u"Server";
    EXPECT_EQ(object[kObjectsType], LittleEndian(isServer ? 4 : 6, 2));
    EXPECT_EQ(object[kObjectsFlags], LittleEndian(isServer ? 0x20100000 : 0x00200000, 4));
    EXPECT_EQ(Text(object[kObjectsForeignName]), isServer ? u"dbo.T" : u"Other");
    EXPECT_EQ(object[kObjectsConnect].has_value(), isServer);
    EXPECT_EQ(Text(object[isServer ? kObjectsConnect : kObjectsDatabase]),
              isServer ? u"DSN=x" : u"C:\\other.mdb");
    EXPECT_EQ(object[kObjectsDatabase].has_value(), !isServer);
    EXPECT_EQ(object[kObjectsLongInfo], isServer ? Value("\x03") : std::nullopt);
  }
  EXPECT_EQ(seen, 6u);
}

// A blob that is cut anywhere, or any of whose bytes changed, is read within its bounds.
TEST(PropertyBlob, IsReadWithinItsBounds) {
  SPropertyOwner table, column;
  table.properties = {{"Description", 0, kTypeText, {'D'}},
                      {"Rule", kPropertyOfEngine, kTypeMemo, {'R', 'R'}}};
  column.kind = kPropertiesOfColumn;
  column.name = "F";
  column.properties = {{"Rule", kPropertyOfEngine, kTypeMemo, {}}};
  const SPropertyOwner owners[] = {table, column};
  const std::vector<uint8_t> blob = EncodePropertyBlob(true, owners);
  std::vector<SPropertyOwner> read;
  ASSERT_TRUE(DecodePropertyBlob(true, blob, read));
  ASSERT_EQ(read.size(), 2u);
  EXPECT_EQ(read[0].properties[1].value, table.properties[1].value);
  EXPECT_EQ(read[1].properties[0].name, "Rule");
  EXPECT_FALSE(DecodePropertyBlob(false, blob, read)) << "of another format";
  for (size_t length = 0; length < blob.size(); length++) {
    const std::vector<uint8_t> cut(blob.begin(), blob.begin() + static_cast<std::ptrdiff_t>(length));
    static_cast<void>(DecodePropertyBlob(true, cut, read));
    std::vector<uint8_t> changed = blob;
    changed[length] ^= 0xFF;
    static_cast<void>(DecodePropertyBlob(true, changed, read));
  }
}

INSTANTIATE_TEST_SUITE_P(Catalogue, AllFormats, kAllFormats, FormatName);

}  // namespace
}  // namespace tolvane::test
