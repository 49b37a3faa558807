// Databases that the original engines made. Sound files are passed in silence; what old files break is
// written out here, file by file, with the reason.
#include <cstdio>
#include <map>
#include <set>
#include <string>

#include "tests/checker/CheckerTest.h"

namespace tolvane::test {
namespace {

using Rules = std::set<std::string>;

// Doubts by file. Rows of C11: the engine itself lost count, most often in MSysQueries. C8: columns were
// deleted, and the file was not compacted since. F3: pages that no table names any more, but which were never
// freed. A6: an owner that is masked with the key of the file that the table was imported from.
const std::map<std::string, Rules> kDoubts = {
    {"V2000/queryTestV2000.mdb", {"C11"}},
    {"V2003/bigIndexTestV2003.mdb", {"C8"}},
    {"V2003/delColTestV2003.mdb", {"C8"}},
    {"V2003/overflowTestV2003.mdb", {"C8"}},
    {"V2003/queryTestV2003.mdb", {"C11"}},
    {"V2003/test.mdb", {"C11", "F3"}},
    {"V2003/testV2003.mdb", {"C11", "F3"}},
    {"V2010/binIdxTestV2010.accdb", {"A6"}},
    {"V2010/calcFieldTestV2010.accdb", {"C11", "C8", "F3"}},
};

TEST(CheckerCorpus, PassesSoundFilesInSilence) {
  const std::vector<SCorpusFile> files = CorpusFiles();
  if (files.empty()) GTEST_SKIP() << kNoCorpus;
  size_t checked = 0, encrypted = 0;
  for (const auto& [path, name] : files) {
    const SCheckReport report = CheckDatabase(path);
    if (report.verdict == ECheckVerdict::Encrypted) {
      encrypted++;
      continue;
    }
    ASSERT_EQ(report.verdict, ECheckVerdict::Checked) << name;
    EXPECT_EQ(report.CountErrors(), 0u) << name << "\n" << Describe(report);
    const auto allowed = kDoubts.find(name);
    EXPECT_EQ(RulesOf(report), allowed == kDoubts.end() ? Rules{} : allowed->second) << name << "\n"
                                                                                     << Describe(report);
    EXPECT_GE(report.tables, 4u) << name;
    checked++;
  }
  EXPECT_GT(checked, 0u);
  std::printf("%zu databases checked, %zu encrypted ones left out\n", checked, encrypted);
}

}  // namespace
}  // namespace tolvane::test
