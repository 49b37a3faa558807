// Reports: the verdict over counts, and foreign text in a page of HTML.
#include <gtest/gtest.h>

#include "app/report/HtmlReport.h"
#include "app/report/Verdict.h"
#include "platform/Text.h"
#include "store/WorkFolder.h"

namespace tolvane {
namespace {

SVerdictFacts Recovered(uint64_t rows, uint64_t lost = 0, uint64_t doubtful = 0) {
  return {.isRecovered = true, .tables = 2, .rows = rows, .lostRows = lost, .doubtfulRows = doubtful};
}

SVerdictFacts With(SVerdictFacts facts, std::initializer_list<EVerdict> signs) {
  for (const EVerdict kind : signs) facts.signs[kind] += 3;
  return facts;
}

TEST(Verdict, OneSentenceSaysWhatIsDamagedAndWhatCameBack) {
  SVerdictFacts noTable = With(Recovered(0), {EVerdict::Definitions});
  noTable.isNothing = true;
  SVerdictFacts lostTable = With(Recovered(5), {EVerdict::Definitions});
  lostTable.lostTables = 1;
  const struct {
    SVerdictFacts facts;
    const char* name;
    std::u16string_view sentence;
  } kCases[] = {
      {Recovered(1200), "notDamaged", u"The file is not damaged: all 1,200 rows of 2 tables came back."},
      {Recovered(0), "notDamaged", u"The file is not damaged: 2 tables came back, which had no rows."},
      {{}, "notDamaged", u"The file is not damaged."},
      {With(Recovered(7), {EVerdict::Flagged}), "flagged",
       u"The file is not damaged, only marked as in use: all 7 rows of 2 tables came back."},
      {With(Recovered(7), {EVerdict::Indexes, EVerdict::Maps, EVerdict::Flagged}), "indexes",
       u"Indexes are damaged, which every repair builds anew: all 7 rows of 2 tables came back."},
      {With(Recovered(7, 0, 1), {EVerdict::LongValues, EVerdict::Indexes}), "longValues",
       u"Pages of memos or OLE objects are damaged: 7 rows of 2 tables came back, 1 of them doubtful."},
      {With(Recovered(1, 2), {EVerdict::Rows}), "rows",
       u"Pages of rows are damaged: 1 row of 2 tables came back, 2 rows are lost."},
      {lostTable, "definitions",
       u"Definitions of tables are damaged: 5 rows of 2 tables came back, and of 1 table only the name is "
       u"left."},
      {noTable, "definitions", u"Definitions of tables are damaged: nothing could be recovered."},
      {With(Recovered(3), {EVerdict::Catalogue}), "catalogue",
       u"The catalogue is damaged, which names the tables, queries and relationships: 3 rows of 2 tables "
       u"came back, and whether there were more cannot be told."},
      {With(Recovered(3, 1), {EVerdict::Header, EVerdict::Rows, EVerdict::LongValues, EVerdict::Indexes}),
       "header",
       u"The header, the first page of the file, is damaged; the damage also hit rows and memos or OLE "
       u"objects: 3 rows of 2 tables came back, 1 row is lost."},
      {With(Recovered(3, 1), {EVerdict::Hollow}), "hollow",
       u"The file is hollow, overwritten with zeros in places: 3 rows of 2 tables came back, 1 row is lost."},
      {With(Recovered(3), {EVerdict::CutShort}), "cutShort",
       u"The file was cut short and lacks its end: 3 rows of 2 tables came back, and whether there were more "
       u"cannot be told."},
      {With({}, {EVerdict::Encrypted, EVerdict::Rows}), "encrypted",
       u"The file is encrypted, and its pages cannot be read without the key."},
      {With({}, {EVerdict::NoDatabase}), "noDatabase", u"Nothing in the file looks like a database."},
  };
  for (const auto& [facts, name, sentence] : kCases) {
    const SVerdict verdict = Judge(facts);
    EXPECT_EQ(NameOf(verdict.kind), name);
    EXPECT_EQ(ToUtf8(verdict.sentence), ToUtf8(sentence));
  }
}

TEST(Verdict, AdviceFitsTheDamage) {
  const auto advises = [](const SVerdictFacts& facts, std::u16string_view words) {
    for (const std::u16string& advice : Judge(facts).advice)
      if (advice.find(words) != std::u16string::npos) return true;
    return false;
  };
  SVerdictFacts facts = With(Recovered(5), {EVerdict::Definitions});
  EXPECT_TRUE(advises(facts, u"--template"));
  EXPECT_TRUE(advises(facts, u"Nothing was written so far"));
  facts.hasTemplate = facts.isSaved = true;
  facts.omittedObjects = 1;
  EXPECT_FALSE(advises(facts, u"--template"));
  EXPECT_FALSE(advises(facts, u"Nothing was written so far"));
  EXPECT_TRUE(advises(facts, u"Forms, reports"));
  EXPECT_TRUE(advises(With({}, {EVerdict::Encrypted}), u"remove the encryption"));
  EXPECT_FALSE(advises(Recovered(5), u"Keep the damaged file"));
}

TEST(HtmlText, WhatAFileHoldsIsTextAndNothingElse) {
  CHtml html;
  html.Text(u"<b>&\"'\x1\x7F\u202E\uFFFE\uFDD0");
  html.Text(
      std::u16string{0xD83F, 0xDFFE, u' ', 0xD83D, 0xDE00, u' ', 0xD800});  // no character, one, half of one
  EXPECT_EQ(html.Take(),
            "&lt;b&gt;&amp;&quot;&#39;\xE2\x90\x81\xE2\x90\xA1\xEF\xBF\xBD\xEF\xBF\xBD\xEF\xBF\xBD"
            "\xEF\xBF\xBD \xF0\x9F\x98\x80 \xEF\xBF\xBD");
}

TEST(HtmlReport, ALedgerOfHalfAMillionEntriesIsShownShortened) {
  CAccessData data{kExactRules, GetWorkFolder()};
  CAccessTable& table = data.GetTables().AddTable(uint64_t{9} * 4096);
  table.name = u"Orders";
  CAccessColumn column;
  column.SetName(u"c");
  table.columns.Add(std::move(column));
  for (const EDamage kind : {EDamage::RejectedRow, EDamage::BrokenOverflow, EDamage::BrokenValue,
                             EDamage::BrokenPage, EDamage::UnknownPage})
    for (uint64_t i = 0; i < 100'000; ++i)
      data.GetLedger().Add(kind,
                           {.page = i, .definition = table.GetDefinitionOffset(), .row = 1, .column = 0});
  const SReport report =
      CollectReport({.command = "tables", .version = "1", .source = u"a.mdb"}, {.data = &data});
  const std::string page = PrintHtmlReport(report);
  EXPECT_LT(page.size(), 200'000u);
  EXPECT_NE(page.find("500,000 entries"), std::string::npos);
  EXPECT_NE(page.find("499,800 more are not shown here"), std::string::npos);
}

}  // namespace
}  // namespace tolvane
