// Every index of every real database, made again: our encoder must make of each row the key that is stored,
// byte for byte, and our builder must fill the same pages with the entries. Figures are printed by type of
// key.
#include <algorithm>
#include <cstdio>
#include <map>
#include <set>
#include <string>
#include <unordered_map>

#include "checker/CatalogueCheck.h"
#include "checker/TableCheck.h"
#include "tests/checker/CheckerTest.h"
#include "writer/embedded/IndexPage.h"
#include "writer/embedded/IndexTreeBuilder.h"

namespace tolvane::test {
namespace {

using Bytes = std::vector<uint8_t>;

struct SFigures {
  uint64_t equal = 0, different = 0;
};

struct SSurvey {
  std::map<std::string, SFigures> values;         // one column's part of a key, by format, type and order
  std::map<std::string, uint64_t> notComparable;  // entries, by reason
  std::map<std::string, std::set<std::string>> whereNotComparable;
  SFigures entries, leaves;
  std::vector<std::string> differences;  // keys, in words
  std::set<std::string> otherTrees;      // "file: table", with pages that we fill otherwise
};

std::string Hex(std::span<const uint8_t> bytes) {
  std::string text;
  for (const uint8_t byte : bytes) {
    text += "0123456789ABCDEF"[byte >> 4];
    text += "0123456789ABCDEF"[byte & 15];
  }
  return text;
}

std::string TypeName(uint8_t type) {
  constexpr const char* kNames[] = {
      "0",      "boolean", "byte",    "integer", "long",    "currency",     "single",
      "double", "date",    "binary",  "text",    "ole",     "memo",         "13",
      "14",     "GUID",    "numeric", "17",      "complex", "large number", "extended date"};
  return type < std::size(kNames) ? kNames[type] : "type " + std::to_string(type);
}

// What a row must have in an index.
struct SRowKey {
  struct SPart {
    std::string kind;  // format, type and order
    Bytes bytes;
  };
  std::vector<SPart> parts;
  std::string unknown;  // why no key can be made; empty when one can
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
        Survey(object.id, ToUtf8(object.name), {});
  }

 private:
  using KeysByRow = std::unordered_map<uint32_t, SRowKey>;  // by row pointer

  void Survey(uint32_t page, const std::string& table, const CTableCheck::RowVisitor& visit) {
    if (!m_table.Open(page)) return;
    m_place = m_name + ": " + table;
    const std::vector<SCheckedRealIndex>& indexes = m_table.GetTable().realIndexes;
    std::vector<KeysByRow> keys(indexes.size());
    m_table.CheckRows([&](const CRowView& row, SPlace place) {
      if (visit) visit(row, place);
      for (size_t i = 0; i < indexes.size(); i++)
        keys[i][MakeRowPointer(place.page, place.row)] = MakeKey(row, indexes[i]);
    });
    for (size_t i = 0; i < indexes.size(); i++) Compare(indexes[i], keys[i]);
  }

  // Column by column, so that each part of a key can be told from the next.
  SRowKey MakeKey(const CRowView& row, const SCheckedRealIndex& index) {
    SRowKey key;
    for (const SCheckedIndexPart& part : index.parts) {
      SCheckedRealIndex alone;
      alone.parts = {part};
      SRowKey::SPart made;
      if (!CRowKeys(m_context, alone, m_longValues).Make(row, made.bytes)) {
        key.unknown = WhyUnknown(part);
        break;
      }
      made.kind = KindOf(part, row.Get(*part.column).has_value());
      key.parts.push_back(std::move(made));
    }
    return key;
  }

  [[nodiscard]] std::string KindOf(const SCheckedIndexPart& part, bool hasValue) const {
    constexpr const char* kFormats[] = {"Jet 3", "Jet 4", "ACE"};
    char text[60];
    std::snprintf(text, sizeof text, "%-6s %-13s %s", kFormats[static_cast<size_t>(m_file.GetVersion())],
                  (hasValue ? TypeName(part.column->type) : "null").c_str(),
                  part.ascending ? "ascending" : "descending");
    return text;
  }

