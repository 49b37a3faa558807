// One thing is changed in a sound database, and exactly the rules that this breaks are reported.
#include <algorithm>
#include <functional>
#include <ostream>
#include <set>
#include <string>

#include "tests/checker/CheckerTest.h"

namespace tolvane::test {
namespace {

struct SBroken {
  const char* name;
  std::function<void(CChangedFile&)> change;
  std::set<std::string> rules;
};
std::ostream& operator<<(std::ostream& out, const SBroken& broken) {
  return out << broken.name;
}

// Definitions: offsets of the header and of column `i` (no index comes before the columns of user tables).
constexpr size_t kRowCount = 16, kAutoNumber = 20, kTableType = 40, kOwnedMap = 55, kFreeMap = 59;
constexpr size_t ColumnAt(size_t i) {
  return 63 + 25 * i;
}
constexpr size_t kNumber = 5, kVariableIndex = 7, kDisplay = 9, kFixedOffset = 21, kLength = 23;
enum { kPlainId, kPlainText, kPlainFlag, kPlainDate };

size_t Plain(const CChangedFile& file) {
  return file.FindTable("PlainId");
}
size_t PlainRows(const CChangedFile& file) {
  return file.FindPage(1, static_cast<uint32_t>(Plain(file)));
}
// Where the column's two long value references stand: the row has no fixed part.
CChangedFile::SRow LongRow(const CChangedFile& file, size_t row) {
  const size_t page = file.FindPage(1, static_cast<uint32_t>(file.FindTable("LongMemo")));
  return {page, file.StartOfRow(page, row)};
}
constexpr size_t kMemoReference = 2;
enum { kInlineRow, kSingleRow, kChainRow };

// Real index `i` of a definition, by its constant.
size_t RealIndexAt(const CChangedFile& file, size_t definition, size_t i) {
  size_t at = file.Find(definition, {"\x83\x07\0\0", 4});
  for (; i > 0; i--) at = file.Find(definition, {"\x83\x07\0\0", 4}, at + 4);
  return at;
}
size_t RootOf(const CChangedFile& file, size_t definition, size_t i) {
  return file.Get(definition, RealIndexAt(file, definition, i) + 38, 4);
}
// The index of MSysACEs: one leaf, entries of 9 bytes: flag, 4 bytes of key, page, row.
constexpr size_t kAces = 3, kObjects = 2, kEntry = 9, kMask = 27;
constexpr size_t EntryAt(size_t i) {
  return 480 + kEntry * i;
}
size_t CountEntries(const CChangedFile& file, size_t leaf) {
  return (3616 - file.Get(leaf, 2, 2)) / kEntry;
}
size_t AceLeaf(const CChangedFile& file) {
  return RootOf(file, kAces, 0);
}
size_t LastAceEntry(const CChangedFile& file) {
  return EntryAt(CountEntries(file, AceLeaf(file)) - 1);
}

// The row of the catalogue with this name, which follows 30 bytes of fixed columns and the column count.
CChangedFile::SRow Object(const CChangedFile& file, std::string_view name) {
  const std::string wide = WideBytes(name);
  for (size_t page = file.FindPage(1, kObjects); page != 0; page = file.FindPage(1, kObjects, page + 1))
    if (const size_t at = file.Find(page, wide); at != std::string::npos) return {page, at - 32};
  return {0, 0};
}
constexpr std::string_view kSmall = "SmallTableWithANameThatIsLongEnoughForTwoLeaves";
CChangedFile::SRow Small(const CChangedFile& file, int number) {
  return Object(file, std::string(kSmall) + std::to_string(number));
}

void FlipMapBit(CChangedFile& file, CChangedFile::SRow map, size_t page) {
  uint8_t& byte = file.At(map.page, map.start + 5 + page / 8);
  byte = static_cast<uint8_t>(byte ^ 1u << page % 8);
}
void Raise(CChangedFile& file, size_t page, size_t offset) {
  file.At(page, offset)++;
}

const SBroken kPages[] = {
    {"Length", [](CChangedFile& f) { f.GetBytes().resize(f.GetBytes().size() + 100); }, {"A1"}},
    {"HeaderMark", [](CChangedFile& f) { f.At(0, 1) = 2; }, {"A2"}},
    {"SystemDefinitionPage", [](CChangedFile& f) { f.At(0, 0x24) ^= 4; }, {"A3"}},
    {"SecondGlobalMapPointer", [](CChangedFile& f) { f.At(0, 0x1C) ^= 4; }, {"A3"}},
    // The password takes part in the key that masks all owners.
    {"PasswordArea",
     [](CChangedFile& f) {
       for (size_t i = 0; i < 40; i += 4) f.At(0, 0x42 + i) ^= 1;
     },
     {"A4", "A5", "A6"}},
    {"RowPageType", [](CChangedFile& f) { f.At(PlainRows(f), 0) = 9; }, {"D2", "C11"}},
    {"RowPageOwner", [](CChangedFile& f) { Raise(f, PlainRows(f), 4); }, {"D2", "C11"}},
    {"FreeBytesOfRowPage", [](CChangedFile& f) { Raise(f, PlainRows(f), 2); }, {"D4"}},
    {"SlotOrder",
     [](CChangedFile& f) {
       const uint32_t third = f.Get(PlainRows(f), 14 + 6, 2);
       f.Put(PlainRows(f), 14 + 6, 2, f.Get(PlainRows(f), 14 + 8, 2));
       f.Put(PlainRows(f), 14 + 8, 2, third);
     },
     {"D3", "C11"}},
    {"SlotFlag", [](CChangedFile& f) { f.At(PlainRows(f), 15) |= 0x20; }, {"D3"}},
    {"PointerToNoRow", [](CChangedFile& f) { f.At(PlainRows(f), 15) |= 0x40; }, {"R2", "C11"}},
    {"BodyWithoutPointer", [](CChangedFile& f) { f.At(PlainRows(f), 15) |= 0x80; }, {"R2", "C11"}},
    {"MapRowKind",
     [](CChangedFile& f) {
       const auto map = f.Follow(Plain(f), kFreeMap);
       f.At(map.page, map.start) = 7;
     },
     {"D1"}},
    {"PageInTwoMaps", [](CChangedFile& f) { FlipMapBit(f, f.Follow(Plain(f), kOwnedMap), 3); }, {"F2"}},
    {"PageOutsideTheFile",
     [](CChangedFile& f) { FlipMapBit(f, f.Follow(Plain(f), kOwnedMap), f.GetPageCount()); },
     {"F5"}},
    {"PageMissingInMap",
     [](CChangedFile& f) { FlipMapBit(f, f.Follow(Plain(f), kOwnedMap), PlainRows(f)); },
     {"C11", "F3"}},
    {"FreePageNotOwned", [](CChangedFile& f) { FlipMapBit(f, f.Follow(Plain(f), kFreeMap), 1); }, {"D5"}},
    {"UsedPageMarkedFree",
     [](CChangedFile& f) {
       FlipMapBit(f, {1, f.StartOfRow(1, 0)}, 7);
     },
     {"F1"}},
    {"PageBehindTheEndNotFree",
     [](CChangedFile& f) {
       FlipMapBit(f, {1, f.StartOfRow(1, 0)}, f.GetPageCount());
     },
     {"F4"}},
    {"SecondGlobalMap",
     [](CChangedFile& f) {
       FlipMapBit(f, {1, f.StartOfRow(1, 1)}, 9);
     },
     {"F6"}},
};

const SBroken kDefinitions[] = {
    {"Length", [](CChangedFile& f) { Raise(f, Plain(f), 8); }, {"C1"}},
    {"FreeBytes", [](CChangedFile& f) { Raise(f, Plain(f), 2); }, {"C2"}},
    {"Constant", [](CChangedFile& f) { Raise(f, Plain(f), 12); }, {"C3"}},
    {"DisplayOrder",
     [](CChangedFile& f) {
       f.Put(Plain(f), ColumnAt(kPlainId) + kDisplay, 2, 1);
       f.Put(Plain(f), ColumnAt(kPlainText) + kDisplay, 2, 0);
     },
     {"C4"}},
    {"NumberTwice",
     [](CChangedFile& f) { f.Put(Plain(f), ColumnAt(kPlainDate) + kNumber, 2, kPlainFlag); },
     {"C5", "C7", "F3"}},
    {"NameTwice",
     [](CChangedFile& f) {
       f.At(Plain(f), f.Find(Plain(f), WideBytes("PlainDate")) + 10) = 'F';
       f.At(Plain(f), f.Find(Plain(f), WideBytes("PlainFate")) + 12) = 'l';
       f.At(Plain(f), f.Find(Plain(f), WideBytes("PlainFlte")) + 14) = 'A';
       f.At(Plain(f), f.Find(Plain(f), WideBytes("PlainFlAe")) + 16) = 'g';
     },
     {"C6"}},
    {"VariableIndex",
     [](CChangedFile& f) { f.Put(Plain(f), ColumnAt(kPlainText) + kVariableIndex, 2, 5); },
     {"C9", "F3"}},
    // The fixed part seems shorter than it is, so the rows do not fit either.
    {"FixedOffset",
     [](CChangedFile& f) { f.Put(Plain(f), ColumnAt(kPlainDate) + kFixedOffset, 2, 2); },
     {"C10", "R1"}},
    {"RowCount", [](CChangedFile& f) { Raise(f, Plain(f), kRowCount); }, {"C11"}},
    {"AutoNumber", [](CChangedFile& f) { f.Put(Plain(f), kAutoNumber, 4, 5); }, {"C12"}},
    {"LongValueMap",
     [](CChangedFile& f) {
       const size_t page = f.FindTable("LongMemo");
       f.Put(page, f.Get(page, 8, 4) - 2 - 20, 2, 9);  // two maps of ten bytes and the end mark
     },
     {"C13", "D7", "F3"}},
    {"CarryingIndex",
     [](CChangedFile& f) { f.Put(kAces, RealIndexAt(f, kAces, 0) + 52 + 8, 4, 7); },
     {"C14"}},
    {"IndexNames",
     [](CChangedFile& f) { f.At(5, f.Find(5, WideBytes("szObject"), RealIndexAt(f, 5, 2)) + 4) = 'Z'; },
     {"C15"}},
    {"IndexNumberTwice",
     [](CChangedFile& f) {
       const size_t logical = RealIndexAt(f, kObjects, 1) + 52;
       f.Put(kObjects, logical + 4, 4, f.Get(kObjects, logical + 28 + 4, 4));
     },
     {"C16"}},
    {"IndexColumn", [](CChangedFile& f) { f.Put(kAces, RealIndexAt(f, kAces, 0) + 4, 2, 99); }, {"C17"}},
    {"LengthOfType", [](CChangedFile& f) { f.Put(Plain(f), ColumnAt(kPlainFlag) + kLength, 2, 2); }, {"C18"}},
    {"TableType", [](CChangedFile& f) { f.At(Plain(f), kTableType) = 0x53; }, {"B8"}},
    {"NoDefinition", [](CChangedFile& f) { f.At(Plain(f), 0) = 8; }, {"B4", "F3"}},
};

const SBroken kRows[] = {
    {"ColumnCount", [](CChangedFile& f) { f.At(PlainRows(f), f.StartOfRow(PlainRows(f), 0)) = 77; }, {"R1"}},
    {"VariableCount", [](CChangedFile& f) { Raise(f, PlainRows(f), CChangedFile::kPageSize - 3); }, {"R1"}},
    {"EndOfData", [](CChangedFile& f) { f.Put(PlainRows(f), CChangedFile::kPageSize - 7, 2, 4000); }, {"R1"}},
    {"TextTooLong", [](CChangedFile& f) { f.Put(Plain(f), ColumnAt(kPlainText) + kLength, 2, 10); }, {"R3"}},
    {"LongValueLength",
     [](CChangedFile& f) {
       const auto row = LongRow(f, kChainRow);
       Raise(f, row.page, row.start + kMemoReference);
     },
     {"D9"}},
    {"SingleLongValueLength",
     [](CChangedFile& f) {
       const auto row = LongRow(f, kSingleRow);
       Raise(f, row.page, row.start + kMemoReference);
     },
     {"D9"}},
    {"InlineLongValueLength",
     [](CChangedFile& f) {
       const auto row = LongRow(f, kInlineRow);
       Raise(f, row.page, row.start + kMemoReference);
     },
     {"D7"}},
    {"LongValueStamp",
     [](CChangedFile& f) {
       const auto row = LongRow(f, kChainRow);
       Raise(f, row.page, row.start + kMemoReference + 8);
     },
     {"D8"}},
    {"LongValueKind",
     [](CChangedFile& f) {
       const auto row = LongRow(f, kChainRow);
       f.At(row.page, row.start + kMemoReference + 3) |= 0xC0;
     },
     {"D7", "D10"}},
    {"LongValuePage",
     [](CChangedFile& f) {
       const auto row = LongRow(f, kSingleRow);
       f.At(f.Get(row.page, row.start + kMemoReference + 5, 3), 4) = 'X';
     },
     {"D6", "D7"}},
    {"LongValueNull",
     [](CChangedFile& f) {
       const auto row = LongRow(f, kSingleRow);
       f.At(row.page, f.StartOfRow(row.page, kSingleRow - 1) - 1) &= 0xFE;  // the mask is the row's last byte
     },
     {"D10"}},
};

const SBroken kIndexes[] = {
    {"MapBit",
     [](CChangedFile& f) { FlipMapBit(f, f.Follow(kAces, RealIndexAt(f, kAces, 0) + 34), AceLeaf(f)); },
     {"E1"}},
    {"PageType", [](CChangedFile& f) { f.At(AceLeaf(f), 0) = 1; }, {"E2", "E10"}},
    {"Owner", [](CChangedFile& f) { Raise(f, AceLeaf(f), 4); }, {"E2"}},
    {"NextPage", [](CChangedFile& f) { Raise(f, AceLeaf(f), 16); }, {"E3"}},
    {"FreeBytes", [](CChangedFile& f) { Raise(f, AceLeaf(f), 2); }, {"E4"}},
    {"Level", [](CChangedFile& f) { Raise(f, AceLeaf(f), 26); }, {"E5"}},
    {"NodeEntry", [](CChangedFile& f) { Raise(f, RootOf(f, kObjects, 0), 480 + 20); }, {"E6"}},
    {"EntryOrder",
     [](CChangedFile& f) {
       const auto first = f.GetBytes().begin() +
                          static_cast<std::ptrdiff_t>(AceLeaf(f) * CChangedFile::kPageSize + EntryAt(0));
       std::swap_ranges(first, first + kEntry, first + kEntry);
     },
     {"E7"}},
    {"UniqueKeyTwice",
     [](CChangedFile& f) {
       const size_t leaf = RootOf(f, kObjects, 1);
       f.Put(leaf, EntryAt(2) + 1, 4, f.Get(leaf, EntryAt(1) + 1, 4));  // entry 0 is the query's
     },
     {"E8", "E11"}},
    {"NoSuchRow", [](CChangedFile& f) { f.At(AceLeaf(f), LastAceEntry(f) + 8) = 0xFA; }, {"E9", "E10"}},
    {"MissingEntry",
     [](CChangedFile& f) {
       const size_t leaf = AceLeaf(f), end = LastAceEntry(f) + kEntry - 480;
       f.At(leaf, kMask + end / 8) = static_cast<uint8_t>(f.At(leaf, kMask + end / 8) & ~(1u << end % 8));
       f.Put(leaf, 2, 2, f.Get(leaf, 2, 2) + kEntry);
     },
     {"E10"}},
    {"KeyByte", [](CChangedFile& f) { Raise(f, AceLeaf(f), LastAceEntry(f) + 4); }, {"E11"}},
    {"NullWhereNoneIsAllowed",
     [](CChangedFile& f) {
       const size_t page = f.FindPage(1, kAces);
       f.At(page, CChangedFile::kPageSize - 1) &= 0xFE;  // the object of the first permission
     },
     {"B6", "E11", "E12"}},
    {"PrimaryKeyNotUnique",
     [](CChangedFile& f) { f.At(kObjects, RealIndexAt(f, kObjects, 1) + 46) = 0x80; },
     {"E13"}},
};

const SBroken kCatalogue[] = {
    {"OwnerOfDatabase",
     [](CChangedFile& f) {
       const auto row = Object(f, "MSysDb");
       f.At(row.page, row.start + 32 + 12) ^= 0x55;
     },
     {"A5"}},
    {"OwnerOfTable",
     [](CChangedFile& f) {
       const auto row = Small(f, 110);
       f.At(row.page, row.start + 32 + 2 * (kSmall.size() + 3)) ^= 0x55;
     },
     {"A6"}},
    {"SystemObject",
     [](CChangedFile& f) {
       const auto row = Object(f, "MSysDb");
       f.At(row.page, row.start + 32 + 8) = 'X';
     },
     {"A7", "E11"}},
    {"NameTwice",
     [](CChangedFile& f) {
       const auto row = Small(f, 111);
       f.At(row.page, row.start + 32 + 2 * (kSmall.size() + 2)) = '2';
     },
     {"B2", "E11"}},
    {"Container",
     [](CChangedFile& f) {
       const auto row = Small(f, 112);
       f.Put(row.page, row.start + 6, 4, 0x0F000009);
     },
     {"B3", "B5", "E11"}},
    {"WrongContainer",
     [](CChangedFile& f) {
       const auto row = Small(f, 112);
       f.Put(row.page, row.start + 6, 4, 0x0F000003);
     },
     {"B5", "E11"}},
    {"IdOfNoPage",
     [](CChangedFile& f) {
       const auto row = Small(f, 113);
       f.Put(row.page, row.start + 2, 4, 0x00AAAAAA);
     },
     {"B4", "B6", "B7", "E11", "F3"}},
    {"PermissionForNothing",
     [](CChangedFile& f) {
       const size_t page = f.FindPage(1, kAces);
       f.Put(page, f.StartOfRow(page, 0) + 2, 4, 0x00777777);
     },
     {"B6", "E11"}},
};

// Rows of the query: fixed columns ObjectId, Attribute, Flag, LvExtra, then Order.
CChangedFile::SRow QueryRow(const CChangedFile& f, uint8_t attribute) {
  const size_t page = f.FindPage(1, 4);
  size_t row = 0;
  while (f.Get(page, f.StartOfRow(page, row) + 6, 1) != attribute) row++;
  return {page, f.StartOfRow(page, row)};
}

const SBroken kQueries[] = {
    {"NoEnd",
     [](CChangedFile& f) {
       const auto row = QueryRow(f, 255);
       f.At(row.page, row.start + 6) = 12;
     },
     {"E11", "H1", "H5"}},
    {"OrderSkipsOne",
     [](CChangedFile& f) {
       const auto row = QueryRow(f, 8);
       Raise(f, row.page, row.start + 13 + 3);
     },
     {"E11", "H2"}},
    {"Kind",
     [](CChangedFile& f) {
       const auto row = Object(f, "PlainQuery");
       f.At(row.page, row.start + 28) = 0x20;
     },
     {"H3"}},
    {"RowOfNoQuery",
     [](CChangedFile& f) {
       const auto row = QueryRow(f, 8);
       f.Put(row.page, row.start + 2, 4, 0x80777777);
     },
     {"E11", "H4"}},
};

class BrokenFile : public ::testing::TestWithParam<SBroken> {};

TEST_P(BrokenFile, BreaksJustItsRules) {
  CChangedFile file = MakeSoundFile();
  GetParam().change(file);
  const SCheckReport report = CheckBytes(file.GetBytes());
  ASSERT_EQ(report.verdict, ECheckVerdict::Checked);
  EXPECT_EQ(RulesOf(report), GetParam().rules) << Describe(report);
}

std::string NameOf(const ::testing::TestParamInfo<SBroken>& info) {
  return info.param.name;
}
INSTANTIATE_TEST_SUITE_P(Pages, BrokenFile, ::testing::ValuesIn(kPages), NameOf);
INSTANTIATE_TEST_SUITE_P(Definitions, BrokenFile, ::testing::ValuesIn(kDefinitions), NameOf);
INSTANTIATE_TEST_SUITE_P(Rows, BrokenFile, ::testing::ValuesIn(kRows), NameOf);
INSTANTIATE_TEST_SUITE_P(Indexes, BrokenFile, ::testing::ValuesIn(kIndexes), NameOf);
INSTANTIATE_TEST_SUITE_P(Queries, BrokenFile, ::testing::ValuesIn(kQueries), NameOf);
INSTANTIATE_TEST_SUITE_P(Catalogue, BrokenFile, ::testing::ValuesIn(kCatalogue), NameOf);

TEST(SoundFile, IsPassedInSilence) {
  const SCheckReport report = CheckBytes(MakeSoundFile().GetBytes());
  EXPECT_EQ(RulesOf(report), std::set<std::string>{}) << Describe(report);
  EXPECT_EQ(report.tables, 4u + 2u + 90u);
  EXPECT_GT(report.rows, 200u);
  EXPECT_TRUE(report.notes.empty());
}

// The finding says where: rule, page, row, table.
TEST(Finding, NamesItsPlace) {
  CChangedFile file = MakeSoundFile();
  const size_t page = PlainRows(file);
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
