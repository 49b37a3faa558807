#include "engine/DataConversion.h"

#include <gtest/gtest.h>

#include <array>
#include <bit>
#include <cmath>
#include <limits>

namespace tolvane {
namespace {

std::array<uint8_t, 8> Bytes64(uint64_t value) {
  std::array<uint8_t, 8> bytes{};
  for (uint8_t& byte : bytes) {
    byte = static_cast<uint8_t>(value);
    value >>= 8;
  }
  return bytes;
}

std::u16string Date(double value, EMidnightBlank blank = EMidnightBlank::Keep) {
  std::u16string text = u"left over";
  CDataConversion::DateToText(Bytes64(std::bit_cast<uint64_t>(value)), blank, text);
  return text;
}

std::u16string Currency(int64_t value) {
  std::u16string text = u"left over";
  CDataConversion::CurrencyToText(Bytes64(static_cast<uint64_t>(value)), text);
  return text;
}

std::u16string Binary(std::vector<uint8_t> bytes) {
  std::u16string text = u"left over";
  CDataConversion::BytesToText(bytes, text);
  return text;
}

TEST(DateToText, DayAndTime) {
  EXPECT_EQ(Date(1.5), u"12/31/1899 12:00:00 PM");
  EXPECT_EQ(Date(37076.25), u"07/04/2001 06:00:00 AM");
  EXPECT_EQ(Date(37076.0 + 1.0 / 86400), u"07/04/2001 12:00:01 AM");
  EXPECT_EQ(Date(45657.999988425925), u"12/31/2024 11:59:59 PM");
  EXPECT_EQ(Date(27293.0 + 0.5423611111), u"09/21/1974 01:01:00 PM");
}

TEST(DateToText, MidnightIsLeftOutButItsBlankStays) {
  EXPECT_EQ(Date(0.0), u"12:00:00 AM");
  EXPECT_EQ(Date(-0.0), u"12:00:00 AM");
  EXPECT_EQ(Date(37076.0), u"07/04/2001 ");
  EXPECT_EQ(Date(37076.0, EMidnightBlank::Drop), u"07/04/2001");
}

TEST(DateToText, NegativeDaysCountTheTimeForward) {
  EXPECT_EQ(Date(-728), u"01/01/1898 ");
  EXPECT_EQ(Date(-1.25), u"12/29/1899 06:00:00 AM");
  EXPECT_EQ(Date(-0.25), u"12/30/1899 06:00:00 AM");
  EXPECT_EQ(Date(-115859), u"10/14/1582 ");
}

TEST(DateToText, ATimeThatRoundsTo24HoursIsTheNextDay) {
  EXPECT_EQ(Date(37076.999997), u"07/05/2001 ");
  EXPECT_EQ(Date(36524.999997), u"12/31/1999 ");
  EXPECT_EQ(Date(-1.999997), u"12:00:00 AM");
}

TEST(DateToText, LeapDaysAndCycleEnds) {
  EXPECT_EQ(Date(36584), u"02/28/2000 ");
  EXPECT_EQ(Date(36585), u"02/29/2000 ");
  EXPECT_EQ(Date(36586), u"03/01/2000 ");
  EXPECT_EQ(Date(36891), u"12/31/2000 ");
  EXPECT_EQ(Date(60), u"02/28/1900 ");
  EXPECT_EQ(Date(61), u"03/01/1900 ");
  EXPECT_EQ(Date(45350), u"02/28/2024 ");
  EXPECT_EQ(Date(45351), u"02/29/2024 ");
}

TEST(DateToText, OutsideTheCalendarThereIsNoText) {
  EXPECT_EQ(Date(2958465), u"12/31/9999 ");
  EXPECT_EQ(Date(-657434), u"01/01/0100 ");
  for (const double value :
       {2958466.0, 2958465.999999, -657435.0, 1e300, -1e300, std::numeric_limits<double>::infinity(),
        -std::numeric_limits<double>::infinity(), std::numeric_limits<double>::quiet_NaN()}) {
    std::u16string text = u"left over";
    EXPECT_FALSE(
        CDataConversion::DateToText(Bytes64(std::bit_cast<uint64_t>(value)), EMidnightBlank::Keep, text))
        << value;
    EXPECT_EQ(text, u"") << value;
  }
}

TEST(CurrencyToText, FourDecimalsAlways) {
  EXPECT_EQ(Currency(0), u"0.0000");
  EXPECT_EQ(Currency(1), u"0.0001");
  EXPECT_EQ(Currency(-1), u"-0.0001");
  EXPECT_EQ(Currency(9999), u"0.9999");
  EXPECT_EQ(Currency(12345), u"1.2345");
  EXPECT_EQ(Currency(-35000), u"-3.5000");
  EXPECT_EQ(Currency(std::numeric_limits<int64_t>::max()), u"922337203685477.5807");
  EXPECT_EQ(Currency(std::numeric_limits<int64_t>::min()), u"-922337203685477.5808");
}

TEST(GuidToText, FirstThreeGroupsAreLittleEndian) {
  const std::array<uint8_t, 16> guid{0x1e, 0xe2, 0x48, 0x50, 0x62, 0x4d, 0x19, 0x4a,
                                     0x91, 0xd3, 0x7a, 0xcd, 0x20, 0xc0, 0x26, 0x0a};
  std::u16string text = u"left over";
  CDataConversion::GuidToText(guid, text);
  EXPECT_EQ(text, u"{5048E21E-4D62-4A19-91D3-7ACD20C0260A}");
}

TEST(BytesToText, ZeroBytesAndMarksAreDropped) {
  EXPECT_EQ(Binary({}), u"");
  EXPECT_EQ(Binary({0xFF, 0xFE, 0x41, 0x00, 0x42}), u"AB");
  EXPECT_EQ(Binary({0x00, 0x00}), u"");
  EXPECT_EQ(Binary({0x41, 0xFF, 0xFE, 0xFF, 0xFE, 0x42}), u"AB");
  // The pair counts only where both bytes stand together; a lone mark byte is a letter of the code page.
  EXPECT_EQ(Binary({0xFF, 0x00, 0xFE}), u"\u00FF\u00FE");
  EXPECT_EQ(Binary({0x41, 0xFF}), u"A\u00FF");
}

}  // namespace
}  // namespace tolvane
