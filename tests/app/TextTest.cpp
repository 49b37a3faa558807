// What the pages say about a result.
#include <gtest/gtest.h>

#include "app/Findings.h"
#include "app/TextSearch.h"
#include "app/ViewTexts.h"
#include "platform/Text.h"

namespace tolvane {

namespace {

TEST(ViewTexts, TheLastPageTellsWhatWasSavedAndWhatNot) {
  SSaveSummary summary;
  summary.tablesSaved = 1;
  summary.recordsSaved = 12;
  EXPECT_EQ(ToUtf8(DescribeSave(summary, u"o.mdb", {})), "o.mdb\r\n1 table, 12 records");
  summary.queriesSaved = 2;
  summary.relationsSaved = 1;
  summary.emptyRowsDropped = 1;
  summary.indexesLost = 1;
  summary.queriesSkipped = 3;
  summary.losses.push_back({u"Orders", 2, 1, u"too large"});
  summary.notes.push_back(u"a remark");
  EXPECT_EQ(
      ToUtf8(DescribeSave(summary, u"o.mdb", u"disk full")),
      "o.mdb\r\n1 table, 12 records\r\n2 saved queries\r\n1 relationship\r\n1 empty row left out\r\n\r\n"
      "The new database is not whole: disk full\r\n\r\n"
      "Not saved:\r\n2 records of table Orders: too large\r\n1 value of table Orders: too large\r\n1 "
      "index\r\n"
      "3 queries of kinds that cannot be rebuilt\r\n\r\n"
      "Remarks:\r\na remark");
}

TEST(Findings, DamageInWordsWithItsPlaces) {
  CAccessData data;
  CAccessTable& table = data.GetTables().AddTable(5 * 4096);
  table.name = u"Orders";
  EXPECT_TRUE(ListDamage(data, 2).empty());
  for (uint64_t page = 7; page < 10; ++page)
    data.GetLedger().Add(EDamage::RejectedRow, {page, 5 * 4096, 3, 1});
  data.GetLedger().Add(EDamage::MissingRows, {5, 5 * 4096, -1, 40});
  const auto found = ListDamage(data, 2);
  ASSERT_EQ(found.size(), 2u);
  EXPECT_EQ(found[0].count, 3u);
  EXPECT_EQ(ToUtf8(found[0].words), "rows that cannot be true");
  EXPECT_EQ(ToUtf8(found[0].places), "table Orders, page 7, row 3; table Orders, page 8, row 3; ...");
  EXPECT_EQ(ToUtf8(found[1].places), "table Orders, 40 rows");
}

TEST(TextSearch, FoldsTheCapitalsOfThreeScripts) {
  EXPECT_EQ(ToUtf8(FoldCase(u"AbZ\u00C4\u00D7\u0104\u0105\u0139\u0178\u0386\u03A3\u03C2\u0401\u042F")),
            ToUtf8(u"abz\u00E4\u00D7\u0105\u0105\u013A\u00FF\u03AC\u03C3\u03C3\u0451\u044F"));
  EXPECT_TRUE(ContainsFolded(u"The END", u"end"));
  EXPECT_FALSE(ContainsFolded(u"en", u"end"));
}

}  // namespace

}  // namespace tolvane
