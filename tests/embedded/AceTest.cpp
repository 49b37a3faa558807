// What only ACE files have: complex columns, newer types, calculated columns; and properties and links, which
// the catalogue of every format holds.
#include <gtest/gtest.h>

#include <algorithm>

#include "format/PropertyBlob.h"
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
};

CDaoFieldInfo Field(std::u16string name, int16_t type) {
  CDaoFieldInfo field;
  field.name = std::move(name);
  field.type = type;
  return field;
}

TEST_F(Ace, RecordsGetTheNumbersThatLeadToTheirValues) {
  CDaoFieldInfo story = Field(u"Story", kDaoMemo), files = Field(u"Files", kDaoAttachment);
  story.keepsHistory = true;
  files.lastNumber = 6;
  ExpectOk(MakeTable(u"People", {Field(u"Name", kDaoText), files, story, Field(u"Tags", kDaoComplexText)}));
  Reopen();
  ExpectOk(m_database->OpenRecordset(u"SELECT * FROM [People]", m_recordset));
  ExpectOk(m_recordset->AddNew());
  ExpectOk(m_recordset->Update());  // has the number 7
  ExpectOk(m_recordset->AddNew());
  ExpectOk(Set(1, kTypeLong, LittleEndian(9, 4)));  // so has the other complex column
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
  const auto objects = Rows(Read(u"MSysObjects"));
  EXPECT_EQ(std::ranges::count_if(
                objects,
                [](const auto& object) { return object[kObjectsFlags] == LittleEndian(kFlatTableFlags, 4); }),
            3);
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

TEST_P(AllFormats, LinksAndPropertiesStandInTheCatalogue) {
  Create();
  std::unique_ptr<CDaoTableDef> table;
  for (const bool isServer : {true, false}) {
    ExpectOk(m_database->CreateTableDef(isServer ? u"Server" : u"File", kDaoHiddenObject, u"", u"", table));
    if (isServer) ExpectOk(table->CreateField(Field(u"F", kDaoLong)));
    ExpectOk(isServer ? table->SetLink({true, u"dbo.T", u"", u"DSN=x", {}, {3}})
                      : table->SetLink({false, u"Other", u"C:\\other.mdb", u""}));
    ExpectOk(table->Append());
  }
  const SPropertyOwner owner{
      kPropertiesOfObject,
      "",
      {{Wide("Title"), kPropertyOfEngine, kTypeText, {'T', 0}}, {Wide("?"), 0, kTypeText, {0x16, 4}}}};
  SSavedQuery query = MakeQuery(u"Query", u"T", u"F");
  query.properties = EncodePropertyBlob(false, std::vector{owner});
  const CDaoResult created = m_database->CreateQuery(query);
  ExpectOk(created);
  EXPECT_EQ(created.text.empty(), !IsJet3()) << "no character of the code page";
  CloseAndCheck();

  for (const bool isServer : {true, false}) {
    const std::vector<Value> object = Object(isServer ? u"Server" : u"File");
    EXPECT_EQ(object[kObjectsType], LittleEndian(isServer ? 4 : 6, 2));
    EXPECT_EQ(object[kObjectsFlags], LittleEndian(isServer ? 0x20100008 : 0x00200008, 4));
    EXPECT_EQ(Text(object[kObjectsForeignName]), isServer ? u"dbo.T" : u"Other");
    EXPECT_EQ(Text(object[isServer ? kObjectsConnect : kObjectsDatabase]),
              isServer ? u"DSN=x" : u"C:\\other.mdb");
    EXPECT_FALSE(object[isServer ? kObjectsDatabase : kObjectsConnect].has_value());
    EXPECT_EQ(object[kObjectsLongInfo], isServer ? Value("\x03") : std::nullopt);
  }
  const std::string blob = *Object(u"Query")[kObjectsProperties];
  std::vector<SPropertyOwner> owners;
  EXPECT_TRUE(
      DecodePropertyBlob(IsJet3(), {reinterpret_cast<const uint8_t*>(blob.data()), blob.size()}, owners));
  EXPECT_EQ(owners.at(0).properties.size(), IsJet3() ? 1u : 2u);
  EXPECT_EQ(owners[0].properties[0].value.size(), IsJet3() ? 1u : 2u);
  EXPECT_EQ(owners[0].properties[0].flags, kPropertyOfEngine);
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
