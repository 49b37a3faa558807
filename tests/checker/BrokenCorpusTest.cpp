// What the embedded engine does not write, broken in real databases: relationships, property blobs, moved
// rows, and the Jet 3 format.
#include <functional>
#include <ostream>
#include <set>
#include <string>

#include "tests/checker/CheckerTest.h"

namespace tolvane::test {
namespace {

struct SBrokenReal {
  const char* name;
  const char16_t* file;
  std::function<void(CChangedFile&)> change;
  std::set<std::string> rules;
};

constexpr const char16_t* kRelations = u"V2003/indexTestV2003.mdb";
constexpr const char16_t* kMovedRows = u"V2003/overflowTestV2003.mdb";
constexpr const char16_t* kComplex = u"V2007/complexDataTestV2007.accdb";
constexpr const char16_t* kJet3 = u"V1997/indexTestV1997.mdb";

// Rows of MSysRelationships: column count, grbit, ccolumn, icolumn, then the names.
CChangedFile::SRow RelationRow(const CChangedFile& f) {
  const size_t page = f.FirstOwnedPage(5);
  size_t row = 0;
  while ((f.Get(page, 14 + 2 * row, 2) & 0x8000) != 0) row++;  // deleted
  return {page, f.StartOfRow(page, row)};
}
// A definition with an index that enforces a relationship, and where the index is.
CChangedFile::SRow RelationIndex(const CChangedFile& f) {
  for (size_t page = 6; page < f.GetPageCount(); page++) {
    if (f.Get(page, 0, 2) != 0x0102 || f.Get(page, 12, 4) != 0x659) continue;
    for (size_t at = 63; at + 28 < CChangedFile::kPageSize; at++)
      if (f.Get(page, at, 4) == 0x659 && f.Get(page, at + 12, 1) == 2 && f.Get(page, at + 23, 1) == 2 &&
          f.Get(page, at + 24, 4) == 0)
        return {page, at};
  }
  return {0, 0};
}
// The slot of a row that has moved.
CChangedFile::SRow MovedSlot(const CChangedFile& f) {
  for (size_t page = 1; page < f.GetPageCount(); page++) {
    if (f.Get(page, 0, 2) != 0x0101 || f.Get(page, 4, 4) == 0x4C41564C) continue;
    for (size_t row = 0; row < f.Get(page, 12, 2); row++)
      if ((f.Get(page, 14 + 2 * row, 2) & 0xC000) == 0x4000) return {page, row};
  }
  return {0, 0};
}

// The first row of MSysComplexColumns, on page 116: column count, kind, flat table, table, complex number.
size_t ComplexRow(const CChangedFile& f) {
  return f.StartOfRow(116, 0);
}

// Jet 3: the only leaf of the index of MSysACEs; entries of a flag, four bytes of key and four of row
// pointer.
size_t Jet3Leaf(const CChangedFile& f) {
  return f.FindPage(4, 3);
}

const SBrokenReal kBroken[] = {
    {"RelationCount",
     kRelations,
     [](CChangedFile& f) {
       const auto row = RelationRow(f);
       f.At(row.page, row.start + 6)++;
     },
     {"G2"}},
    {"RelationCascade",
     kRelations,
     [](CChangedFile& f) {
       const auto row = RelationRow(f);
       f.At(row.page, row.start + 3) ^= 1;
     },
     {"G5"}},
    {"RelationName",
     kRelations,
     [](CChangedFile& f) {
       const auto row = RelationRow(f);
       f.At(row.page, row.start + 14) = 'q';
     },
     {"E11", "G1", "G3"}},
    {"PartnerIndex",
     kRelations,
     [](CChangedFile& f) {
       const auto index = RelationIndex(f);
       f.At(index.page, index.start + 13) = 77;
     },
     {"G3"}},
    // The flags of the real indexes stand behind their magic; those of the ones that are referred to go.
    {"ReferredToIndex",
     kRelations,
     [](CChangedFile& f) {
       const auto index = RelationIndex(f);
       const size_t page = f.Get(index.page, index.start + 17, 4);
       for (size_t at = 63; at + 52 < CChangedFile::kPageSize; at++)
         if (f.Get(page, at, 4) == 0x783) f.At(page, at + 46) = 0x88;
     },
     {"E13", "G6"}},
    {"RelationColumn",
     kRelations,
     [](CChangedFile& f) {
       const auto index = RelationIndex(f);
       f.At(index.page, index.start + 8) ^= 1;
     },
     {"C14", "G6"}},
    {"PropertyBlob",
     kRelations,
     [](CChangedFile& f) {
       for (size_t page = 1; page < f.GetPageCount(); page++)
         if (f.Get(page, 4, 4) == 0x4C41564C)
           for (size_t at = 0; (at = f.Find(page, {"MR2\0", 4}, at)) != std::string::npos;)
             f.At(page, at) = 'X';
     },
     {"P1"}},
    {"MovedRow",
     kMovedRows,
     [](CChangedFile& f) {
       const auto slot = MovedSlot(f);
       f.At(slot.page, f.StartOfRow(slot.page, slot.start)) = 200;
     },
     {"C11", "C8", "R2"}},
    {"ComplexFlatTable", kComplex, [](CChangedFile& f) { f.At(116, ComplexRow(f) + 6) = 2; }, {"E11", "K1"}},
    {"ComplexNumber",
     kComplex,
     [](CChangedFile& f) { f.At(116, ComplexRow(f) + 14) = 99; },
     {"C12", "E11", "K2"}},
    {"ComplexColumn",  // the name of the flat table's column Value
     kComplex,
     [](CChangedFile& f) { f.At(60, f.Find(60, WideBytes("Value"))) = 'W'; },
     {"K3"}},
    {"Jet3FreeBytes", kJet3, [](CChangedFile& f) { f.At(Jet3Leaf(f), 2)++; }, {"E4"}},
    {"Jet3KeyByte", kJet3, [](CChangedFile& f) { f.At(Jet3Leaf(f), 0xF8)--; }, {"E11"}},
    {"Jet3Level", kJet3, [](CChangedFile& f) { f.At(Jet3Leaf(f), 0x15)++; }, {"E5"}},
    {"Jet3DefinitionMark", kJet3, [](CChangedFile& f) { f.At(2, 2) = 'X'; }, {"C3"}},
    {"Jet3CatalogueRow",
     kJet3,
     [](CChangedFile& f) {
       const size_t page = f.FindPage(1, 2);
       f.At(page, f.Get(page, 10, 2) & 0x1FFF) = 99;  // the row's column count
     },
     {"A7", "B3", "B6", "R1"}},
};

std::ostream& operator<<(std::ostream& out, const SBrokenReal& broken) {
  return out << broken.name;
}

class BrokenCorpus : public ::testing::TestWithParam<SBrokenReal> {};

TEST_P(BrokenCorpus, BreaksJustItsRules) {
  const std::u16string folder = CorpusFolder();
  if (folder.empty()) GTEST_SKIP() << kNoCorpus;
  CChangedFile file(ReadFileBytes(folder + u"/" + GetParam().file));
  GetParam().change(file);
  const SCheckReport report = CheckBytes(file.GetBytes());
  ASSERT_EQ(report.verdict, ECheckVerdict::Checked);
  EXPECT_EQ(RulesOf(report), GetParam().rules) << Describe(report);
}

std::string NameOfCase(const ::testing::TestParamInfo<SBrokenReal>& tested) {
  return tested.param.name;
}
INSTANTIATE_TEST_SUITE_P(All, BrokenCorpus, ::testing::ValuesIn(kBroken), NameOfCase);

}  // namespace
}  // namespace tolvane::test
