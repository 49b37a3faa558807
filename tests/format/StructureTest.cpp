// Small structures byte by byte: map rows, slots, references to long values.
#include <gtest/gtest.h>

#include <string>

#include "format/LongValue.h"
#include "format/MapRow.h"
#include "format/PageSlots.h"
#include "tests/format/KeyBytes.h"

namespace tolvane {
namespace {

std::vector<uint64_t> PagesOf(std::span<const uint8_t> row, std::span<const uint8_t> bits, size_t most = 99) {
  std::vector<uint64_t> pages;
  const auto open = [&](uint32_t page, uint64_t) { return page == 7 ? bits : std::span<const uint8_t>(); };
  const auto covered = ReadMapRow(kLayoutJet3, row, open, [&](uint64_t page) {
    pages.push_back(page);
    return pages.size() < most;
  });
  EXPECT_EQ(covered.has_value(), pages.size() < most);
  return pages;
}

TEST(MapRow, NamesPagesInBothForms) {
  EXPECT_EQ(PagesOf(FromHex("00 10000000 81 01"), {}), (std::vector<uint64_t>{16, 23, 24}));
  std::vector<uint8_t> bits(kLayoutJet3.pageSize);
  const std::span<uint8_t> area = StartMapPage(bits);
  SetMapBit(area, 0);
  SetMapBit(area, 16351);  // the last one
  EXPECT_EQ(ToHex({bits.begin(), bits.begin() + 5}), "05 01 00 00 01");
  const std::vector<uint8_t> row = FromHex("01 00000000 07000000 09000000");
  EXPECT_EQ(PagesOf(row, bits), (std::vector<uint64_t>{16352, 32703}));
  EXPECT_EQ(PagesOf(row, bits, 1), std::vector<uint64_t>{16352});
  EXPECT_EQ(MapPagesOf(row), (std::vector<uint32_t>{0, 7, 9}));
  std::vector<uint8_t> written = FromHex("00 FFFFFFFF FFFFFFFF FFFFFFFF");
  PutMapPages(std::vector<uint32_t>{0, 7, 9}, written);
  EXPECT_EQ(written, row);
  EXPECT_FALSE(IsMapRow(FromHex("02 00000000")));
  EXPECT_FALSE(IsMapRow(FromHex("00 100000")));
}

TEST(PageSlots, EveryFaultIsTold) {
  // Two rows, of 16 and of 8 bytes.
  std::vector<uint8_t> page(kLayoutJet4.pageSize);
  const std::span<uint8_t> at(page);
  const auto faults = [&] {
    std::string told;
    CheckSlots(page, kLayoutJet4, [&](const SSlotFault& fault) {
      told += std::to_string(static_cast<int>(fault.kind)) + '@' + std::to_string(fault.slot) + ' ';
    });
    return told;
  };
  PutLittle<uint16_t>(at, 12, 2);
  PutLittle<uint16_t>(at, 14, 4080);
  PutLittle<uint16_t>(at, 16, 4072 | kSlotHidden);
  PutLittle<uint16_t>(at, kFreeBytesOffset, 4072 - 18);
  EXPECT_EQ(faults(), "");
  PutLittle<uint16_t>(at, 14, 4080 | 0x2000);
  PutLittle<uint16_t>(at, kFreeBytesOffset, 9);
  EXPECT_EQ(faults(), "3@0 4@0 ");
  PutLittle<uint16_t>(at, 16, 4088);
  EXPECT_EQ(faults(), "3@0 2@1 ") << "above the row before it";
  PutLittle<uint16_t>(at, 16, 17);
  EXPECT_EQ(faults(), "3@0 1@1 ") << "among the slots";
  PutLittle<uint16_t>(at, 14, 4097);
  EXPECT_EQ(faults(), "1@0 ") << "behind the page";
  PutLittle<uint16_t>(at, 12, 2042);
  EXPECT_EQ(faults(), "0@0 ");
}

TEST(LongValue, ReferencesAreReadAndWritten) {
  const std::vector<uint8_t> bytes = FromHex("0A000040 05030200 00000000");
  const auto value = DecodeLongValue(bytes);
  ASSERT_TRUE(value.has_value());
  EXPECT_EQ(value->kind, kLongValueSingle);
  EXPECT_EQ(value->length, 10u);
  EXPECT_EQ(PageOfPointer(value->pointer), 0x203u);
  std::vector<uint8_t> written(kReferenceSize);
  EncodeLongValue(*value, written);
  EXPECT_EQ(written, bytes);
  EXPECT_FALSE(DecodeLongValue(std::span(bytes).first(11)).has_value());

  const std::vector<uint8_t> chained = FromHex("0A000000 05030200 03020000");
  const std::vector<uint8_t> row = FromHex("00040200 6162");
  const auto piece =
      FirstPieceOf(chained, [&](uint32_t) { return std::optional<std::span<const uint8_t>>(row); });
  ASSERT_TRUE(piece.has_value());
  EXPECT_EQ(std::string(piece->begin(), piece->end()), "ab");
  EXPECT_FALSE(DecodeChainPiece(std::span(row).first(3)).has_value());
}

}  // namespace
}  // namespace tolvane
