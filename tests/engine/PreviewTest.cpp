#include "engine/AccessTableDataFileParser.h"
#include "model/MSysComplexColumnsData.h"
#include "status/JobContext.h"
#include "tests/support/StoreTest.h"

namespace tolvane {
namespace {

class CFakeList : public CPreviewList {
 public:
  void InsertColumn(size_t index, std::u16string_view heading, int32_t width) override {
    EXPECT_EQ(index, headings.size());
    EXPECT_EQ(width, 100);
    headings.emplace_back(heading);
  }
  [[nodiscard]] size_t GetItemCount() const override { return items.size(); }
  void InsertItem(size_t index) override {
    EXPECT_EQ(index, items.size());
    items.emplace_back(headings.size());
  }
  void SetItemText(size_t item, size_t column, std::u16string_view text) override {
    items.at(item).at(column) = text;
    if (++cellsSet == abortAfterCells) CPreviewThreadStatus::Instance().SetAbort(1);
  }

  Row headings;
  std::vector<Row> items;
  size_t cellsSet = 0;
  size_t abortAfterCells = ~size_t{0};
};

class Preview : public CStoreTest {
 protected:
  static constexpr uint64_t kKey = 109 * 4096;
  void SetUp() override {
    CStoreTest::SetUp();
    CPreviewThreadStatus::Instance().SetAbort(0);
  }
  void TearDown() override { CPreviewThreadStatus::Instance().SetAbort(0); }

  const std::vector<Row>& Fill() {
    CAccessTableDataFileParser parser(kStandardRules, ShownJob());
    parser.SetPreviewTables(&m_tables, 4096);
    parser.FillPreview(&m_table, &m_list);
    return m_list.items;
  }

  CAccessTableList m_tables{GetWorkFolder()};
  CAccessTable& m_table = m_tables.AddTable(kKey);
  CFakeList m_list;
};

TEST_F(Preview, ShowsHeadingsAndRows) {
  WriteRows(kKey, {{u"1", u"a"}, {u"2", u""}});
  EXPECT_TRUE(Fill().empty()) << "a table without columns";
  AddColumn(m_table, kTypeLong, u"Id");
  AddColumn(m_table, kTypeText, std::u16string(255, u'n'));
  EXPECT_EQ(Fill(), (std::vector<Row>{{u"1", u"a"}, {u"2", u""}}));
  EXPECT_EQ(m_list.headings, (Row{u"Id", std::u16string(255, u'n')}));

  CAccessTableDataFile(GetWorkFolder()).RemoveDataFile(kKey);
  CFakeList list;
  CAccessTableDataFileParser(kStandardRules, ShownJob()).FillPreview(&m_table, &list);
  EXPECT_EQ(list.headings, m_list.headings);
  EXPECT_TRUE(list.items.empty()) << "no data file";
}

TEST_F(Preview, AFileThatEndsInsideARowKeepsWhatWasRead) {
  AddTextColumns(m_table, 3);
  // A row with an empty record, then "x" and a count that lies.
  WriteFileBytes(DataPath(kKey), {3, 0, 0, 0, 'a', 0, 0,   0, 0, 0, 0,    3,    0,    0,   0, 'c',
                                  0, 0, 3, 0, 0,   0, 'x', 0, 0, 0, 0xFF, 0xFF, 0xFF, 'y', 0});
  EXPECT_EQ(Fill(), (std::vector<Row>{{u"a", u"", u"c"}, {u"x", u"", u""}}));
}

TEST_F(Preview, DisplayRules) {
  struct SCase {
    uint8_t type;
    std::u16string stored, shown;
  };
  const std::u16string longText(101, u't');
  const std::u16string memo(100, u'm');
  for (const SCase& test : {SCase{kTypeDate, u"12/30/1899 00:00:00", u"12/30/1899"},
                            SCase{kTypeDate, u"12/30/1899 10:00:00", u"12/30/1899 10:00:00"},
                            SCase{kTypeDate, u"00:00:00", u"00:00:00"},
                            SCase{kTypeText, u"12/30/1899 00:00:00", u"12/30/1899 00:00:00"},
                            SCase{kTypeOle, u"/tmp/ole_temp_3.Ole", u"Ole"}, SCase{kTypeMemo, memo, memo},
                            SCase{kTypeMemo, memo + u"m", memo.substr(10) + u"[Memo...]"},
                            SCase{kTypeText, longText, longText}, SCase{kTypeComplex, u"5", u"<Data>"}}) {
    CAccessTable table(0x7000, GetWorkFolder());
    AddColumn(table, test.type);
    WriteRows(0x7000, {{test.stored}});
    CFakeList list;
    CAccessTableDataFileParser parser(kStandardRules, ShownJob());
    parser.SetPreviewTarget(&table, &list);
    parser.FillPreview();
    EXPECT_EQ(list.items.at(0).at(0), test.shown);
  }
}

TEST_F(Preview, ComplexCellsByTheirKind) {
  for (const int32_t kind : {27, 37, 39, 78, 37}) {
    const int32_t flatPage = m_table.columns.GetCount() == 4 ? 61 : 60;  // the last one's is lost
    AddColumn(m_table, kTypeComplex)
        .SetComplexData(std::make_unique<CMSysComplexColumnsData>(u"c", kind, flatPage, 109, 1));
  }
  CAccessTable& flat = m_tables.AddTable(60 * 4096);
  AddColumn(flat, kTypeLong, u"_c").extendedFlags = kColumnFlatKey;
  AddColumn(flat, kTypeLong, u"t_c").extendedFlags = kColumnFlatRowId;
  AddColumn(flat, kTypeText, u"Value");
  WriteRows(60 * 4096, {{u"1", u"1", u"red"}, {u"2", u"2", u"blue"}, {u"1", u"3", u"green"}});
  WriteRows(kKey, {{u"1", u"1", u"1", u"1", u"1"}, {u"3", u"2", u"2", u"2", u"2"}});
  EXPECT_EQ(Fill(), (std::vector<Row>{{u"red, green", u"red, green", u"Attachement", u"<Complex Data>", u""},
                                      {u"", u"blue", u"Attachement", u"<Complex Data>", u""}}));
}

TEST_F(Preview, OneKeyInManyRowsDoesNotMultiplyItsText) {
  AddColumn(m_table, kTypeComplex)
      .SetComplexData(std::make_unique<CMSysComplexColumnsData>(u"c", 37, 60, 109, 1));
  m_tables.AddTable(60 * 4096);
  WriteRows(60 * 4096, {{std::u16string(1'000'000, u'v'), u"1", u"1"}});
  WriteRows(kKey, std::vector<Row>(50, {u"1"}));
  size_t shown = 0;
  for (const Row& row : Fill()) shown += row[0].size();
  EXPECT_EQ(m_list.items.front()[0].size(), 1'000'000U);
  EXPECT_EQ(m_list.items.back()[0], u"<Complex Data>");
  EXPECT_LT(shown, 6'000'000U);
}

TEST_F(Preview, AnAbortIsSeenBeforeTheNextValue) {
  AddTextColumns(m_table, 3);
  WriteRows(kKey, std::vector<Row>(10, {u"a", u"b", u"c"}));
  m_list.abortAfterCells = 5;
  EXPECT_EQ(Fill().size(), 2U);
  EXPECT_EQ(m_list.cellsSet, 5U);

  CFakeList untouched;
  CAccessTableDataFileParser(kStandardRules, ShownJob()).FillPreview(&m_table, &untouched);
  EXPECT_TRUE(untouched.headings.empty());
}

}  // namespace
}  // namespace tolvane
