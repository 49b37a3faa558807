// Memo and OLE values: inline, one row, chains, and chains that lie.
#include "engine/LongValueReader.h"

#include <filesystem>

#include "platform/FileCust.h"
#include "tests/engine/RowFile.h"

namespace tolvane {
namespace {

constexpr uint32_t kOwner = kLongValueOwner;
constexpr uint32_t kInline = 0x80000000;
constexpr uint32_t kSingle = 0x40000000;
constexpr uint32_t kChain = 0;

Bytes Word(uint32_t value) {
  Bytes bytes(4);
  PutLittle(bytes, 0, value, 4);
  return bytes;
}

// The field in the row.
Bytes Field(uint32_t kind, size_t length, uint32_t page = 0, uint32_t slot = 0, uint32_t stamp = 0) {
  return Joined(Joined(Word(kind | static_cast<uint32_t>(length)), Word(page << 8 | slot)), Word(stamp));
}

Bytes Link(uint32_t nextPage, uint32_t nextSlot, const Bytes& content) {
  return Joined(Word(nextPage << 8 | nextSlot), content);
}

Bytes Utf16(const std::string& text) {
  Bytes bytes;
  for (const char c : text) {
    bytes.push_back(static_cast<uint8_t>(c));
    bytes.push_back(0);
  }
  return bytes;
}

class LongValue : public CRowTest {
 protected:
  void SetUp() override {
    CRowTest::SetUp();
    StartMemo(kJet4Layout);
  }
  void StartMemo(const SJetLayout& newLayout, uint8_t type = kTypeMemo) {
    Start(newLayout);
    AddVariable(type, 0, 0);
  }
  // The row of a table whose only column is the long value.
  Bytes Row(const Bytes& field) const {
    Bytes row = Joined(layout->isJet3 ? Hex("01") : Hex("0100"), field);
    const auto end = static_cast<uint8_t>(row.size());
    return Joined(row, layout->isJet3 ? Bytes{end, 1, 1, 1} : Bytes{end, 0, 2, 0, 1, 0, 1});
  }
  // The text of the only row, whose field is given.
  std::string Decode(const Bytes& field) {
    table->dataPages = {};
    Put(4, NewPage().Row(Row(field)));
    Parse();
    const Texts values = Values();
    return values.size() == 1 ? values[0] : "no row";
  }
  void PutLinks(uint32_t number, const std::vector<Bytes>& rows, uint16_t flags = 0) {
    CTestPage page = NewPage(kOwner);
    for (const Bytes& row : rows) page.Row(row, flags);
    Put(number, page, false);
  }
};

TEST_F(LongValue, InlineAndEmpty) {
  EXPECT_EQ(Decode(Joined(Field(kInline, 13), Hex("fffe736f6d652074657874aa bb"))),
            "some text\xC2\xAA\xC2\xBB");
  EXPECT_EQ(Decode(Joined(Field(kInline, 4), Utf16("hidden"))), "hi");
  EXPECT_EQ(Decode(Field(kInline, 0)), "");
  EXPECT_EQ(Decode(Field(kSingle, 0, 77, 0)), "");
  EXPECT_EQ(Decode({}), "");
  EXPECT_TRUE(data->GetLedger().IsClean());
}

TEST_F(LongValue, InlineThatEndsEarlyKeepsWhatIsThere) {
  EXPECT_EQ(Decode(Joined(Field(kInline, 10), Utf16("abc"))), "abc");
  EXPECT_EQ(Lost(EDamage::BrokenLongValue), 1u);
  EXPECT_EQ(Decode(Hex("0a0000800000")), "");
  EXPECT_EQ(Decode(Joined(Field(0xC0000000, 6), Utf16("abc"))), "");
  EXPECT_EQ(Lost(EDamage::BrokenLongValue), 3u);
}

TEST_F(LongValue, SingleRowOfALongValuePage) {
  for (const SJetLayout* format : {&kJet3Layout, &kJet4Layout}) {
    StartMemo(*format);
    const Bytes text = format->isJet3 ? Hex("556dfc") : Hex("55006d00fc00");
    PutLinks(6, {Utf16("first"), text, Utf16("last")});
    EXPECT_EQ(Decode(Field(kSingle, text.size(), 6, 1)), "Um\xC3\xBC");
    EXPECT_TRUE(data->GetLedger().IsClean());
    EXPECT_EQ(Decode(Field(kSingle, text.size() - (format->isJet3 ? 1 : 2), 6, 1)), "Um");
    EXPECT_TRUE(data->GetLedger().IsClean());
    EXPECT_EQ(Decode(Field(kSingle, text.size() + 1, 6, 1)), "Um\xC3\xBC");
    EXPECT_EQ(Lost(EDamage::BrokenLongValue), 1u);
  }
}

TEST_F(LongValue, Jet3TextUsesTheColumnsCodePage) {
  StartMemo(kJet3Layout);
  data->source.codePage = 1251;
  EXPECT_EQ(Decode(Joined(Field(kInline, 3), Hex("cce8f0"))), "\xD0\x9C\xD0\xB8\xD1\x80");
  table->columns.GetAt(0)->codePage = 1252;
  EXPECT_EQ(Decode(Joined(Field(kInline, 3), Hex("cce8f0"))), "\xC3\x8C\xC3\xA8\xC3\xB0");
}

TEST_F(LongValue, AChainIsReadToItsStatedLength) {
  const Bytes text = Utf16("The quick brown fox");
  const auto piece = [&](size_t from, size_t to) { return Bytes(&text[from], &text[0] + to); };
  PutLinks(6, {Link(7, 1, piece(0, 11))});  // cut inside a character
  PutLinks(7, {Hex("00"), Link(8, 0, piece(11, 20))});
  PutLinks(8, {Link(0, 0, Joined(piece(20, 38), Utf16("tail of an older value")))});
  EXPECT_EQ(Decode(Field(kChain, text.size(), 6, 0)), "The quick brown fox");
  EXPECT_TRUE(data->GetLedger().IsClean());
}

TEST_F(LongValue, TheCompressedFormGoesOnAcrossLinks) {
  const Bytes text = Hex("fffe 4142 00 1c043804 00 43");
  for (size_t cut = 1; cut < text.size(); cut++) {
    PutLinks(6, {Link(7, 0, Bytes(text.begin(), text.begin() + static_cast<ptrdiff_t>(cut)))});
    PutLinks(7, {Link(0, 0, Bytes(text.begin() + static_cast<ptrdiff_t>(cut), text.end()))});
    EXPECT_EQ(Decode(Field(kChain, text.size(), 6, 0)),
              "AB\xD0\x9C\xD0\xB8"
              "C")
        << cut;
  }
}

TEST_F(LongValue, ABrokenChainKeepsWhatWasRead) {
  struct SCase {
    const char* why;
    uint32_t nextPage;
    uint32_t nextSlot;
  };
  for (const SCase& test : {SCase{"last link, too early", 0, 0}, SCase{"loop to itself", 6, 0},
                            SCase{"page behind the file", 0xFFFF, 0}, SCase{"slot that is not there", 7, 1},
                            SCase{"freed row", 8, 0}, SCase{"row without data", 9, 0},
                            SCase{"page of a table", 10, 0}, SCase{"page of another kind", 11, 0}}) {
    StartMemo(kJet4Layout);
    PutLinks(6, {Link(test.nextPage, test.nextSlot, Utf16("abcd"))});
    PutLinks(7, {Link(0, 0, Utf16("wrong"))});
    PutLinks(8, {Link(0, 0, Utf16("wrong"))}, 0xC000);
    PutLinks(9, {Word(0)});
    Put(10, NewPage(kTablePage).Row(Link(0, 0, Utf16("wrong"))), false);
    PutLinks(11, {Link(0, 0, Utf16("wrong"))});
    pages[11][0] = 2;
    EXPECT_EQ(Decode(Field(kChain, 40, 6, 0)), "abcd") << test.why;
    EXPECT_EQ(Lost(EDamage::BrokenLongValue), 1u) << test.why;
  }
}

TEST_F(LongValue, ALoopOverTwoLinksEndsAtItsStart) {
  PutLinks(6, {Link(7, 0, Utf16("ab"))});
  PutLinks(7, {Link(6, 0, Utf16("cd"))});
  EXPECT_EQ(Decode(Field(kChain, 0x3FFFFFFE, 6, 0)), "abcd");
  EXPECT_EQ(Lost(EDamage::BrokenLongValue), 1u);
}

TEST_F(LongValue, AHeadWithAnotherStampBelongsToAnotherValue) {
  CTestPage page = NewPage(kOwner).Row(Link(0, 0, Utf16("other")));
  PutLittle(page.bytes, 8, 0x1234, 4);
  Put(6, page, false);
  EXPECT_EQ(Decode(Field(kChain, 10, 6, 0, 0x1234)), "other");
  EXPECT_EQ(Decode(Field(kChain, 10, 6, 0, 0x9999)), "");
  EXPECT_EQ(Lost(EDamage::BrokenLongValue), 1u);
}

TEST_F(LongValue, OleValuesGoToNumberedSideFiles) {
  StartMemo(kJet4Layout, kTypeOle);
  PutLinks(6, {Link(7, 0, Hex("0102030405"))});
  PutLinks(7, {Link(0, 0, Hex("060708"))});
  Put(4, NewPage()
             .Row(Row(Field(kChain, 8, 6, 0)))
             .Row(Row(Field(kInline, 0)))
             .Row(Hex("010000"))                  // null
             .Row(Row(Field(kSingle, 5, 99, 0)))  // nothing can be read
             .Row(Row(Joined(Field(kInline, 3), Hex("aabb00")))));
  Parse();
  const std::u16string first = CFileNameManager().GetOleFilePath(0);
  const std::u16string second = CFileNameManager().GetOleFilePath(1);
  EXPECT_EQ(Values(), (Texts{ToUtf8(first), "", "", "", ToUtf8(second)}));
  EXPECT_EQ(ToHex(FileBytes(first)), "0102030405060708");
  EXPECT_EQ(ToHex(FileBytes(second)), "aabb00");
  EXPECT_TRUE(FileBytes(CFileNameManager().GetOleFilePath(2)).empty());
  // The list holds a count of units + 1 and as many bytes, for each of the two.
  EXPECT_EQ(FileBytes(CFileNameManager().GetOleListPath()).size(), 2 * (4 + first.size() + 1));
  EXPECT_EQ(Lost(EDamage::BrokenLongValue), 1u);
}

TEST_F(LongValue, AFullDiskEndsTheTableOnly) {
  if (!std::filesystem::exists("/dev/full")) GTEST_SKIP() << "no device that is always full";
  StartMemo(kJet4Layout, kTypeOle);
  Put(4, NewPage().Row(Row(Joined(Field(kInline, 3), Hex("aabb00")))));
  CAccessTable& next = data->GetTables().AddTable(uint64_t{9} * 4096);
  table = &next;
  AddVariable(kTypeMemo, 0, 0);
  Put(5, NewPage(9).Row(Row(Joined(Field(kInline, 4), Utf16("ok")))));
  std::filesystem::create_symlink("/dev/full", ToUtf8(CFileNameManager().GetOleFilePath(0)));
  Parse();
  EXPECT_EQ(Lost(EDamage::SkippedTable), 1u);
  EXPECT_EQ(data->GetTables().GetAt(0)->header.rowCount, 0u);
  EXPECT_NE(CRepairLog::Instance().Get().find(SystemMessage(kDiskFullError)), std::u16string::npos);
  EXPECT_EQ(Values(), Texts{"ok"});
}

TEST_F(LongValue, ManyRowsAtOneGiantChainEndAtTheBudget) {
  StartMemo(kJet3Layout);
  const Bytes content(2000, 'x');
  for (uint32_t page = 6; page < 606; page++) PutLinks(page, {Link(page + 1, 0, content)});
  CTestPage rows = NewPage();
  for (int i = 0; i < 40; i++) rows.Row(Row(Field(kChain, 1'200'000, 6, 0)));
  Put(4, rows);
  Parse();
  // The budget is 8 times the file (1.2 MB) and 16 MiB: 21 of the 40 values.
  EXPECT_EQ(table->header.rowCount, 40u);
  EXPECT_GE(Lost(EDamage::BrokenLongValue), 17u);
  EXPECT_LE(Lost(EDamage::BrokenLongValue), 20u);
}

}  // namespace
}  // namespace tolvane
