// One thing is changed in a sound database, and exactly the rules that this breaks are reported. What the
// embedded engine does not write (relationships, property blobs, moved rows, complex columns, Jet 3) is
// broken in real databases.
#include <algorithm>
#include <functional>
#include <set>
#include <span>
#include <string>

#include "tests/checker/CheckerTest.h"

namespace tolvane::test {
namespace {

using SRow = CChangedFile::SRow;
using Place = std::function<SRow(const CChangedFile&)>;
using Change = std::function<void(CChangedFile&)>;

// --- changes, each at an offset from a place ---

Change Edit(const Place& place, const std::function<void(CChangedFile&, SRow)>& edit) {
  return [=](CChangedFile& f) { edit(f, place(f)); };
}
Change Set(const Place& place, size_t offset, size_t width, uint32_t value) {
  return Edit(place, [=](auto& f, SRow at) { f.Put(at.page, at.start + offset, width, value); });
}
Change Raise(const Place& place, size_t offset) {
  return Edit(place, [=](auto& f, SRow at) { f.At(at.page, at.start + offset)++; });
}
Change Flip(const Place& place, size_t offset, uint8_t bits) {
  return Edit(place, [=](auto& f, SRow at) { f.At(at.page, at.start + offset) ^= bits; });
}
Change Write(const Place& place, size_t offset, const std::string& bytes) {
  return Edit(place, [=](auto& f, SRow at) { std::ranges::copy(bytes, &f.At(at.page, at.start + offset)); });
}
Change Swap(const Place& place, size_t offset, size_t other, size_t length) {
  return Edit(place, [=](auto& f, SRow at) {
    uint8_t* const bytes = &f.At(at.page, at.start);
    std::swap_ranges(bytes + offset, bytes + offset + length, bytes + other);
  });
}
Change Copy(const Place& place, size_t to, size_t from) {
  return Edit(
      place, [=](auto& f, SRow at) { f.Put(at.page, at.start + to, 4, f.Get(at.page, at.start + from, 4)); });
}
// The bit of `page` in a usage map.
Change FlipMapBit(const Place& map, const Place& page) {
  return [=](CChangedFile& f) {
    const size_t bit = page(f).page;
    Flip(map, 5 + bit / 8, static_cast<uint8_t>(1u << bit % 8))(f);
  };
}

// --- places ---

Place At(size_t page, size_t start = 0) {
  return [=](const CChangedFile&) { return SRow{page, start}; };
}
// Where a page number stands, the page itself.
Place PageAt(const Place& place, size_t offset, size_t width) {
  return [=](const CChangedFile& f) { return SRow{f.Get(place(f).page, place(f).start + offset, width), 0}; };
}
// Where a row pointer stands, the row itself.
Place Follow(const Place& place, size_t offset) {
  return [=](const CChangedFile& f) { return f.Follow(place(f).page, place(f).start + offset); };
}
Place RowOf(const Place& page, size_t row) {
  return [=](const CChangedFile& f) { return SRow{page(f).page, f.StartOfRow(page(f).page, row)}; };
}
Place RowsOf(const Place& definition) {
  return [=](const CChangedFile& f) {
    return SRow{f.FindPage(1, static_cast<uint32_t>(definition(f).page)), 0};
  };
}
// The first such bytes behind a place.
Place Find(const Place& from, const std::string& bytes) {
  return [=](const CChangedFile& f) {
    return SRow{from(f).page, f.Find(from(f).page, bytes, from(f).start)};
  };
}
Place DefinitionWith(std::string_view column) {
  return [=](const CChangedFile& f) { return SRow{f.FindTable(column), 0}; };
}
// Real index `i` of a definition, by its constant.
Place RealIndex(size_t definition, size_t i) {
  const Place first = Find(At(definition), {"\x83\x07\0\0", 4});
  return [=](const CChangedFile& f) { return SRow{definition, first(f).start + 52 * i}; };
}
Place Root(size_t definition, size_t i) {
  return PageAt(RealIndex(definition, i), 38, 4);
}
SRow BehindTheEnd(const CChangedFile& f) {
  return {f.GetPageCount(), 0};
}

// Definitions: offsets of the header and of column `i` (no index comes before the columns of user tables).
constexpr size_t kOwnedMap = 55, kFreeMap = 59;
constexpr size_t kNumber = 5, kVariableIndex = 7, kDisplay = 9, kFixedOffset = 21, kLength = 23;
enum { kPlainId, kPlainText, kPlainFlag, kPlainDate };
constexpr size_t ColumnAt(size_t i) {
  return 63 + 25 * i;
}
const Place kPlain = DefinitionWith("PlainId"), kPlainRows = RowsOf(kPlain);

// References to a long value of each kind; the row has no fixed part.
const Place kLongRows = RowsOf(DefinitionWith("LongMemo"));
const Place kInline = RowOf(kLongRows, 0), kSingle = RowOf(kLongRows, 1), kChain = RowOf(kLongRows, 2);
constexpr size_t kReference = 2;
// The definition ends with two maps of ten bytes and the end mark.
SRow LongValueMaps(const CChangedFile& f) {
  const size_t page = f.FindTable("LongMemo");
  return {page, f.Get(page, 8, 4) - 2 - 20};
}

// The index of MSysACEs: one leaf, entries of 9 bytes: flag, 4 bytes of key, page, row.
constexpr size_t kObjects = 2, kAces = 3, kEntry = 9;
const Place kAceLeaf = Root(kAces, 0), kAceRows = RowsOf(At(kAces));
constexpr size_t EntryAt(size_t i) {
  return 480 + kEntry * i;
}
SRow LastAceEntry(const CChangedFile& f) {
  const size_t leaf = kAceLeaf(f).page;
  return {leaf, EntryAt((3616 - f.Get(leaf, 2, 2)) / kEntry - 1)};
}
void RemoveLastAceEntry(CChangedFile& f) {
  const auto [leaf, start] = LastAceEntry(f);
  const size_t end = start + kEntry - 480;
  Flip(kAceLeaf, 27 + end / 8, static_cast<uint8_t>(1u << end % 8))(f);
  f.Put(leaf, 2, 2, f.Get(leaf, 2, 2) + kEntry);
}

// The row of the catalogue with this name, which follows 30 bytes of fixed columns and the column count.
Place Object(const std::string& name) {
  return [=](const CChangedFile& f) {
    for (size_t page = f.FindPage(1, kObjects); page != 0; page = f.FindPage(1, kObjects, page + 1))
      if (const size_t at = f.Find(page, WideBytes(name)); at != std::string::npos)
        return SRow{page, at - 32};
    return SRow{0, 0};
  };
}
const std::string kSmall = "SmallTableWithANameThatIsLongEnoughForTwoLeaves";  // and a number from 100 up
constexpr size_t kId = 2, kParent = 6, kKind = 28, kName = 32;
const size_t kBehindSmall = kName + 2 * (kSmall.size() + 3);

// Rows of the query: fixed columns ObjectId, Attribute, Flag, LvExtra, then Order.
Place QueryRow(uint8_t attribute) {
  return [=](const CChangedFile& f) {
    const size_t page = f.FindPage(1, 4);
    size_t row = 0;
    while (f.Get(page, f.StartOfRow(page, row) + 6, 1) != attribute) row++;
    return SRow{page, f.StartOfRow(page, row)};
  };
}

struct SBroken {
  const char* name;
  Change change;
  std::set<std::string> rules;
};

const SBroken kPages[] = {
    {"length of the file", [](CChangedFile& f) { f.GetBytes().resize(f.GetBytes().size() + 100); }, {"A1"}},
    {"header's mark", Set(At(0), 1, 1, 2), {"A2"}},
    {"page of a system table's definition", Flip(At(0), 0x24, 4), {"A3"}},
    {"second pointer to the global map", Flip(At(0), 0x1C, 4), {"A3"}},
    // Every fourth byte: the password takes part in the key that masks all owners.
    {"password",
     [](CChangedFile& f) {
       for (size_t i = 0; i < 40; i += 4) f.At(0, 0x42 + i) ^= 1;
     },
     {"A4", "A5", "A6"}},
    {"type of a row page", Set(kPlainRows, 0, 1, 9), {"D2", "C11"}},
    {"owner of a row page", Raise(kPlainRows, 4), {"D2", "C11"}},
    {"free bytes of a row page", Raise(kPlainRows, 2), {"D4"}},
    {"order of slots", Swap(kPlainRows, 14 + 6, 14 + 8, 2), {"D3", "C11"}},
    {"flag of a slot", Flip(kPlainRows, 15, 0x20), {"D3"}},
    {"pointer to no row", Flip(kPlainRows, 15, 0x40), {"R2", "C11"}},
    {"body without pointer", Flip(kPlainRows, 15, 0x80), {"R2", "C11"}},
    {"kind of a map", Set(Follow(kPlain, kFreeMap), 0, 1, 7), {"D1"}},
    {"page in two maps", FlipMapBit(Follow(kPlain, kOwnedMap), At(3)), {"F2"}},
    {"page outside the file", FlipMapBit(Follow(kPlain, kOwnedMap), BehindTheEnd), {"F5"}},
    {"page missing in its map", FlipMapBit(Follow(kPlain, kOwnedMap), kPlainRows), {"C11", "F3"}},
    {"page with room that is not owned", FlipMapBit(Follow(kPlain, kFreeMap), At(1)), {"D5"}},
    {"used page marked free", FlipMapBit(RowOf(At(1), 0), At(7)), {"F1"}},
    {"page behind the end not free", FlipMapBit(RowOf(At(1), 0), BehindTheEnd), {"F4"}},
    {"second global map", FlipMapBit(RowOf(At(1), 1), At(9)), {"F6"}},
};

const SBroken kDefinitions[] = {
    {"length of a definition", Raise(kPlain, 8), {"C1"}},
    {"free bytes of a definition", Raise(kPlain, 2), {"C2"}},
    {"constant", Raise(kPlain, 12), {"C3"}},
    {"display order",
     Swap(kPlain, ColumnAt(kPlainId) + kDisplay, ColumnAt(kPlainText) + kDisplay, 2),
     {"C4"}},
    {"number twice", Set(kPlain, ColumnAt(kPlainDate) + kNumber, 2, kPlainFlag), {"C5", "C7", "F3"}},
    {"name twice but for case",
     Write(Find(kPlain, WideBytes("PlainDate")), 0, WideBytes("PlainFlAg")),
     {"C6"}},
    {"variable index", Set(kPlain, ColumnAt(kPlainText) + kVariableIndex, 2, 5), {"C9", "F3"}},
    // The fixed part seems shorter than it is, so the rows do not fit either.
    {"fixed offset", Set(kPlain, ColumnAt(kPlainDate) + kFixedOffset, 2, 2), {"C10", "R1"}},
    {"row count", Raise(kPlain, 16), {"C11"}},
    {"AutoNumber", Set(kPlain, 20, 4, 5), {"C12"}},
    {"map of long values", Set(LongValueMaps, 0, 2, 9), {"C13", "D7", "F3"}},
    {"carrying index", Set(RealIndex(kAces, 0), 52 + 8, 4, 7), {"C14"}},
    {"order of index names", Write(Find(RealIndex(5, 2), WideBytes("szObject")), 4, "Z"), {"C15"}},
    {"index number twice", Copy(RealIndex(kObjects, 1), 52 + 4, 52 + 28 + 4), {"C16"}},
    {"column of an index", Set(RealIndex(kAces, 0), 4, 2, 99), {"C17"}},
    {"length of a type", Set(kPlain, ColumnAt(kPlainFlag) + kLength, 2, 2), {"C18"}},
    {"table type", Set(kPlain, 40, 1, 0x53), {"B8"}},
    {"no definition", Set(kPlain, 0, 1, 8), {"B4", "F3"}},
};

const SBroken kRows[] = {
    {"column count", Set(RowOf(kPlainRows, 0), 0, 1, 77), {"R1"}},
    {"variable count", Raise(kPlainRows, CChangedFile::kPageSize - 3), {"R1"}},
    {"end of data", Set(kPlainRows, CChangedFile::kPageSize - 7, 2, 4000), {"R1"}},
    {"text too long", Set(kPlain, ColumnAt(kPlainText) + kLength, 2, 10), {"R3"}},
    {"length of a long value in its row", Raise(kInline, kReference), {"D7"}},
    {"length of a single long value", Raise(kSingle, kReference), {"D9"}},
    {"length of a chained long value", Raise(kChain, kReference), {"D9"}},
    {"stamp of a long value", Raise(kChain, kReference + 8), {"D8"}},
    {"kind of a long value", Flip(kChain, kReference + 3, 0xC0), {"D7", "D10"}},
    {"page of a long value", Set(PageAt(kSingle, kReference + 5, 3), 4, 1, 'X'), {"D6", "D7"}},
    // The mask of nulls ends a row, and rows stand from the page's end downwards.
    {"long value of a null",
     Edit(kInline, [](auto& f, SRow next) { f.At(next.page, next.start - 1) &= 0xFE; }),
     {"D10"}},
};

const SBroken kIndexes[] = {
    {"map bit", FlipMapBit(Follow(RealIndex(kAces, 0), 34), kAceLeaf), {"E1"}},
    {"page type", Set(kAceLeaf, 0, 1, 1), {"E2", "E10"}},
    {"owner", Raise(kAceLeaf, 4), {"E2"}},
    {"next page", Raise(kAceLeaf, 16), {"E3"}},
    {"free bytes of an index page", Raise(kAceLeaf, 2), {"E4"}},
    {"level", Raise(kAceLeaf, 26), {"E5"}},
    {"level of a node", Raise(Root(kObjects, 0), 26), {"E5"}},
    {"entry of a node", Raise(Root(kObjects, 0), 480 + 20), {"E6"}},
    {"order of entries", Swap(kAceLeaf, EntryAt(0), EntryAt(1), kEntry), {"E7"}},
    // Entry 0 is the query's.
    {"unique key twice", Copy(Root(kObjects, 1), EntryAt(2) + 1, EntryAt(1) + 1), {"E8", "E11"}},
    {"no such row", Set(LastAceEntry, 8, 1, 0xFA), {"E9", "E10"}},
    {"missing entry", RemoveLastAceEntry, {"E10"}},
    {"byte of a key", Raise(LastAceEntry, 4), {"E11"}},
    // The object of the first permission.
    {"null where none is allowed", Flip(kAceRows, CChangedFile::kPageSize - 1, 1), {"B6", "E11", "E12"}},
    {"primary key that is not unique", Set(RealIndex(kObjects, 1), 46, 1, 0x80), {"E13"}},
};

const SBroken kObjectRows[] = {
    {"owner of the database", Flip(Object("MSysDb"), kName + 12, 0x55), {"A5"}},
    {"owner of a table", Flip(Object(kSmall + "110"), kBehindSmall, 0x55), {"A6"}},
    {"system object", Write(Object("MSysDb"), kName, "?"), {"A7", "E11"}},
    {"name twice", Set(Object(kSmall + "111"), kBehindSmall - 2, 1, '2'), {"B2", "E11"}},
    {"container", Set(Object(kSmall + "112"), kParent, 4, 0x0F000009), {"B3", "B5", "E11"}},
    {"wrong container", Set(Object(kSmall + "112"), kParent, 4, 0x0F000003), {"B5", "E11"}},
    {"number of no page", Set(Object(kSmall + "113"), kId, 4, 0x00AAAAAA), {"B4", "B6", "B7", "E11", "F3"}},
    {"permission for nothing", Set(RowOf(kAceRows, 0), 2, 4, 0x00777777), {"B6", "E11"}},
    {"query without start", Set(QueryRow(0), 6, 1, 12), {"E11", "H1", "H5"}},
    {"query without end", Set(QueryRow(255), 6, 1, 12), {"E11", "H1", "H5"}},
    {"order of query rows skips one", Raise(QueryRow(6), 13 + 3), {"E11", "H2"}},
    {"kind of a query", Set(Object("PlainQuery"), kKind, 1, 0x20), {"H3"}},
    {"row of no query", Set(QueryRow(6), 2, 4, 0x80777777), {"E11", "H4"}},
};

struct SBrokenReal : SBroken {
  const char16_t* file;
};

// A row of MSysRelationships (column count, grbit, ccolumn, icolumn, then the names), the index that enforces
// a relationship, and the flags of the indexes that it refers to.
constexpr const char16_t* kRelations = u"V2003/indexTestV2003.mdb";
const Place kRelation = At(37, 3999), kRelationIndex = At(24, 570), kReferredTo = At(27, 205 + 46);
constexpr const char16_t* kMovedRows = u"V2003/overflowTestV2003.mdb";
// A row of MSysComplexColumns: column count, kind, flat table, table, complex number.
constexpr const char16_t* kComplex = u"V2007/complexDataTestV2007.accdb";
const Place kComplexColumn = At(116, 4063);
// The only leaf of the index of MSysACEs: entries of a flag, four bytes of key and four of row pointer.
constexpr const char16_t* kJet3 = u"V1997/indexTestV1997.mdb";
const Place kJet3Leaf = At(13);

const SBrokenReal kReal[] = {
    {{"count of a relationship", Raise(kRelation, 6), {"G2"}}, kRelations},
    {{"cascade of a relationship", Flip(kRelation, 3, 1), {"G5"}}, kRelations},
    {{"name in a relationship", Set(kRelation, 14, 1, 'q'), {"E11", "G1", "G3"}}, kRelations},
    {{"partner of an index", Set(kRelationIndex, 13, 1, 77), {"G3"}}, kRelations},
    {{"index that is referred to", Set(kReferredTo, 0, 1, 0x88), {"E13", "G6"}}, kRelations},
    {{"column of a relationship", Flip(kRelationIndex, 8, 1), {"C14", "G6"}}, kRelations},
    {{"index of a relationship without its column", Set(At(24, 414), 0, 1, 99), {"C17", "G6"}}, kRelations},
    {{"property blob", Set(At(16, 3944), 0, 1, 'X'), {"P1"}}, kRelations},
    {{"moved row", Set(At(27, 3997), 0, 1, 200), {"C11", "C8", "R2"}}, kMovedRows},
    {{"flat table", Set(kComplexColumn, 6, 1, 2), {"E11", "K1"}}, kComplex},
    {{"complex number", Set(kComplexColumn, 14, 1, 99), {"C12", "E11", "K2"}}, kComplex},
    {{"column of a flat table", Set(At(60, 260), 0, 1, 'W'), {"K3"}}, kComplex},  // "Value"
    {{"Jet 3: free bytes", Raise(kJet3Leaf, 2), {"E4"}}, kJet3},
    {{"Jet 3: byte of a key", Flip(kJet3Leaf, 0xF8, 1), {"E11"}}, kJet3},
    {{"Jet 3: level", Raise(kJet3Leaf, 0x15), {"E5"}}, kJet3},
    {{"Jet 3: mark of a definition", Set(At(2), 2, 1, 'X'), {"C3"}}, kJet3},
    {{"Jet 3: row of the catalogue", Set(At(18, 1993), 0, 1, 99), {"A7", "B3", "B6", "R1"}}, kJet3},
};

void ExpectRules(const SBroken& broken, CChangedFile file) {
  SCOPED_TRACE(broken.name);
  broken.change(file);
  const SCheckReport report = CheckBytes(file.GetBytes());
  EXPECT_EQ(report.verdict, ECheckVerdict::Checked);
  EXPECT_EQ(RulesOf(report), broken.rules) << Describe(report);
}

TEST(BrokenFile, BreaksJustItsRules) {
  using Table = std::span<const SBroken>;
  for (const Table table :
       {Table(kPages), Table(kDefinitions), Table(kRows), Table(kIndexes), Table(kObjectRows)})
    for (const SBroken& broken : table) ExpectRules(broken, MakeSoundFile());
}

TEST(BrokenRealFile, BreaksJustItsRules) {
  const std::u16string folder = CorpusFolder();
  if (folder.empty()) GTEST_SKIP() << kNoCorpus;
  for (const SBrokenReal& broken : kReal)
    ExpectRules(broken, CChangedFile(ReadFileBytes(folder + u"/" + broken.file)));
}

TEST(SoundFile, IsPassedInSilence) {
  const SCheckReport report = CheckBytes(MakeSoundFile().GetBytes());
  EXPECT_EQ(RulesOf(report), std::set<std::string>{}) << Describe(report);
  EXPECT_EQ(report.tables, 4u + 2u + 90u);
  EXPECT_GT(report.rows, 200u);
  EXPECT_TRUE(report.notes.empty());
}

TEST(Finding, NamesItsPlace) {
  CChangedFile file = MakeSoundFile();
  const size_t page = kPlainRows(file).page;
  file.At(page, file.StartOfRow(page, 3)) = 77;
  const SCheckReport report = CheckBytes(file.GetBytes());
  ASSERT_EQ(report.findings.size(), 1u);
  EXPECT_EQ(report.findings[0].severity, ESeverity::Error);
  EXPECT_EQ(report.findings[0].place.page, page);
  EXPECT_EQ(report.findings[0].place.row, 3u);
  EXPECT_EQ(ToUtf8(report.findings[0].table), "Plain");
}

}  // namespace
}  // namespace tolvane::test
