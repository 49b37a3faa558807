// Every index of every real database, made again: our encoder must make of each row the key that is stored,
// byte for byte, and our builder must fill the same pages with the entries. Figures are printed by type of
// key.
#include <algorithm>
#include <iomanip>
#include <iostream>
#include <map>
#include <set>
#include <string>
#include <unordered_map>

#include "checker/CatalogueCheck.h"
#include "checker/TableCheck.h"
#include "embedded/IndexTreeBuilder.h"
#include "format/IndexPage.h"
#include "tests/checker/CheckerTest.h"

namespace tolvane::test {
namespace {

using Bytes = std::vector<uint8_t>;

struct SFigures {
  uint64_t equal = 0, different = 0;

  void Count(bool isEqual) { (isEqual ? equal : different)++; }
};

struct SSurvey {
  std::map<std::string, SFigures> columns;  // of keys, by format, type and order
  SFigures entries, leaves;
  uint64_t notComparable = 0;  // entries
  std::set<std::string> notes;
  std::set<std::string> otherTrees;  // "file: table", with pages that we fill otherwise
};

std::string TypeName(uint8_t type) {
  constexpr const char* kNames[] = {"0",      "boolean", "byte",    "integer", "long",   "currency", "single",
                                    "double", "date",    "binary",  "text",    "ole",    "memo",     "13",
                                    "14",     "GUID",    "numeric", "17",      "complex"};
  return type < std::size(kNames) ? kNames[type] : "type " + std::to_string(type);
}

// What a row must have in an index.
struct SRowKey {
  bool isKnown = false;
  Bytes key;
  std::vector<std::string> kinds;  // of its columns: format, type and order
};

class CFileSurvey {
 public:
  CFileSurvey(CCheckedFile& file, std::string name, SSurvey& survey)
      : m_file(file),
        m_name(std::move(name)),
        m_survey(survey),
        m_findings(0),
        m_ledger(m_findings, file.GetPageCount()),
        m_context{file, m_findings, m_ledger, {}, {}, {}, {}, {}, {}, {}},
        m_usage(m_context),
        m_table(m_context, m_usage),
        m_longValues(m_context) {}

  void Run() {
    CCatalogueCheck catalogue(m_context);
    Survey(kObjectsPage, "MSysObjects",
           [&](const CRowView& row, SPlace place) { catalogue.AddObject(row, place); });
    for (const SCheckedObject& object : catalogue.GetObjects())
      if (object.HasDefinition() && object.id != kObjectsPage && object.id < m_file.GetPageCount())
        Survey(object.id, ToUtf8(object.name), [](const CRowView&, SPlace) {});
    for (const std::u16string& note : m_findings.GetNotes()) m_survey.notes.insert(ToUtf8(note));
  }

 private:
  using KeysByRow = std::unordered_map<uint32_t, SRowKey>;  // by row pointer

  void Survey(uint32_t page, const std::string& table, const CTableCheck::RowVisitor& visit) {
    if (!m_table.Open(page)) return;
    m_place = m_name + ": " + table;
    const std::vector<SCheckedRealIndex>& indexes = m_table.GetTable().realIndexes;
    std::vector<KeysByRow> keys(indexes.size());
    m_table.CheckRows([&](const CRowView& row, SPlace place) {
      visit(row, place);
      for (size_t i = 0; i < indexes.size(); i++)
        keys[i][MakeRowPointer(place.page, place.row)] = MakeKey(row, indexes[i]);
    });
    for (size_t i = 0; i < indexes.size(); i++) Compare(ReadLeaves(indexes[i].root), keys[i]);
  }

  SRowKey MakeKey(const CRowView& row, const SCheckedRealIndex& index) {
    SRowKey made;
    made.isKnown = CRowKeys(m_context, index, m_longValues).Make(row, made.key);
    for (const SCheckedIndexPart& part : index.parts)
      if (made.isKnown) made.kinds.push_back(KindOf(part, row.Get(*part.column).has_value()));
    return made;
  }

