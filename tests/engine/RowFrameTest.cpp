// Rows as they stand in real files, byte by byte, and the same rows with one lie.
#include "engine/RowFrame.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <string>
#include <vector>

#include "tests/engine/Hex.h"

namespace tolvane {
namespace {

using Bytes = std::vector<uint8_t>;

// Nine columns: text 0 and 1, byte, integer, long, double, date, currency and (in the mask) yes/no.
constexpr SRowShape kNineColumns{
    .columnsEver = 9, .variableColumnsEver = 2, .maximumStoredColumns = 256, .firstVariableNumber = 0};

Bytes Jet4Row() {
  return Hex(
      "0900 02 de00 5543de13 7b14ae47e1c87b40 0000000040a7da40 b888000000000000"
      "fffe61626364656667 68006900 6a006b006c006d006e006f007000 0000 3c00 2a00 2100 0200 ff01");
}

Bytes Jet3Row() {
  return Hex(
      "09 02 de00 5543de13 7b14ae47e1c87b40 0000000040a7da40 b888000000000000"
      "61626364656667 68696a6b6c6d6e6f70 302720 02 ff01");
}

// The field's bytes in hex, or "-" when it is not there.
std::string Show(const CRowFrame::Field& field) {
  return field ? ToHex(*field) : "-";
}

struct SCut {
  CRowFrame frame;
  bool isRow;
  Bytes row;
  SCut(const SRowLayout& layout, Bytes bytes, const SRowShape& shape) : frame(layout), row(std::move(bytes)) {
    isRow = frame.Cut(row, shape);
  }
};

TEST(RowFrame, Jet4RowIsCutIntoItsFields) {
  const SCut cut(kRowLayoutJet4, Jet4Row(), kNineColumns);
  ASSERT_TRUE(cut.isRow);
  EXPECT_EQ(Show(cut.frame.FindVariable(0)), "fffe61626364656667");
  EXPECT_EQ(Show(cut.frame.FindVariable(1)), "680069006a006b006c006d006e006f007000");
  EXPECT_EQ(Show(cut.frame.FindVariable(2)), "-");
  EXPECT_EQ(Show(cut.frame.FindFixed(0, 1)), "02");
  EXPECT_EQ(Show(cut.frame.FindFixed(23, 8)), "b888000000000000");
  EXPECT_EQ(Show(cut.frame.FindFixed(24, 8)), "-");  // reaches into the variable data
  for (uint32_t number = 0; number < 9; number++) EXPECT_TRUE(cut.frame.IsPresent(number)) << number;
  EXPECT_FALSE(cut.frame.IsPresent(9));
}

TEST(RowFrame, Jet3RowIsCutIntoItsFields) {
  const SCut cut(kRowLayoutJet3, Jet3Row(), kNineColumns);
  ASSERT_TRUE(cut.isRow);
  EXPECT_EQ(Show(cut.frame.FindVariable(0)), "61626364656667");
  EXPECT_EQ(Show(cut.frame.FindVariable(1)), "68696a6b6c6d6e6f70");
  EXPECT_EQ(Show(cut.frame.FindVariable(2)), "-");
  EXPECT_EQ(Show(cut.frame.FindFixed(23, 8)), "b888000000000000");
  EXPECT_EQ(Show(cut.frame.FindFixed(24, 8)), "-");
  EXPECT_TRUE(cut.frame.IsPresent(8));
}

TEST(RowFrame, StoredColumnCountDecidesWhetherItIsARow) {
  SRowShape shape = kNineColumns;
  const auto isRow = [&](const SRowLayout& layout, const char* hex) {
    return SCut(layout, Hex(hex), shape).isRow;
  };
  EXPECT_FALSE(isRow(kRowLayoutJet4, ""));
  EXPECT_FALSE(isRow(kRowLayoutJet4, "09"));
  EXPECT_FALSE(isRow(kRowLayoutJet4, "0000ff"));
  EXPECT_TRUE(isRow(kRowLayoutJet4, "0900ff01"));
  EXPECT_FALSE(isRow(kRowLayoutJet4, "0a00ff03"));
  EXPECT_FALSE(isRow(kRowLayoutJet3, "00ff"));
  EXPECT_FALSE(isRow(kRowLayoutJet3, "0aff03"));
  shape.columnsEver = 400;
  EXPECT_TRUE(isRow(kRowLayoutJet4, ("ff00" + std::string(64, 'f')).c_str()));
  EXPECT_FALSE(isRow(kRowLayoutJet4, ("0001" + std::string(64, 'f')).c_str()));
  EXPECT_FALSE(isRow(kRowLayoutJet4, ("2c01" + std::string(80, 'f')).c_str()));
}

TEST(RowFrame, ARowShorterThanItsMaskHasNothingPresent) {
  SRowShape shape = kNineColumns;
  shape.columnsEver = 200;
  const SCut cut(kRowLayoutJet4, Hex("c800ffffffff"), shape);
  ASSERT_TRUE(cut.isRow);
  for (uint32_t number = 0; number < 200; number++) EXPECT_FALSE(cut.frame.IsPresent(number)) << number;
}

TEST(RowFrame, AVariableCountThatCannotBeTrueLeavesTheFirstValue) {
  Bytes row = Jet4Row();
  row[row.size() - 4] = 10;  // more than the nine columns
  const SCut four(kRowLayoutJet4, row, kNineColumns);
  EXPECT_EQ(Show(four.frame.FindVariable(0)), "fffe61626364656667");
  EXPECT_EQ(Show(four.frame.FindVariable(1)), "-");
  EXPECT_EQ(Show(four.frame.FindFixed(23, 8)), "b888000000000000");

  row = Jet3Row();
  row[row.size() - 3] = 10;
  const SCut three(kRowLayoutJet3, row, kNineColumns);
  EXPECT_EQ(Show(three.frame.FindVariable(0)), "61626364656667");
  EXPECT_EQ(Show(three.frame.FindVariable(1)), "-");
}

TEST(RowFrame, AWrongOffsetCostsOnlyTheValuesThatItBounds) {
  for (const uint8_t lie : {uint8_t{0}, uint8_t{20}, uint8_t{0xff}}) {
    Bytes row = Jet4Row();
    row[row.size() - 8] = lie;  // end of the first value, start of the second
    row[row.size() - 7] = lie == 0xff ? 0xff : 0;
    const SCut cut(kRowLayoutJet4, row, kNineColumns);
    ASSERT_TRUE(cut.isRow);
    EXPECT_EQ(Show(cut.frame.FindVariable(0)), "-") << int{lie};
    EXPECT_EQ(Show(cut.frame.FindFixed(23, 8)), "b888000000000000") << int{lie};
  }
  Bytes row = Jet4Row();
  row[row.size() - 10] = 0xff;  // end of data, behind the row
  const SCut cut(kRowLayoutJet4, row, kNineColumns);
  EXPECT_EQ(Show(cut.frame.FindVariable(0)), "fffe61626364656667");
  EXPECT_EQ(Show(cut.frame.FindVariable(1)), "-");
}

TEST(RowFrame, ARowOlderThanTheVariableColumnsHasNoOffsets) {
  // Two longs, and behind them the mask; a text column 2 came later.
  const SRowShape shape{
      .columnsEver = 3, .variableColumnsEver = 1, .maximumStoredColumns = 256, .firstVariableNumber = 2};
  const SCut cut(kRowLayoutJet4, Hex("0200 01000000 05000000 03"), shape);
  ASSERT_TRUE(cut.isRow);
  EXPECT_EQ(Show(cut.frame.FindFixed(0, 4)), "01000000");
  EXPECT_EQ(Show(cut.frame.FindFixed(4, 4)), "05000000");
  EXPECT_FALSE(cut.frame.IsPresent(2));
}

TEST(RowFrame, Jet3OffsetsStepUpAtTheJumpBytes) {
  // Offsets 10, 200, 300 and end of data 310 in a row of 320 bytes: index 2 is the first at 256 or above.
  const SRowShape shape{
      .columnsEver = 3, .variableColumnsEver = 3, .maximumStoredColumns = 256, .firstVariableNumber = 0};
  Bytes row(310, 0);
  row[0] = 3;
  for (size_t i = 10; i < row.size(); i++) row[i] = static_cast<uint8_t>(i < 200 ? 'a' : i < 300 ? 'b' : 'c');
  for (const uint8_t byte : Hex("36 2c c8 0a 02 03 07")) row.push_back(byte);
  const SCut cut(kRowLayoutJet3, row, shape);
  ASSERT_TRUE(cut.isRow);
  EXPECT_EQ(cut.frame.FindVariable(0).value().size(), 190u);
  EXPECT_EQ(cut.frame.FindVariable(1).value().size(), 100u);
  EXPECT_EQ(Show(cut.frame.FindVariable(2)), "63636363636363636363");
  EXPECT_EQ(cut.frame.FindVariable(1).value().front(), 'b');
}

TEST(RowFrame, Jet3SurplusJumpByteIsNoOffset) {
  // Data end at 255; only the offsets lie above 256, so the jump byte matches nothing, whatever it holds.
  const SRowShape shape{
      .columnsEver = 2, .variableColumnsEver = 2, .maximumStoredColumns = 256, .firstVariableNumber = 0};
  for (const uint8_t surplus : {uint8_t{0xff}, uint8_t{1}}) {
    Bytes row(254, 'x');
    row[0] = 2;
    for (const uint8_t byte : Hex("fe c8 0a")) row.push_back(byte);
    row.push_back(surplus);
    row.push_back(2);
    row.push_back(3);
    const SCut cut(kRowLayoutJet3, row, shape);
    ASSERT_TRUE(cut.isRow);
    ASSERT_TRUE(cut.frame.FindVariable(0));
    EXPECT_EQ(cut.frame.FindVariable(0)->size(), 190u);
    ASSERT_TRUE(cut.frame.FindVariable(1));
    EXPECT_EQ(cut.frame.FindVariable(1)->size(), 54u);
  }
}

// 255 columns of which 230 hold a byte: the data end below 256, the row is longer than 512, and FF, the value
// of both surplus jump bytes, is the number of the end of data.
TEST(RowFrame, Jet3SurplusJumpBytesOfTheWidestRow) {
  constexpr size_t kColumns = 255, kFilled = 230;
  const SRowShape shape{.columnsEver = kColumns,
                        .variableColumnsEver = kColumns,
                        .maximumStoredColumns = 256,
                        .firstVariableNumber = 0};
  Bytes row(1 + kFilled, 'v');
  row[0] = kColumns;
  for (size_t i = kColumns + 1; i-- > 0;) row.push_back(static_cast<uint8_t>(1 + std::min(i, kFilled)));
  for (const uint8_t byte : Hex("ff ff ff")) row.push_back(byte);
  row.resize(row.size() + 32, 0xFF);
  const SCut cut(kRowLayoutJet3, row, shape);
  ASSERT_TRUE(cut.isRow);
  EXPECT_EQ(Show(cut.frame.FindVariable(0)), "76");
  EXPECT_EQ(Show(cut.frame.FindVariable(kFilled - 1)), "76");
  ASSERT_TRUE(cut.frame.FindVariable(kColumns - 1));
  EXPECT_TRUE(cut.frame.FindVariable(kColumns - 1)->empty());
}

// Every byte of both rows set to every value: each field that is found lies inside the row.
TEST(RowFrame, NoByteOfARowLeadsOutsideIt) {
  for (const SRowLayout* layout : {&kRowLayoutJet3, &kRowLayoutJet4}) {
    const Bytes sound = layout->countWidth == 1 ? Jet3Row() : Jet4Row();
    CRowFrame frame(*layout);
    for (size_t at = 0; at < sound.size(); at++) {
      for (int value = 0; value < 256; value++) {
        const Bytes row = [&] {
          Bytes bytes = sound;
          bytes[at] = static_cast<uint8_t>(value);
          return bytes;
        }();
        if (!frame.Cut(row, kNineColumns)) continue;
        for (size_t i = 0; i < 300; i++) {
          for (const CRowFrame::Field& field : {frame.FindVariable(i), frame.FindFixed(i, 8)}) {
            if (!field || field->empty()) continue;
            ASSERT_GE(field->data(), row.data());
            ASSERT_LE(field->data() + field->size(), row.data() + row.size());
          }
        }
      }
    }
  }
}

}  // namespace
}  // namespace tolvane
