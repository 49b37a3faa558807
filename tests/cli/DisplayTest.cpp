// What stands on a terminal: nothing moves the cursor, columns line up, lines keep their width.
#include <gtest/gtest.h>

#include <sstream>

#include "cli/DisplayText.h"
#include "cli/PageMap.h"
#include "cli/ProgressLine.h"
#include "cli/TextTable.h"
#include "export/SafeFileName.h"
#include "platform/Text.h"

namespace tolvane {
namespace {

std::vector<std::string> LinesOf(const std::string& text) {
  std::vector<std::string> lines;
  std::istringstream stream(text);
  for (std::string line; std::getline(stream, line);) lines.push_back(line);
  return lines;
}

TEST(DisplayText, ControlCharactersBecomeVisible) {
  EXPECT_EQ(ToDisplay(u"a\x1B[31m\r\n\x7F"), "a\u241B[31m\u240D\u240A\u2421");
  EXPECT_EQ(ToDisplay(u"\u009B1m\u202Eabc"), "\uFFFD1m\uFFFDabc");
  EXPECT_EQ(ToDisplay(std::u16string_view(u"\0", 1)), "\u2400");
}

TEST(DisplayText, WidthCountsWideAndCombiningCharacters) {
  EXPECT_EQ(DisplayWidth("abc"), 3u);
  EXPECT_EQ(DisplayWidth("\u4e2d\u6587"), 4u);
  EXPECT_EQ(DisplayWidth("e\u0301"), 1u);
  EXPECT_EQ(DisplayWidth("\U0001F600"), 2u);
  EXPECT_EQ(Shorten("abcdef", 4), "abc\u2026");
  EXPECT_EQ(Shorten("\u4e2d\u6587\u4e2d", 4), "\u4e2d\u2026");  // half a character is none
  EXPECT_EQ(Shorten("abcd", 4), "abcd");
}

TEST(DisplayText, SizesHaveOneDecimal) {
  for (const auto& [bytes, text] : {std::pair<uint64_t, const char*>{1, "1 byte"},
                                    {999, "999 bytes"},
                                    {4096, "4.0 kB"},
                                    {999'999, "999.9 kB"},
                                    {277'295'104, "277.2 MB"},
                                    {2'147'483'648, "2.1 GB"}})
    EXPECT_EQ(FormatSize(bytes), text);
}

TEST(TextTable, ShortensTheWidestCellsFirst) {
  CTextTable table{{"Id", EAlign::Right}, {"Name"}, {"Note"}};
  table.AddRow({"1", "Ann", "a long remark that does not fit"});
  table.AddRow({"12", "Bob", ""});
  EXPECT_EQ(table.Draw(24),
            "Id  Name  Note\n--  ----  --------------\n 1  Ann   a long remark\u2026\n12  Bob\n");
  EXPECT_EQ(LinesOf(table.Draw(CTextTable::kAnyWidth))[2], " 1  Ann   a long remark that does not fit");
}

TEST(DisplayText, LinesBreakAtBlanksAlone) {
  EXPECT_EQ(WrapWords("rows that were \u4e2d\u4e2d\u4e2d\u4e2d rejected", 4, 28),
            "rows that were \u4e2d\u4e2d\u4e2d\u4e2d\n    rejected");
  const std::string word(40, 'x');
  EXPECT_EQ(WrapWords(word + " " + word + " a", 2, 30), word + "\n  " + word + "\n  a");
  EXPECT_EQ(WrapWords(word + " a", 2, 0), word + " a");
}

TEST(TextTable, TooManyColumnsBecomeBlocks) {
  CTextTable table;
  for (int i = 0; i < 20; ++i) table.AddColumn({"column" + std::to_string(i)});
  table.AddRow(std::vector<std::string>(20, std::string(100, 'x')));
  const auto lines = LinesOf(table.Draw(40));
  ASSERT_EQ(lines.size(), 21u);
  EXPECT_EQ(lines[0], "Row 1");
  for (const std::string& line : lines) EXPECT_LE(DisplayWidth(line), 40u);
}

TEST(ProgressLine, TheRateIsTheStepsAndTheTimeLeftTheWholeJobs) {
  CStepClock clock(100'000'000);
  CJobClock job({EJobPhase::Opening, EJobPhase::Recovery, EJobPhase::Save});
  double share = 0;
  const auto see = [&](const char16_t* step, int32_t position, double seconds) {
    const SProgressState state{std::u16string(step) + u": " + ToDecimal(position) + u"(kb)", position, 2000};
    clock.See(state, seconds);
    job.See(state, seconds);
    EXPECT_GE(job.GetShare(), share) << "it never goes back";
    share = job.GetShare();
  };
  see(u"Looking for the pages of the database", 1000, 49.0);
  see(u"(Step 2/4)Scanning file for table data", 1000, 50.0);
  see(u"(Step 2/4)Scanning file for table data", 1100, 50.5);
  EXPECT_EQ(job.GetTimeLeft(), "") << "too early to tell";
  see(u"(Step 2/4)Scanning file for table data", 1250, 52.5);
  EXPECT_EQ(clock.GetRate(), "10.0 MB/s");  // a quarter of one reading in two and a half seconds
  EXPECT_EQ(job.GetTimeLeft(), "0:37 left");
  see(u"(Step 2/4)Scanning file for table data", 1400, 52.6);
  EXPECT_EQ(job.GetTimeLeft(), "0:37 left") << "changes once a second at most";
  for (const char16_t* step :
       {u"(Step 3/4) Parsing", u"(Step 4/4)Scanning", u"Saving relations", u"(Step 1/2)Saving"})
    see(step, 0, 53.0);
  EXPECT_EQ(clock.GetRate(), "");
  see(u"(Step 2/2)Saving table data", 1000, 55.0);
  EXPECT_NEAR(share, 0.65, 0.02);
  EXPECT_EQ(StepOf(u"(Step 4/4)Scanning table name from raw table data...Orders"),
            u"(Step 4/4)Scanning table name from raw table data");
}

TEST(ProgressLine, TheLineKeepsItsWidthWhateverTheValues) {
  const std::u16string status = u"(Step 2/2)Saving table data: " + std::u16string(500, u'\u4e2d');
  const auto draw = [](const std::u16string& text, int32_t position, int32_t maximum, size_t width) {
    CJobClock job;
    job.See({text, position, maximum}, 0);
    return FormatProgress(text, job, "12 rows/s", width);
  };
  for (const int32_t position : {-5, 0, 7, 10, 2'000'000'000})
    for (const size_t width : {20u, 29u, 30u, 79u, 300u})
      EXPECT_LE(DisplayWidth(draw(status, position, 10, width)), width);
  EXPECT_EQ(draw(u"Saving", 5, 10, 79), "[##########..........]  50 %  Saving  12 rows/s");
  EXPECT_EQ(draw(u"x", 1, 0, 79), "[####################] 100 %  x  12 rows/s");
}

TEST(PageMap, GroupsShowThePageThatMattersMost) {
  CPageBlocks map;
  for (uint64_t page = 0; page < CPageBlocks::kMostBlocks * 3; ++page) {
    SPageReport report;
    report.page = page;
    report.kind = EPageKind::Data;
    if (page == 5003) report.verdict = EPageVerdict::Damaged;
    map.Add(page, LookOf(report));
  }
  const std::string text = DrawPageMap(map, 80);
  EXPECT_NE(text.find("One sign for 4 pages"), std::string::npos);
  const auto lines = LinesOf(text);
  EXPECT_EQ(lines[0].substr(0, 8), "      0 ");
  // 3072 signs: the damaged one is the 1250th, on the line that begins with page 4 * 1190.
  EXPECT_EQ(lines[17].substr(0, 9), "   4760  ");
  EXPECT_EQ(lines[17].find('X'), 9u + 60u);
}

TEST(SafeFileName, NothingThatAFileSystemRefuses) {
  for (const auto& [name, safe] : {std::pair{u"a/b\\c:d*e?f\"g<h>i|j", u"a_b_c_d_e_f_g_h_i_j"},
                                   {u"..", u"_"},
                                   {u".hidden", u"_hidden"},
                                   {u"dots. .", u"dots"},
                                   {u"con", u"_con"},
                                   {u"LPT1.txt", u"_LPT1.txt"},
                                   {u"console", u"console"},
                                   {u"", u"_"}})
    EXPECT_EQ(MakeSafeFileName(name), safe);
  EXPECT_EQ(MakeSafeFileName(std::u16string(255, u'\u4e2d')).size(), 66u);
}

TEST(SafeFileName, NamesInAFolderDiffer) {
  CFileNames names;
  for (const auto& [name, added] : {std::pair{u"Orders", u"Orders"},
                                    {u"ORDERS", u"ORDERS-2"},
                                    {u"Orders-2", u"Orders-2-2"},
                                    {u"a/b", u"a_b"},
                                    {u"a:b", u"a_b-2"}})
    EXPECT_EQ(names.Add(name), added);
}

}  // namespace
}  // namespace tolvane