  [[nodiscard]] std::string KindOf(const SCheckedIndexPart& part, bool hasValue) const {
    constexpr const char* kFormats[] = {"Jet 3", "Jet 4", "ACE"};
    return kFormats[static_cast<size_t>(m_file.GetVersion())] + std::string(" ") +
           (hasValue ? TypeName(part.column->type) : "null") +
           (part.ascending ? " ascending" : " descending");
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

  void Compare(const std::vector<Bytes>& leaves, const KeysByRow& keys) {
    std::vector<Bytes> entries;
    CIndexPage page;
    std::u16string problem;
    for (const Bytes& leaf : leaves) {
      ASSERT_TRUE(page.Parse(m_file.GetLayout().index, leaf, problem)) << m_place;
      for (size_t i = 0; i < page.GetCount(); i++) page.GetEntry(i, entries.emplace_back());
    }
    for (const Bytes& entry : entries) CompareEntry(entry, keys);
    CompareLeaves(leaves, entries);
  }

  void CompareEntry(const Bytes& entry, const KeysByRow& keys) {
    const auto found = keys.find(ReadBigEndian(std::span(entry).last(kRowPointerSize)));
    ASSERT_NE(found, keys.end()) << m_place << ": an entry for no row";
    const SRowKey& made = found->second;
    if (!made.isKnown) {
      m_survey.notComparable++;
      return;
    }
    const Bytes stored(entry.begin(), entry.end() - kRowPointerSize);
    EXPECT_EQ(stored, made.key) << m_place;
    m_survey.entries.Count(stored == made.key);
    for (const std::string& kind : made.kinds) m_survey.columns[kind].Count(stored == made.key);
  }

  // What stands on the pages, from the length of their prefix to their last entry.
  void CompareLeaves(const std::vector<Bytes>& stored, const std::vector<Bytes>& entries) {
    const SIndexPageLayout& layout = m_file.GetLayout().index;
    std::vector<Bytes> made;
    uint32_t pages = 1;
    const auto keepLeaf = [&](uint32_t, std::span<const uint8_t> page) {
      if (page[0] == kPageIndexLeaf) made.emplace_back(page.begin(), page.end());
      return true;
    };
    CIndexTreeBuilder builder(layout, m_table.GetTable().page, pages, {[&] { return ++pages; }, keepLeaf});
    for (const Bytes& entry : entries)
      EXPECT_TRUE(builder.Add(std::span(entry).first(entry.size() - kRowPointerSize),
                              ReadBigEndian(std::span(entry).last(kRowPointerSize).first(3)), entry.back()));
    EXPECT_TRUE(builder.Finish());
    made.resize(std::max(made.size(), stored.size()), Bytes(m_file.GetLayout().pageSize));
    for (size_t i = 0; i < stored.size(); i++) {
      const bool isEqual = ArePagesEqual(layout, stored[i], made[i]);
      m_survey.leaves.Count(isEqual);
      if (!isEqual) m_survey.otherTrees.insert(m_place);
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
  CFindings m_findings;
  CPageLedger m_ledger;
  SCheckContext m_context;
  CUsageCheck m_usage;
  CTableCheck m_table;
  CLongValueCheck m_longValues;
  std::string m_place;
};

void Print(const std::string& what, const SFigures& figures) {
  std::cout << std::left << std::setw(32) << what << std::right << std::setw(8) << figures.equal
            << std::setw(10) << figures.different << '\n';
}

// Types that indexes of the corpus have; numeric, memo, large number and extended date are in none.
constexpr const char* kSeenTypes[] = {"boolean", "byte", "integer", "long", "currency", "single", "double",
                                      "date",    "text", "binary",  "GUID", "complex",  "null"};
constexpr uint64_t kFewestEntries = 25'000, kFewestLeaves = 1'600;  // so that comparing next to nothing fails
// One file has a column of a type that was made up.
const std::set<std::string> kNotes = {
    "Keys of type 72 are not known: such indexes are checked for order and completeness only."};
// Grown entry by entry: its leaves are halves of pages that were split.
const std::set<std::string> kOtherTrees = {"V2007/odbcLinkerTestV2007.accdb: MSysObjects"};

TEST(IndexCorpus, KeysAndPagesAreThoseOfTheEngines) {
  const std::vector<SCorpusFile> files = CorpusFiles();
  if (files.empty()) GTEST_SKIP() << kNoCorpus;
  SSurvey survey;
  for (const auto& [path, name] : files) {
    CCheckedFile file;
    if (file.Open(path) == ECheckVerdict::Checked) CFileSurvey(file, name, survey).Run();
  }
  for (const auto& [kind, figures] : survey.columns) Print(kind, figures);
  Print("entries", survey.entries);
  Print("leaf pages, built again", survey.leaves);

  std::cout << survey.notComparable << " entries cannot be compared\n";

  for (const char* type : kSeenTypes)
    EXPECT_TRUE(std::any_of(survey.columns.begin(), survey.columns.end(), [&](const auto& kind) {
      return kind.first.find(std::string(" ") + type + ' ') != std::string::npos;
    })) << type;
  EXPECT_GE(survey.entries.equal, kFewestEntries);
  EXPECT_GE(survey.leaves.equal, kFewestLeaves);
  EXPECT_EQ(survey.notes, kNotes);
  EXPECT_EQ(survey.otherTrees, kOtherTrees);
}

}  // namespace
}  // namespace tolvane::test
