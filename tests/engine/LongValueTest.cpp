// Memo and OLE values: inline, one row, chains, and chains that lie.
#include <filesystem>
#include <fstream>
#include <iterator>

#include "store/FileNameManager.h"
#include "tests/engine/RowFile.h"

namespace tolvane {
namespace {

constexpr uint32_t kInline = 0x80000000;
constexpr uint32_t kSingle = 0x40000000;
constexpr uint32_t kChain = 0;

// The field in the row.
Bytes Field(uint32_t kind, size_t length, uint32_t page = 0, uint8_t slot = 0, uint32_t stamp = 0) {
  return Joined(Joined(Little(kind | length, 4), MakePointerRow(page, slot)), Little(stamp, 4));
}

Bytes Link(uint32_t nextPage, uint8_t nextSlot, const Bytes& content) {
  return Joined(MakePointerRow(nextPage, nextSlot), content);
}

Bytes Utf16(std::u16string_view text) {
  return StoredText(text, kLayoutJet4);
}

Bytes FileBytes(std::u16string_view path) {
  std::ifstream file(std::filesystem::path(path), std::ios::binary);
  return Bytes(std::istreambuf_iterator<char>(file), {});
}

class LongValue : public CRowTest {
 protected:
  void SetUp() override {
    CRowTest::SetUp();
    StartMemo(kLayoutJet4);
  }
  // A table whose only column is the long value.
  void StartMemo(const SLayout& newLayout, uint8_t type = kTypeMemo) {
    Start(newLayout);
    AddVariable(type, 0, 0);
  }
  std::string DecodeField(const Bytes& field) { return DecodeOne(OneColumnRow(field)); }
  void PutLinks(uint32_t number, const std::vector<Bytes>& rows, uint16_t flags = 0) {
    CTestPage page = NewPage(kOwnerLongValues);
    for (const Bytes& row : rows) page.Row(row, flags);
    Put(number, page, false);
  }
};

TEST_F(LongValue, InlineValuesKeepWhatIsThere) {
  EXPECT_EQ(DecodeField(Joined(Field(kInline, 13), Hex("fffe736f6d652074657874aa bb"))),
            "some text\xC2\xAA\xC2\xBB");
  EXPECT_EQ(DecodeField(Joined(Field(kInline, 4), Utf16(u"hidden"))), "hi");
  EXPECT_EQ(DecodeField(Field(kInline, 0)), "");
  EXPECT_EQ(DecodeField(Field(kSingle, 0, 77, 0)), "");
  EXPECT_EQ(DecodeField({}), "");
  EXPECT_TRUE(data->GetLedger().IsClean());

  EXPECT_EQ(DecodeField(Joined(Field(kInline, 10), Utf16(u"abc"))), "abc");
  EXPECT_EQ(DecodeField(Hex("0a0000800000")), "") << "a field that is cut";
  EXPECT_EQ(DecodeField(Joined(Field(0xC0000000, 6), Utf16(u"abc"))), "") << "no known kind";
  EXPECT_EQ(Lost(EDamage::BrokenLongValue), 3u);
}

// The fields that lead to the rows say how long they are.
TEST_F(LongValue, RowsAreFoundWithoutTheirSlots) {
  const Texts texts{"first", "the second", "3rd", "of two links"};
  for (const auto& [format, hasDeleted] :
       {std::pair{&kLayoutJet3, false}, {&kLayoutJet3, true}, {&kLayoutJet4, false}, {&kLayoutJet4, true}}) {
    StartMemo(*format);
    homeless = {{6, SHomelessPage::EReason::LongValues}};
    CTestPage values = NewPage(kOwnerLongValues), rows = NewPage();
    for (uint8_t i = 0; i < 3; i++) {
      const Bytes value = StoredText(FromAscii(texts[i]), *format);
      values.Row(value);
      rows.Row(OneColumnRow(Field(kSingle, value.size(), 6, i)));
    }
    const Bytes linked = StoredText(FromAscii(texts[3]), *format);
    const auto middle = linked.begin() + 4;
    const uint8_t last = hasDeleted ? 4 : 3;
    if (hasDeleted) values.Row(Bytes(40, 0xDD));
    values.Row(Link(0, 0, Bytes(middle, linked.end())));
    for (uint32_t i = 0; i <= last; i++) values.Put16(format->data.slots + 2 * i, 0x1357 * (i + 3));
    Put(6, values, false);
    PutLinks(7, {Link(6, last, Bytes(linked.begin(), middle))});
    Put(4, rows.Row(OneColumnRow(Field(kChain, linked.size(), 7, 0))));
    Parse();
    EXPECT_EQ(Values(), texts) << hasDeleted;
    EXPECT_EQ(Lost(EDamage::BrokenLongValue), 0u) << hasDeleted;
  }
}

TEST_F(LongValue, SingleRowOfALongValuePage) {
  for (const SLayout* format : {&kLayoutJet3, &kLayoutJet4}) {
    StartMemo(*format);
    const Bytes text = StoredText(u"Um\u00FC", *format);
    const size_t width = text.size() / 3;
    PutLinks(6, {Utf16(u"first"), text, Utf16(u"last")});
    EXPECT_EQ(DecodeField(Field(kSingle, text.size(), 6, 1)), "Um\xC3\xBC");
    EXPECT_EQ(DecodeField(Field(kSingle, text.size() - width, 6, 1)), "Um");
    EXPECT_TRUE(data->GetLedger().IsClean());
    EXPECT_EQ(DecodeField(Field(kSingle, text.size() + 1, 6, 1)), "Um\xC3\xBC");
    EXPECT_EQ(Lost(EDamage::BrokenLongValue), 1u);
  }
}

TEST_F(LongValue, Jet3TextUsesTheColumnsCodePage) {
  StartMemo(kLayoutJet3);
  data->source.codePage = 1251;
  const Bytes field = Joined(Field(kInline, 3), Hex("cce8f0"));
  EXPECT_EQ(DecodeField(field), ToUtf8(u"\u041C\u0438\u0440"));
  table->columns.GetAt(0)->codePage = 1252;
  EXPECT_EQ(DecodeField(field), ToUtf8(u"\u00CC\u00E8\u00F0"));
}

// Cut anywhere, also inside a character and where the compressed form changes.
TEST_F(LongValue, AChainIsReadToItsStatedLength) {
  const Bytes text = Hex("fffe 4142 00 1c043804 00 43");
  const Bytes older = Utf16(u"tail of an older value");
  for (size_t cut = 1; cut < text.size(); cut++) {
    const auto middle = text.begin() + static_cast<ptrdiff_t>(cut);
    PutLinks(6, {Link(7, 1, Bytes(text.begin(), middle))});
    PutLinks(7, {Hex("00"), Link(8, 0, Bytes(middle, middle + 1))});
    PutLinks(8, {Link(0, 0, Joined(Bytes(middle + 1, text.end()), older))});
    EXPECT_EQ(DecodeField(Field(kChain, text.size(), 6, 0)), ToUtf8(u"AB\u041C\u0438\u0043")) << cut;
  }
  EXPECT_TRUE(data->GetLedger().IsClean());
}

// Longer than what is held at once; every other piece ends inside a character.
TEST_F(LongValue, ALongTextIsPutTogetherFromPieces) {
  constexpr uint32_t kFirst = 10, kLinks = 40;
  constexpr size_t kPiece = 2031;
  StartMemo(kLayoutJet3);
  data->source.codePage = 932;
  Bytes text(kPiece * kLinks, 0x88);
  std::string expected;
  for (size_t i = 1; i < text.size(); i += 2) {
    text[i] = 0xE6;
    expected += "\xE5\x9F\x9F";
  }
  for (uint32_t i = 0; i < kLinks; i++) {
    const auto start = text.begin() + static_cast<ptrdiff_t>(i * kPiece);
    PutLinks(kFirst + i, {Link(i + 1 < kLinks ? kFirst + i + 1 : 0, 0, Bytes(start, start + kPiece))});
  }
  Put(4, NewPage()
             .Row(OneColumnRow(Field(kChain, text.size(), kFirst)))
             .Row(OneColumnRow(Joined(Field(kInline, 2), Hex("6162"))))
             .Row(OneColumnRow(Field(kChain, text.size() + 1, kFirst))));
  Parse();
  EXPECT_TRUE(Values() == (Texts{expected, "ab", expected}));
  EXPECT_EQ(Lost(EDamage::BrokenLongValue), 1u);
}

TEST_F(LongValue, ABrokenChainKeepsWhatWasRead) {
  const Bytes wrong = Link(0, 0, Utf16(u"wrong"));
  PutLinks(7, {wrong});
  PutLinks(8, {wrong}, 0xC000);
  PutLinks(9, {Little(0, 4)});
  Put(10, NewPage(kTablePage).Row(wrong), false);
  PutLinks(11, {wrong});
  pages[11][0] = 2;
  PutLinks(12, {Link(6, 0, Utf16(u"ef"))});
  struct SCase {
    const char* why;
    uint32_t nextPage;
    uint8_t nextSlot;
    const char* text = "abcd";
  };
  for (const SCase& test :
       {SCase{"last link, too early", 0, 0}, SCase{"loop to itself", 6, 0},
        SCase{"page behind the file", 0xFFFF, 0}, SCase{"slot that is not there", 7, 1},
        SCase{"freed row", 8, 0}, SCase{"row without data", 9, 0}, SCase{"page of a table", 10, 0},
        SCase{"page of another kind", 11, 0}, SCase{"loop over two links", 12, 0, "abcdef"}}) {
    SCOPED_TRACE(test.why);
    const uint64_t before = Lost(EDamage::BrokenLongValue);
    PutLinks(6, {Link(test.nextPage, test.nextSlot, Utf16(u"abcd"))});
    EXPECT_EQ(DecodeField(Field(kChain, 0x3FFFFFFE, 6, 0)), test.text);
    EXPECT_EQ(Lost(EDamage::BrokenLongValue), before + 1);
  }
}

TEST_F(LongValue, AHeadWithAnotherStampBelongsToAnotherValue) {
  CTestPage page = NewPage(kOwnerLongValues).Row(Link(0, 0, Utf16(u"other")));
  page.Put32(8, 0x1234);
  Put(6, page, false);
  EXPECT_EQ(DecodeField(Field(kChain, 10, 6, 0, 0x1234)), "other");
  EXPECT_EQ(DecodeField(Field(kChain, 10, 6, 0, 0x9999)), "");
  EXPECT_EQ(Lost(EDamage::BrokenLongValue), 1u);
}

TEST_F(LongValue, OleValuesGoToNumberedSideFiles) {
  StartMemo(kLayoutJet4, kTypeOle);
  PutLinks(6, {Link(7, 0, Hex("0102030405"))});
  PutLinks(7, {Link(0, 0, Hex("060708"))});
  Put(4, NewPage()
             .Row(OneColumnRow(Field(kChain, 8, 6, 0)))
             .Row(OneColumnRow(Field(kInline, 0)))
             .Row(Hex("010000"))                           // null
             .Row(OneColumnRow(Field(kSingle, 5, 99, 0)))  // nothing can be read
             .Row(OneColumnRow(Joined(Field(kInline, 3), Hex("aabb00")))));
  Parse();
  const std::u16string first = CFileNameManager(GetWorkFolder()).GetOleFilePath(0);
  const std::u16string second = CFileNameManager(GetWorkFolder()).GetOleFilePath(1);
  EXPECT_EQ(Values(), (Texts{ToUtf8(first), "", "", "", ToUtf8(second)}));
  EXPECT_EQ(FileBytes(first), Hex("0102030405060708"));
  EXPECT_EQ(FileBytes(second), Hex("aabb00"));
  EXPECT_TRUE(FileBytes(CFileNameManager(GetWorkFolder()).GetOleFilePath(2)).empty());
  // The list holds a count of units + 1 and as many bytes, for each of the two.
  EXPECT_EQ(GetFileLength(CFileNameManager(GetWorkFolder()).GetOleListPath()), 2 * (4 + first.size() + 1));
  EXPECT_EQ(Lost(EDamage::BrokenLongValue), 1u);
}

TEST_F(LongValue, AFullDiskEndsTheTableOnly) {
  if (!std::filesystem::exists("/dev/full")) GTEST_SKIP() << "no device that is always full";
  StartMemo(kLayoutJet4, kTypeOle);
  Put(4, NewPage().Row(OneColumnRow(Joined(Field(kInline, 3), Hex("aabb00")))));
  const CAccessTable& full = *table;
  table = &data->GetTables().AddTable(uint64_t{9} * 4096);
  AddVariable(kTypeMemo, 0, 0);
  Put(5, NewPage(9).Row(OneColumnRow(Joined(Field(kInline, 4), Utf16(u"ok")))));
  std::filesystem::create_symlink("/dev/full", ToUtf8(CFileNameManager(GetWorkFolder()).GetOleFilePath(0)));
  Parse();
  EXPECT_EQ(Lost(EDamage::SkippedTable), 1u);
  EXPECT_EQ(full.header.rowCount, 0u);
  EXPECT_NE(CRepairLog::Instance().Get().find(SystemMessage(kDiskFullError)), std::u16string::npos);
  EXPECT_EQ(Values(), Texts{"ok"});
}

TEST_F(LongValue, ManyRowsAtOneGiantChainEndAtTheBudget) {
  StartMemo(kLayoutJet3);
  const Bytes content(2000, 'x');
  for (uint32_t page = 6; page < 606; page++) PutLinks(page, {Link(page + 1, 0, content)});
  CTestPage rows = NewPage();
  for (int i = 0; i < 40; i++) rows.Row(OneColumnRow(Field(kChain, 1'200'000, 6, 0)));
  Put(4, rows);
  Parse();
  // The budget is 8 times the file (1.2 MB) and 16 MiB: 21 of the 40 values.
  EXPECT_EQ(table->header.rowCount, 40u);
  EXPECT_GE(Lost(EDamage::BrokenLongValue), 17u);
  EXPECT_LE(Lost(EDamage::BrokenLongValue), 20u);
}

}  // namespace
}  // namespace tolvane
