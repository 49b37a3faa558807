// Rows as they stand in real files, byte by byte, and the same rows with one lie.
#include "format/RowFrame.h"

#include "tests/engine/RowFile.h"

namespace tolvane {
namespace {

// Nine columns: text 0 and 1, byte, integer, long, double, date, currency and (in the mask) yes/no.
const std::string kFixed = "02 de00 5543de13 7b14ae47e1c87b40 0000000040a7da40 b888000000000000";
const std::string kJet4Row = "0900" + kFixed + "fffe61626364656667 680069006a006b006c006d006e006f007000 0000";
const std::string kJet3Row = "09" + kFixed + "61626364656667 68696a6b6c6d6e6f70";

class RowFrame : public CRowTest {
 protected:
  void AddNineColumns() {
    AddVariable(kTypeText, 0, 0);
    AddVariable(kTypeText, 1, 1);
    AddFixed(kTypeByte, 2, 0, 1);
    AddFixed(kTypeInteger, 3, 1, 2);
    AddFixed(kTypeLong, 4, 3, 4);
    AddFixed(kTypeDouble, 5, 7, 8);
    AddFixed(kTypeDate, 6, 15, 8);
    AddFixed(kTypeCurrency, 7, 23, 8);
    AddFixed(kTypeBoolean, 8, 31, 1);
  }
  static Texts NineTexts(const std::string& first, const std::string& second) {
    return {first, second, "2", "222", "333333333", "444.55500", "09/21/1974 ", "3.5000", "True"};
  }
  void StartTexts(const SLayout& newLayout, uint16_t count) {
    Start(newLayout);
    for (uint16_t i = 0; i < count; i++) AddVariable(kTypeText, i, i);
  }
  // The bytes from `start` on are offsets, jump bytes, variable count and mask.
  Texts DecodeTexts(size_t start, const Bytes& tail) {
    Bytes row{static_cast<uint8_t>(table->columns.GetCount())};
    while (row.size() < start) row.push_back(row.size() < 200 ? 'a' : row.size() < 300 ? 'b' : 'c');
    return Decode(Joined(row, tail));
  }
};

TEST_F(RowFrame, ALieCostsOnlyTheValuesThatItBounds) {
  struct SCase {
    const char* lie;
    const SLayout& layout;
    std::string row;
    Texts texts;
    uint64_t broken;
  };
  const std::string first = "abcdefg", second = "hijklmnop";
  for (const SCase& test : {
           SCase{"none", kLayoutJet4, kJet4Row + "3c00 2a00 2100 0200 ff01", NineTexts(first, second), 0},
           SCase{"none", kLayoutJet3, kJet3Row + "302720 02 ff01", NineTexts(first, second), 0},
           SCase{"count", kLayoutJet4, kJet4Row + "3c00 2a00 2100 0a00 ff01", NineTexts(first, ""), 1},
           SCase{"count", kLayoutJet3, kJet3Row + "302720 0a ff01", NineTexts(first, ""), 1},
           SCase{"early end", kLayoutJet4, kJet4Row + "3c00 0000 2100 0200 ff01", NineTexts("", ""), 2},
           SCase{"late end", kLayoutJet4, kJet4Row + "3c00 ffff 2100 0200 ff01", NineTexts("", ""), 2},
           SCase{"late end", kLayoutJet4, kJet4Row + "ff00 2a00 2100 0200 ff01", NineTexts(first, ""), 1},
       }) {
    SCOPED_TRACE(test.lie + test.row);
    Start(test.layout);
    AddNineColumns();
    EXPECT_EQ(Decode(Hex(test.row)), test.texts);
    EXPECT_EQ(Lost(EDamage::BrokenValue), test.broken);
  }
}

// Nulls are empty, whatever bytes they hold, and yes/no is never null.
TEST_F(RowFrame, ColumnsThatAreNullOrNewerThanTheRowAreEmpty) {
  AddNineColumns();
  EXPECT_EQ(Decode(Hex("0900" + kFixed + "2100 2100 2100 0200 0000")),
            (Texts{"", "", "", "", "", "", "", "", "False"}));
  EXPECT_EQ(Decode(Hex("0400 02 de00 41004200 0900 0500 0500 0200 0e")),
            (Texts{"", "AB", "2", "222", "", "", "", "", "False"}));
  // A row older than the text column has no offsets.
  Start(kLayoutJet4);
  AddFixed(kTypeLong, 0, 0, 4);
  AddFixed(kTypeLong, 1, 4, 4);
  AddVariable(kTypeText, 2, 0);
  EXPECT_EQ(Decode(Hex("0200 01000000 05000000 03")), (Texts{"1", "5", ""}));
  // A row that is shorter than its mask.
  AddFixed(kTypeBoolean, 199, 8, 1);
  EXPECT_EQ(Decode(Hex("c800ffffffff")), (Texts{"", "", "", "False"}));
  EXPECT_TRUE(data->GetLedger().IsClean());
}

TEST_F(RowFrame, AFixedValueDoesNotReachIntoTheVariableOnes) {
  AddFixed(kTypeLong, 0, 0, 4);
  AddVariable(kTypeText, 1, 0);
  AddFixed(kTypeDouble, 2, 4, 8);
  EXPECT_EQ(Decode(Hex("0300 07000000 4100 4200 0a00 0600 0100 07")), (Texts{"7", "AB", ""}));
  EXPECT_EQ(Decode(Hex("0300 07000000 4100 4200 ff00 0600 0100 07")), (Texts{"7", "", ""})) << "unsound";
  EXPECT_EQ(Lost(EDamage::BrokenValue), 3u);
}

TEST_F(RowFrame, StoredColumnCountDecidesWhetherItIsARow) {
  const std::string mask(80, 'f');
  struct SCase {
    const SLayout& layout;
    std::string row;
    uint16_t columnsEver;
    bool isRow;
  };
  for (const SCase& test :
       {SCase{kLayoutJet4, "09", 9, false}, SCase{kLayoutJet4, "0000ff", 9, false},
        SCase{kLayoutJet4, "0900ff01", 9, true}, SCase{kLayoutJet4, "0a00ff03", 9, false},
        SCase{kLayoutJet3, "00ff", 9, false}, SCase{kLayoutJet3, "0aff03", 9, false},
        SCase{kLayoutJet4, "ff00" + mask, 400, true}, SCase{kLayoutJet4, "0001" + mask, 400, false},
        SCase{kLayoutJet4, "2c01" + mask, 400, false}}) {
    StartTexts(test.layout, 1);
    table->header.highestColumnNumber = test.columnsEver;
    EXPECT_EQ(Decode(Hex(test.row)).size(), test.isRow ? 1u : 0u) << test.row;
    EXPECT_EQ(Lost(EDamage::RejectedRow), test.isRow ? 0u : 1u) << test.row;
  }
}

TEST_F(RowFrame, Jet3OffsetsStepUpAtTheJumpBytes) {
  // Offsets 10, 200, 300 and end of data 310 in a row of 317 bytes: index 2 is the first at 256 or above.
  StartTexts(kLayoutJet3, 3);
  EXPECT_EQ(DecodeTexts(310, Hex("36 2c c8 0a 02 03 07")),
            (Texts{std::string(190, 'a'), std::string(100, 'b'), std::string(10, 'c')}));
  // Data end at 254; only the offsets lie above 256, so the jump byte matches nothing, whatever it holds.
  StartTexts(kLayoutJet3, 2);
  for (const char* tail : {"fe c8 0a ff 02 03", "fe c8 0a 01 02 03"})
    EXPECT_EQ(DecodeTexts(254, Hex(tail)), (Texts{std::string(190, 'a'), std::string(54, 'b')}));
  // 255 columns of which 230 hold a byte: the data end below 256, the row is longer than 512, and FF, the
  // value of both surplus jump bytes, is the number of the end of data.
  StartTexts(kLayoutJet3, 255);
  Bytes tail;
  for (int i = 255; i >= 0; i--) tail.push_back(static_cast<uint8_t>(1 + std::min(i, 230)));
  tail.resize(tail.size() + 3 + 32, 0xFF);
  Texts expected(199, "a");
  expected.resize(230, "b");
  expected.resize(255);
  EXPECT_EQ(DecodeTexts(231, tail), expected);
  EXPECT_TRUE(data->GetLedger().IsClean());
}

// Every byte of both rows set to every value: each field that is found lies inside the row.
TEST_F(RowFrame, NoByteOfARowLeadsOutsideIt) {
  constexpr SRowShape kShape{
      .columnsEver = 9, .variableColumnsEver = 2, .maximumStoredColumns = 256, .firstVariableNumber = 0};
  for (const SRowLayout* rowLayout : {&kLayoutJet3.row, &kLayoutJet4.row}) {
    const bool isJet3 = rowLayout->countSize == 1;
    const Bytes sound = Hex(isJet3 ? kJet3Row + "302720 02 ff01" : kJet4Row + "3c00 2a00 2100 0200 ff01");
    CRowFrame frame(*rowLayout);
    for (size_t i = 0; i < sound.size() * 256; i++) {
      Bytes row = sound;
      row[i / 256] = static_cast<uint8_t>(i);
      if (!frame.Cut(row, kShape)) continue;
      for (size_t index = 0; index < 300; index++) {
        for (const CRowFrame::Field& field : {frame.FindVariable(index), frame.FindFixed(index, 8)}) {
          if (!field || field->empty()) continue;
          ASSERT_GE(field->data(), row.data());
          ASSERT_LE(field->data() + field->size(), row.data() + row.size());
        }
      }
    }
  }
}

}  // namespace
}  // namespace tolvane
