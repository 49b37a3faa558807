// Every index of every real database, built again: our builder must fill the same leaves with its entries.
// That these are the keys of their rows is the check's own work, which CorpusTest proves.
#include <algorithm>
#include <set>
#include <string>

#include "checker/CatalogueCheck.h"
#include "checker/TableCheck.h"
#include "embedded/IndexTreeBuilder.h"
#include "format/IndexPage.h"
#include "tests/checker/CheckerTest.h"

namespace tolvane::test {
namespace {

using Bytes = std::vector<uint8_t>;

struct SSurvey {
  uint64_t equalLeaves = 0;
  std::set<std::string> otherTrees;  // "file: table", with leaves that we fill otherwise
};

class CFileSurvey {
 public:
  CFileSurvey(CCheckedFile& file, std::string name, SSurvey& survey)
      : m_file(file), m_name(std::move(name)), m_survey(survey) {}

  void Run() {
    CCatalogueCheck catalogue(m_context);
    Survey(kObjectsPage, "MSysObjects",
           [&](const CRowView& row, SPlace place) { catalogue.AddObject(row, place); });
    for (const SCheckedObject& object : catalogue.GetObjects())
      if (object.HasDefinition() && object.id != kObjectsPage && object.id < m_file.GetPageCount())
        Survey(object.id, ToUtf8(object.name), [](const CRowView&, SPlace) {});
  }

 private:
  void Survey(uint32_t page, const std::string& table, const CTableCheck::RowVisitor& visit) {
    if (!m_table.Open(page)) return;
    m_place = m_name + ": " + table;
    m_table.CheckRows(visit);
    for (const SCheckedRealIndex& index : m_table.GetTable().realIndexes) Compare(ReadLeaves(index.root));
  }

  std::vector<Bytes> ReadLeaves(uint32_t root) {
    std::vector<Bytes> leaves;
    CPageBuffer buffer(m_file);
    CIndexPage page;
    std::u16string problem;
    Bytes entry;
    // Down to the first leaf, then from leaf to leaf.
    uint32_t number = root;
    for (uint32_t steps = 0; number != 0 && steps < m_file.GetPageCount(); steps++) {
      if (!buffer.Load(number) || !page.Parse(m_file.GetLayout().index, buffer.GetBytes(), problem)) break;
      if (page.IsLeaf()) {
        leaves.emplace_back(buffer.GetBytes().begin(), buffer.GetBytes().end());
        number = page.GetNext();
      } else if (page.GetCount() == 0) {
        number = page.GetTail();
      } else {
        page.GetEntry(0, entry);
        number = ReadBigEndian(std::span(entry).last(kChildPointerSize));
      }
    }
    return leaves;
  }

  // What stands on the pages, from the length of their prefix to their last entry.
  void Compare(const std::vector<Bytes>& stored) {
    const SIndexPageLayout& layout = m_file.GetLayout().index;
    std::vector<Bytes> made;
    uint32_t pages = 1;
    const auto keepLeaf = [&](uint32_t, std::span<const uint8_t> page) {
      if (page[0] == kPageIndexLeaf) made.emplace_back(page.begin(), page.end());
      return true;
    };
    CIndexTreeBuilder builder(layout, m_table.GetTable().page, pages, {[&] { return ++pages; }, keepLeaf});
    CIndexPage page;
    std::u16string problem;
    Bytes entry;
    for (const Bytes& leaf : stored) {
      ASSERT_TRUE(page.Parse(layout, leaf, problem)) << m_place;
      for (size_t i = 0; i < page.GetCount(); i++) {
        page.GetEntry(i, entry);
        const auto key = std::span(entry).first(entry.size() - kRowPointerSize);
        EXPECT_TRUE(
            builder.Add(key, ReadBigEndian(std::span(entry).last(kRowPointerSize).first(3)), entry.back()));
      }
    }
    EXPECT_TRUE(builder.Finish());
    made.resize(std::max(made.size(), stored.size()), Bytes(m_file.GetLayout().pageSize));
    for (size_t i = 0; i < stored.size(); i++) {
      if (ArePagesEqual(layout, stored[i], made[i]))
        m_survey.equalLeaves++;
      else
        m_survey.otherTrees.insert(m_place);
    }
  }

  static bool ArePagesEqual(const SIndexPageLayout& layout, const Bytes& a, const Bytes& b) {
    const auto free = GetLittle<uint16_t>(a, kFreeBytesOffset);
    const auto from = static_cast<std::ptrdiff_t>(layout.prefix);
    return free == GetLittle<uint16_t>(b, kFreeBytesOffset) &&
           std::equal(a.begin() + from, a.end() - free, b.begin() + from);
  }

  CCheckedFile& m_file;
  const std::string m_name;
  SSurvey& m_survey;
  CFindings m_findings{0};
  CPageLedger m_ledger{m_findings, m_file.GetPageCount()};
  SCheckContext m_context{m_file, m_findings, m_ledger, {}, {}, {}, {}, {}, {}, {}};
  CUsageCheck m_usage{m_context};
  CTableCheck m_table{m_context, m_usage};
  std::string m_place;
};

// Grown entry by entry: its leaves are halves of pages that were split.
const std::set<std::string> kOtherTrees = {"V2007/odbcLinkerTestV2007.accdb: MSysObjects"};

TEST(IndexCorpus, LeavesAreThoseOfTheEngines) {
  const std::vector<SCorpusFile> files = CorpusFiles();
  if (files.empty()) GTEST_SKIP() << kNoCorpus;
  SSurvey survey;
  for (const auto& [path, name] : files) {
    CCheckedFile file;
    if (file.Open(path) == ECheckVerdict::Checked) CFileSurvey(file, name, survey).Run();
  }
  EXPECT_GE(survey.equalLeaves, 1'600u) << "next to nothing was compared";
  EXPECT_EQ(survey.otherTrees, kOtherTrees);
}

}  // namespace
}  // namespace tolvane::test
