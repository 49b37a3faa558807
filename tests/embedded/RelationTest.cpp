// Relations: their rows, and the pairs of indexes that enforce them. The checker proves the file when a test
// closes its database.
#include <algorithm>
#include <string>

#include "format/SystemObjects.h"
#include "tests/embedded/DatabaseFixture.h"

namespace tolvane::test {

class Relations : public AllFormats {
 protected:
  // A table with a long column for each name; the first `keyed` ones are its primary key.
  void AddKeyedTable(std::u16string_view name, const Texts& names, size_t keyed, const Texts& indexed = {},
                     int16_t type = kDaoLong) {
    std::vector<SField> fields;
    for (const std::u16string& field : names) fields.push_back({field, type});
    std::vector<CDaoIndexInfo> indexes;
    if (keyed > 0) indexes.push_back({.name = u"Primary Key", .fields = {}, .primary = true});
    for (size_t i = 0; i < keyed; i++) indexes[0].fields.push_back({names[i]});
    for (const std::u16string& field : indexed)
      indexes.push_back({.name = u"By" + field, .fields = {{field}}});
    ExpectOk(AddTable(name, fields, indexes));
  }
  // `fields` are pairs of names, "primary>foreign" each.
  CDaoResult Relate(std::u16string_view name, std::u16string_view foreign, std::u16string_view primary,
                    const Texts& fields, int32_t attributes = 0) {
    std::vector<CDaoRelationFieldInfo> pairs;
    for (const std::u16string& pair : fields)
      pairs.push_back({pair.substr(0, pair.find(u'>')), pair.substr(pair.find(u'>') + 1)});
    return m_database->CreateRelation(
        {std::u16string(name), std::u16string(primary), std::u16string(foreign), attributes, pairs});
  }
  // A logical index as it must lie in the file, without what the formats add around it.
  std::string Side(uint32_t number, uint32_t real, uint8_t side, uint32_t partner, uint32_t page,
                   char updates, char deletes) const {
    return LittleEndian(number, 4) + LittleEndian(real, 4) + static_cast<char>(side) +
           LittleEndian(partner, 4) + LittleEndian(page, 4) + updates + deletes + '\2';
  }
};

TEST_P(Relations, RowsAndIndexesAreThoseOfRealFiles) {
  Create();
  AddKeyedTable(u"Customers", {u"Id", u"Boss"}, 1);
  AddKeyedTable(u"Orders", {u"Id", u"Customer", u"Payer"}, 1, {u"Payer"});
  ExpectOk(AddRows(u"Customers", {{u"1", u"-"}, {u"2", u"1"}, {u"3", u"1"}}));
  ExpectOk(AddRows(u"Orders", {{u"10", u"3", u"-"}, {u"11", u"1", u"2"}, {u"12", u"1", u"-"}}));
  Reopen();
  ExpectOk(Relate(u"CustomersOrders", u"Orders", u"customers", {u"Id>Customer"},
                  kRelationUpdateCascade | kRelationDeleteCascade));
  ExpectOk(Relate(u"Payers", u"Orders", u"Customers", {u"Id>Payer"}, kRelationLeft | kRelationUpdateCascade));
  Reopen();
  ExpectOk(Relate(u"Bosses", u"Customers", u"Customers", {u"Id>Boss"}));
  EXPECT_EQ(Relate(u"BOSSES", u"Customers", u"Customers", {u"Id>Boss"}).code, EDaoError::RelationExists);
  ExpectOk(Relate(u"Loose", u"Orders", u"Customers", {u"Boss>Id", u"Id>Payer"}, kRelationDontEnforce));
  // Rows that come later find their places in the indexes.
  ExpectOk(AddRows(u"Orders", {{u"13", u"2", u"3"}}));
  const uint32_t customers = CloseAndRead(u"Customers").page, orders = Read(u"Orders").page;
  const std::string bytes = ReadText(m_path);
  // Number, real index, side, partner's number, partner's page, cascades: the new index of Customer is real
  // index 2 of Orders; Payer has one already.
  for (const std::string& side :
       {Side(2, 2, 2, 1, customers, 1, 1), Side(1, 0, 1, 2, orders, 1, 1), Side(3, 1, 2, 2, customers, 1, 0),
        Side(2, 0, 1, 3, orders, 1, 0), Side(3, 1, 2, 4, customers, 0, 0), Side(4, 0, 1, 3, customers, 0, 0)})
    EXPECT_NE(bytes.find(side), std::string::npos) << side;
  EXPECT_EQ(Read(u"Orders").indexFlags.size(), 3u);

  std::vector<std::string> rows;
  const SStoredTable relations = Read(u"MSysRelationships");
  for (const auto& row : relations.rows) {
    std::string& line = rows.emplace_back();
    for (size_t i = 0; i < row.size(); i++)
      line += (relations.columns[i].type == kDaoLong
                   ? std::to_string(GetLittle<uint32_t>(BytesOf(row[i].value_or("")), 0))
                   : ToUtf8(Text(row[i]))) +
              " ";
  }
  std::ranges::sort(rows);
  // Jet 4 stores the columns by name: ccolumn grbit icolumn szColumn szObject szReferencedColumn
  // szReferencedObject szRelationship; Jet 3 by number.
  const std::vector<std::string> jet4{
      "1 0 0 Boss Customers Id Customers Bosses ", "1 16777472 0 Payer Orders Id Customers Payers ",
      "1 4352 0 Customer Orders Id customers CustomersOrders ", "2 2 0 Id Orders Boss Customers Loose ",
      "2 2 1 Payer Orders Id Customers Loose "};
  const std::vector<std::string> jet3{
      "Bosses 0 1 0 Customers Boss Customers Id ", "CustomersOrders 4352 1 0 Orders Customer customers Id ",
      "Loose 2 2 0 Orders Id Customers Boss ", "Loose 2 2 1 Orders Payer Customers Id ",
      "Payers 16777472 1 0 Orders Payer Customers Id "};
  EXPECT_EQ(rows, IsJet3() ? jet3 : jet4);
}

TEST_P(Relations, OnlySatisfiedOnesAreEnforced) {
  Create();
  AddKeyedTable(u"One", {u"A", u"B"}, 2);
  AddKeyedTable(u"Two", {u"X", u"Y", u"Z"}, 0);
  AddKeyedTable(u"Texts", {u"T"}, 1, {}, kDaoText);
  ExpectOk(AddRows(u"One", {{u"1", u"1"}, {u"1", u"2"}, {u"2", u"1"}}));
  // A key that is null in part refers to nothing.
  ExpectOk(AddRows(u"Two", {{u"1", u"1", u"1"}, {u"2", u"1", u"1"}, {u"-", u"7", u"2"}, {u"-", u"-", u"9"}}));
  const struct {
    std::u16string_view primary;
    Texts fields;
    EDaoError code;
    std::u16string_view text;
  } cases[] = {
      {u"None", {u"A>X"}, EDaoError::ObjectNotFound, u"There is no table named \"None\"."},
      {u"MSysObjects",
       {u"Id>X"},
       EDaoError::NotSupported,
       u"Only the database itself changes a system table."},
      {u"One",
       {u"A>Q"},
       EDaoError::ItemNotFound,
       u"The relation names a field \"Q\" that table \"Two\" does not have."},
      {u"One", {}, EDaoError::InvalidArgument, u"A relation has 1 to 10 pairs of fields."},
      {u"One", {u"A>X", u"B>x"}, EDaoError::DuplicateField, u"The relation names a field twice."},
      {u"One",
       {u"A>X"},
       EDaoError::NoUniqueIndex,
       u"Table \"One\" has no unique index on the fields that are referred to."},
      {u"Texts", {u"T>X"}, EDaoError::FieldTypesDiffer, u"The fields \"T\" and \"X\" have different types."},
      {u"One",
       {u"A>Z", u"B>Y"},
       EDaoError::RelatedRecordMissing,
       u"1 record of table \"Two\" refers to no record of table \"One\" (2, 7)."},
      {u"One", {u"B>Y", u"A>X"}, EDaoError::None, u""}};
  for (const auto& relation : cases) {
    const CDaoResult result = Relate(u"R", u"Two", relation.primary, relation.fields);
    EXPECT_EQ(result.code, relation.code) << ToUtf8(result.text);
    EXPECT_EQ(result.text, relation.text);
  }
  EXPECT_EQ(Relate(u"a.b", u"Two", u"One", {u"A>X"}).code, EDaoError::InvalidName);
  CloseAndCheck();
}

// A relation tells of its primary table what an index may have lost.
TEST_P(Relations, WhatIsReferredToBecomesUnique) {
  Create();
  AddKeyedTable(u"One", {u"A", u"B", u"C"}, 0, {u"A", u"B"});
  AddKeyedTable(u"Two", {u"X"}, 0);
  ExpectOk(AddRows(u"One", {{u"1", u"1"}, {u"2", u"3"}, {u"-", u"3"}, {u"-", u"4"}}));
  ExpectOk(AddRows(u"Two", {{u"1"}, {u"1"}}));
  const CDaoResult unique = Relate(u"R", u"Two", u"One", {u"A>X"});
  EXPECT_TRUE(unique.IsOk());
  EXPECT_EQ(unique.text,
            u"Index \"ByA\" of table \"One\" is unique again, because the relation refers to it.");
  const CDaoResult repeated = Relate(u"S", u"Two", u"One", {u"B>X"});
  EXPECT_EQ(repeated.code, EDaoError::NoUniqueIndex);
  EXPECT_EQ(repeated.text, u"1 record of table \"One\" repeats a key that is referred to (3).");
  EXPECT_EQ(Relate(u"S", u"Two", u"One", {u"C>X"}).code, EDaoError::NoUniqueIndex);
  const std::vector<uint8_t> flags = CloseAndRead(u"One").indexFlags;
  EXPECT_EQ(flags[0] & 1, 1);
  EXPECT_EQ(flags[1] & 1, 0);
}

TEST_P(Relations, LargeTablesAreComparedByTheirIndexes) {
  Create();
  AddKeyedTable(u"Many", {u"Id"}, 1);
  AddKeyedTable(u"More", {u"Id", u"Ref"}, 1);
  constexpr int kRows = 30000;
  std::vector<Texts> many, more;
  for (int i = 0; i < kRows; i++) {
    if (i % 2 == 0) many.push_back({ToDecimal(i)});
    more.push_back({ToDecimal(i), ToDecimal((i * 7919 % kRows) & ~1)});
  }
  ExpectOk(AddRows(u"Many", many));
  ExpectOk(AddRows(u"More", more));
  ExpectOk(Relate(u"R", u"More", u"Many", {u"Id>Ref"}));
  ExpectOk(AddRows(
      u"More", {{u"-1", u"-5"}, {u"-2", u"-5"}, {u"-3", u"29999"}, {u"-4", u"15001"}, {u"-5", u"30000"}}));
  const CDaoResult refused = Relate(u"S", u"More", u"Many", {u"Id>Ref"});
  EXPECT_EQ(refused.code, EDaoError::RelatedRecordMissing);
  EXPECT_EQ(refused.text,
            u"5 records of table \"More\" refer to no record of table \"Many\" (-5; 15001; 29999; ...).");
  // The relation that was enforced before these rows came is broken, which the checker tells of each of them.
  ExpectOk(m_database->Close());
  std::vector<std::string> told;
  for (const SFinding& finding : CheckDatabase(m_path).findings)
    told.push_back(std::string(finding.rule) + " " + ToUtf8(finding.table) + ": " + ToUtf8(finding.text) +
                   " " + Row(finding.place.page << 8 | finding.place.row).substr(IsJet3() ? 5 : 6, 4));
  std::vector<std::string> expected;
  for (const int key : {-5, -5, 15001, 29999, 30000})
    expected.push_back("G7 More: the row refers to no row of table Many (relationship R) " +
                       LittleEndian(static_cast<uint32_t>(key), 4));
  EXPECT_EQ(told, expected);
}

// 32 indexes at most; one of the foreign table that does the same gives up its place.
TEST_P(Relations, TheFormatBoundsTheIndexes) {
  Create();
  Texts fields{u"Id"}, indexed;
  for (int i = 0; i < 31; i++) indexed.push_back(u"F" + ToDecimal(i));
  fields.insert(fields.end(), indexed.begin(), indexed.end());
  AddKeyedTable(u"Wide", fields, 1, indexed);
  AddKeyedTable(u"Key", {u"Id"}, 1);
  for (int i = 0; i < 31; i++)
    ExpectOk(Relate(u"R" + ToDecimal(i), u"Wide", u"Key", {u"Id>F" + ToDecimal(i)}));
  EXPECT_EQ(Relate(u"Last", u"Wide", u"Key", {u"Id>Id"}).code, EDaoError::TooManyIndexes);
  EXPECT_EQ(Relate(u"Other", u"Key", u"Wide", {u"Id>Id"}).code, EDaoError::TooManyIndexes);
  ExpectOk(Relate(u"Other", u"Key", u"Wide", {u"Id>Id"}, kRelationDontEnforce));
  CloseAndCheck();
}

INSTANTIATE_TEST_SUITE_P(Formats, Relations, kAllFormats, FormatName);

}  // namespace tolvane::test
