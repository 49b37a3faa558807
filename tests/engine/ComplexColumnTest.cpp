#include "engine/MSysComplexColumns.h"
#include "render/FlatTableParser.h"
#include "tests/support/StoreTest.h"

namespace tolvane {
namespace {

class ComplexColumn : public CStoreTest {
 protected:
  static constexpr uint64_t kFlat = 60 * 4096;

  static std::u16string Build(CFlatTableParser& parser, std::u16string_view key) {
    std::u16string text = u"old";
    parser.SetPath(SFilePart(DataPath(kFlat)));
    parser.Open();
    parser.BuildText(key, text);
    parser.Close();
    return text;
  }
};

TEST_F(ComplexColumn, ItemsOfOneKeyAreJoined) {
  CComplexParser parser;
  EXPECT_EQ(Build(parser, u"2"), u"") << "no file";
  WriteRows(kFlat, {{u"", u"1", u"2"},
                    {u"red", u"2", u"2"},
                    {u"blue", u"3", u"12"},
                    {u"green, dark", u"4", u"2"},
                    {u"extra"}});
  EXPECT_EQ(Build(parser, u"2"), u"red, green, dark") << "an empty first item needs no separator";
  EXPECT_EQ(Build(parser, u"12"), u"blue");
  EXPECT_EQ(Build(parser, u"1"), u"");

  // Attachments stand in groups of eight.
  WriteRows(kFlat, {{u"one", u"", u"name", u"", u"txt", u"", u"5", u"7"},
                    {u"two", u"", u"name", u"", u"txt", u"", u"5", u"8"},
                    {u"three", u"", u"name", u"", u"txt", u"", u"5", u"7"},
                    {u"7", u"7"}});
  CAttachmentParser attachments;
  EXPECT_EQ(Build(attachments, u"7"), u"one, three");
  EXPECT_EQ(Build(attachments, u"9"), u"");
}

TEST_F(ComplexColumn, WithoutMarksTheLayoutIsToldByNamesAndNumbers) {
  // The key by its name; the row id numbers itself.
  CAccessTable unmarked(61 * 4096, GetWorkFolder());
  AddColumn(unmarked, kTypeLong, u"A_id").flags = kColumnAutoNumber;
  AddColumn(unmarked, kTypeText, u"Value");
  AddColumn(unmarked, kTypeLong, u"_Colours");
  const SFlatLayout layout = MultiValueLayoutOf(unmarked);
  EXPECT_EQ(layout.item, 1U);
  EXPECT_EQ(layout.key, 2U);

  // Columns that tell nothing: as they were created.
  CAccessTable bare(62 * 4096, GetWorkFolder());
  AddTextColumns(bare, 2);
  EXPECT_EQ(MultiValueLayoutOf(bare).groupSize, 3U);
  EXPECT_EQ(MultiValueLayoutOf(bare).key, 2U);
}

TEST_F(ComplexColumn, RecordsFindTheirColumnsAndAnIncompleteOneIsDropped) {
  WriteRows(1, {{u"Colours", u"37", u"60", u"109", u"3"},
                {u"Files", u"39", u"46", u"109", u"4"},
                {u"NoSuchId", u"39", u"46", u"109", u"5"},
                {u"NoSuchTable", u"39", u"46", u"110", u"3"},
                {u"Nonsense", u"x", u"", u"-109", u""},
                {u"Files again", u"39", u"47", u"109", u"4"},
                {u"cut", u"37", u"60", u"109"}});
  CMSysComplexColumns records;
  ASSERT_TRUE(records.Load(SFilePart(DataPath(1))));
  ASSERT_EQ(records.GetCount(), 6U);
  CAccessTableList tables{GetWorkFolder()};
  CAccessTable& table = tables.AddTable(109 * 4096);
  AddColumn(table, kTypeLong, u"number").misc = 3;  // no complex column
  AddColumn(table, kTypeComplex, u"Files").misc = 4;
  AddColumn(table, kTypeComplex, u"Renamed").misc = 3;
  EXPECT_EQ(records.AttachTo(tables, 4096), 3U);
  EXPECT_EQ(table.columns.GetAt(0)->GetComplexData(), nullptr);
  EXPECT_EQ(table.columns.GetAt(1)->GetComplexData()->flatTable, u"47");
  EXPECT_EQ(table.columns.GetAt(2)->GetComplexData()->complexType, u"37");

  ASSERT_TRUE(records.Load(SFilePart(DataPath(404))));
  EXPECT_EQ(records.GetCount(), 0U);
  // As many records as are taken, of five counts of 0, and then one more.
  for (const size_t more : {size_t{0}, size_t{1}}) {
    WriteFileBytes(DataPath(1), Bytes((CMSysComplexColumns::kMaximumRecords + more) * 5 * 4));
    EXPECT_EQ(records.Load(SFilePart(DataPath(1))), more == 0);
    EXPECT_EQ(records.GetProblem(), more == 0 ? u"" : u"list too long");
    EXPECT_EQ(records.GetCount(), CMSysComplexColumns::kMaximumRecords);
  }
}

}  // namespace
}  // namespace tolvane