  static std::string WhyUnknown(const SCheckedIndexPart& part) {
    if (part.column == nullptr) return "a deleted column";
    const SCheckedColumn& column = *part.column;
    if (column.IsCalculated()) return "a calculated column";
    std::string reason = TypeName(column.type);
    if (column.type == kTypeText || column.type == kTypeMemo) {
      char order[60];
      std::snprintf(order, sizeof order, " in sort order %04X version %d", column.sortOrder,
                    column.sortVersion);
      reason += order;
    }
    return reason;
  }

  void Compare(const SCheckedRealIndex& index, const KeysByRow& keys) {
    const std::vector<Bytes> leaves = ReadLeaves(index.root);
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

  void CompareEntry(const Bytes& entry, const KeysByRow& keys) {
    const auto found = keys.find(ReadBigEndian(std::span(entry).last(kRowPointerSize)));
    if (found == keys.end()) return Differ(entry, "no such row");
    if (!found->second.unknown.empty()) {
      m_survey.notComparable[found->second.unknown]++;
      m_survey.whereNotComparable[found->second.unknown].insert(m_place);
      return;
    }
    const std::span<const uint8_t> stored = std::span(entry).first(entry.size() - kRowPointerSize);
    size_t at = 0;
    for (const SRowKey::SPart& part : found->second.parts) {
      const std::span<const uint8_t> rest = stored.subspan(at);
      const bool isEqual =
          rest.size() >= part.bytes.size() && std::equal(part.bytes.begin(), part.bytes.end(), rest.begin());
      SFigures& figures = m_survey.values[part.kind];
      (isEqual ? figures.equal : figures.different)++;
      if (!isEqual) return Differ(entry, part.kind + " " + Hex(part.bytes));
      at += part.bytes.size();
    }
    if (at != stored.size()) return Differ(entry, "the key ends early");
    m_survey.entries.equal++;
  }

  void Differ(const Bytes& entry, const std::string& made) {
    m_survey.entries.different++;
    m_survey.differences.push_back(m_place + ": stored " + Hex(entry) + ", made " + made);
  }

  // What stands on the pages, from the length of their prefix to their last entry.
  void CompareLeaves(const std::vector<Bytes>& stored, const std::vector<Bytes>& entries) {
    const SIndexPageLayout& layout = m_file.GetLayout().index;
    std::vector<Bytes> made;
    uint32_t pages = 1;
    CIndexTreeBuilder builder(layout, m_table.GetTable().page, pages,
                              {[&] { return ++pages; },
                               [&](uint32_t, std::span<const uint8_t> page) {
                                 if (page[0] == kIndexLeafType) made.emplace_back(page.begin(), page.end());
                                 return true;
                               }});
    bool isBuilt = true;
    for (const Bytes& entry : entries)
      isBuilt = isBuilt &&
                builder.Add(std::span(entry).first(entry.size() - kRowPointerSize),
                            ReadBigEndian(std::span(entry).last(kRowPointerSize).first(3)), entry.back());
    isBuilt = isBuilt && builder.Finish();
    for (size_t i = 0; i < stored.size(); i++) {
      const bool isEqual = isBuilt && i < made.size() && ArePagesEqual(layout, stored[i], made[i]);
      (isEqual ? m_survey.leaves.equal : m_survey.leaves.different)++;
      if (!isEqual) m_survey.otherTrees.insert(m_place);
    }
  }

  static bool ArePagesEqual(const SIndexPageLayout& layout, const Bytes& a, const Bytes& b) {
    const auto free = GetLittle<uint16_t>(a, layout.free);
    const auto from = static_cast<std::ptrdiff_t>(layout.prefix);
    return free == GetLittle<uint16_t>(b, layout.free) &&
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

void Print(const SSurvey& survey) {
  std::printf("%-32s %8s %9s\n", "keys, column by column", "equal", "different");
  for (const auto& [kind, figures] : survey.values)
    std::printf("%-32s %8llu %9llu\n", kind.c_str(), static_cast<unsigned long long>(figures.equal),
                static_cast<unsigned long long>(figures.different));
  std::printf("%-32s %8llu %9llu\n%-32s %8llu %9llu\n", "entries",
              static_cast<unsigned long long>(survey.entries.equal),
              static_cast<unsigned long long>(survey.entries.different), "leaf pages, built again",
              static_cast<unsigned long long>(survey.leaves.equal),
              static_cast<unsigned long long>(survey.leaves.different));
  std::printf("entries that cannot be compared:\n");
  for (const auto& [reason, count] : survey.notComparable) {
    const std::set<std::string>& places = survey.whereNotComparable.at(reason);
    std::printf("%8llu  %s (%zu tables, such as %s)\n", static_cast<unsigned long long>(count),
                reason.c_str(), places.size(), places.begin()->c_str());
  }
  for (const std::string& place : survey.otherTrees)
    std::printf("pages filled otherwise: %s\n", place.c_str());
}

void SurveyFile(const SCorpusFile& found, SSurvey& survey) {
  CCheckedFile file;
  if (file.Open(found.path) == ECheckVerdict::Checked) CFileSurvey(file, found.name, survey).Run();
}

// Types that indexes of the corpus have; numeric, memo, large number and extended date are in none.
constexpr const char* kSeenTypes[] = {"boolean", "byte", "integer", "long", "currency", "single", "double",
                                      "date",    "text", "binary",  "GUID", "complex",  "null"};
constexpr uint64_t kFewestEntries = 25'000, kFewestLeaves = 1'600;  // so that comparing next to nothing fails
// Our weights are those of the "General Legacy" order, and one file has a column of a type that was made up.
// of the corpus knew.
const std::set<std::string> kNotComparable = {"text in sort order 0409 version 1", "type 72"};
// Grown entry by entry: its leaves are halves of pages that were split.
const std::set<std::string> kOtherTrees = {"V2007/odbcLinkerTestV2007.accdb: MSysObjects"};

TEST(IndexCorpus, KeysAndPagesAreThoseOfTheEngines) {
  const std::vector<SCorpusFile> files = CorpusFiles();
  if (files.empty()) GTEST_SKIP() << kNoCorpus;
  SSurvey survey;
  for (const SCorpusFile& file : files) SurveyFile(file, survey);
  Print(survey);

  for (const std::string& difference : survey.differences) ADD_FAILURE() << difference;
  EXPECT_GE(survey.entries.equal, kFewestEntries);
  for (const char* type : kSeenTypes)
    EXPECT_TRUE(std::any_of(survey.values.begin(), survey.values.end(), [&](const auto& kind) {
      return kind.first.find(std::string(" ") + type + ' ') != std::string::npos;
    })) << type;
  for (const auto& [reason, count] : survey.notComparable)
    EXPECT_EQ(kNotComparable.count(reason), 1u) << reason;
  EXPECT_GE(survey.leaves.equal, kFewestLeaves);
  EXPECT_EQ(survey.otherTrees, kOtherTrees);
}

// The survey itself must see a wrong byte.
TEST(IndexCorpus, OneWrongByteOfAKeyIsSeen) {
  CChangedFile file = MakeSoundFile();
  const size_t leaf = file.FindPage(4, 2);
  ASSERT_NE(leaf, 0u);
  file.At(leaf, 480 + 1) ^= 1;  // the first entry's ParentId, behind its flag
  const CScratchFolder folder;
  const std::u16string path = folder / u"changed.mdb";
  WriteFileBytes(path, file.GetBytes());
  SSurvey survey;
  SurveyFile({path, "changed"}, survey);
  EXPECT_EQ(survey.entries.different, 1u);
  EXPECT_GT(survey.entries.equal, 0u);
}

}  // namespace
}  // namespace tolvane::test
