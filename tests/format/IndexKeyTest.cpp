#include "format/IndexKey.h"

#include <gtest/gtest.h>

#include <string>

#include "tests/format/KeyBytes.h"

namespace tolvane {
namespace {

constexpr SIndexKeyFormat kJet3{.version = EIndexVersion::Jet3};
constexpr SIndexKeyFormat kJet4{.version = EIndexVersion::Jet4};
constexpr SIndexKeyFormat kAce{.version = EIndexVersion::Ace};
constexpr bool kAscending = true, kDescending = false;

std::vector<uint8_t> KeyOf(const SIndexKeyFormat& format, int type, bool isAscending,
                           const std::vector<uint8_t>& storage) {
  std::vector<uint8_t> key;
  EXPECT_TRUE(AppendIndexKey(format, static_cast<uint8_t>(type), isAscending, std::span(storage), key));
  return key;
}

TEST(IndexKey, BytesOfEachType) {
  const struct {
    SIndexKeyFormat format;
    int type;
    const char* storage;
    const char* ascending;
    const char* descending;
  } examples[] = {
      {kJet4, 1, "01", "7F 00", "80 FF"},
      {kJet4, 1, "00", "7F FF", "80 00"},
      {kJet4, 2, "C8", "7F C8", "80 37"},
      {kJet4, 3, "FE FF", "7F 7F FE", "80 80 01"},
      {kJet3, 4, "01 00 00 00", "7F 80 00 00 01", "80 7F FF FF FE"},
      {kJet4, 5, "39 30 00 00 00 00 00 00", "7F 80 00 00 00 00 00 30 39", "80 7F FF FF FF FF FF CF C6"},
      {kJet4, 6, "00 00 80 3F", "7F BF 80 00 00", "80 40 7F FF FF"},
      {kJet4, 7, "00 00 00 00 00 00 F0 BF", "7F 40 0F FF FF FF FF FF FF", "80 BF F0 00 00 00 00 00 00"},
      {kJet4, 8, "00 00 00 00 00 00 F0 3F", "7F BF F0 00 00 00 00 00 00", "80 40 0F FF FF FF FF FF FF"},
      {kJet4, 9, "", "7F", "80"},
      {kJet4, 9, "01 02", "7F 01 02 00 00 00 00 00 00 02", "80 FE FD FF FF FF FF FF FF FD"},
      {kJet4, 9, "01 02 03 04 05 06 07 08", "7F 01 02 03 04 05 06 07 08 08", "80 FE FD FC FB FA F9 F8 F7 F7"},
      {kJet4, 9, "01 02 03 04 05 06 07 08 09", "7F 01 02 03 04 05 06 07 08 09 09 00 00 00 00 00 00 00 01",
       "80 FE FD FC FB FA F9 F8 F7 09 F6 FF FF FF FF FF FF FF FE"},
      {kJet4, 15, "03 02 01 00 05 04 07 06 08 09 0A 0B 0C 0D 0E 0F",
       "7F 00 01 02 03 04 05 06 07 09 08 09 0A 0B 0C 0D 0E 0F 08",
       "80 FF FE FD FC FB FA F9 F8 09 F7 F6 F5 F4 F3 F2 F1 F0 F7"},
      {kJet4, 16, "00 00 00 00 00 00 00 00 00 00 00 00 00 39 30 00 00",
       "7F FF 00 00 00 00 00 00 00 00 00 00 00 00 00 00 30 39",
       "80 FF FF FF FF FF FF FF FF FF FF FF FF FF FF FF CF C6"},
      {kJet4, 16, "80 00 00 00 00 00 00 00 00 01 00 00 00 39 30 00 00",
       "7F 00 FF FF FF FF FF FF FF FF FF FF FF FE FF FF CF C6",
       "80 00 00 00 00 00 00 00 00 00 00 00 00 01 00 00 30 39"},
      {kAce, 16, "80 00 00 00 00 00 00 00 00 00 00 00 00 39 30 00 00",
       "7F 00 FF FF FF FF FF FF FF FF FF FF FF FF FF FF CF C6",
       "80 FF 00 00 00 00 00 00 00 00 00 00 00 00 00 00 30 39"},
      {kAce, 19, "00 00 00 00 00 00 00 80", "7F 00 00 00 00 00 00 00 00", "80 FF FF FF FF FF FF FF FF"},
      {kJet4, 10, "41 00", "7F 4A 01 00", "80 B5 FE FF 00"},
      {kJet4, 12, "41 00", "7F 4A 01 00", "80 B5 FE FF 00"},
      {kJet3, 10, "41", "7F 60 00", "80 9F FF"},
  };
  for (const auto& example : examples) {
    SCOPED_TRACE(std::to_string(example.type) + ": " + example.storage);
    const std::vector<uint8_t> storage = FromHex(example.storage);
    EXPECT_EQ(ToHex(KeyOf(example.format, example.type, kAscending, storage)), example.ascending);
    EXPECT_EQ(ToHex(KeyOf(example.format, example.type, kDescending, storage)), example.descending);
  }
}

// An extended date is 42 bytes of text: five pieces of eight and one of two.
TEST(IndexKey, ExtendedDatesAreKeyedInPieces) {
  const std::vector<uint8_t> key = KeyOf(kAce, 20, kDescending, std::vector<uint8_t>(42, 0x30));
  ASSERT_EQ(key.size(), 1U + 5 * 9 + 9);
  for (size_t piece = 0; piece < 5; piece++) EXPECT_EQ(key[9 + 9 * piece], 0x09);
  EXPECT_EQ(key[key.size() - 9], 0xCF);
  EXPECT_EQ(key.back(), 0xFD);
}

// Values in ascending order give strictly ascending keys, and strictly descending ones in a descending index.
TEST(IndexKey, ValuesKeepTheirOrder) {
  const std::string zeros = "00 00 00 00 00 00 00 00 00 00 00 00 ";
  const struct {
    SIndexKeyFormat format;
    int type;
    std::vector<std::string> values;
  } orders[] = {
      {kJet3, 1, {"01", "00"}},  // true comes first
      {kJet3, 2, {"00", "01", "7F", "80", "FF"}},
      {kAce, 3, {"0080", "0180", "FFFE", "00FF", "FFFF", "0000", "0100", "FF00", "0001", "FF7F"}},
      {kAce,
       4,
       {"00000080", "FFFEFFFF", "00FFFFFF", "FFFFFFFF", "00000000", "FF000000", "00010000", "FFFFFF7F"}},
      {kAce,
       19,
       {"0000000000000080", "00FFFFFFFFFFFFFF", "FFFFFFFFFFFFFFFF", "0000000000000000", "0001000000000000",
        "FFFFFFFFFFFFFF7F"}},
      // -infinity, -1.5, -1.25, the smallest ones around 0, 1.25, 1.5, infinity
      {kJet4,
       6,
       {"000080FF", "0000C0BF", "0000A0BF", "01000080", "00000000", "01000000", "0000A03F", "0000C03F",
        "0000807F"}},
      {kJet4,
       8,
       {"000000000000F0FF", "000000000000F8BF", "000000000000F4BF", "0100000000000080", "0000000000000000",
        "0100000000000000", "000000000000F43F", "000000000000F83F", "000000000000F07F"}},
      {kJet4,
       9,
       {"00", "00 00", "00 00 00 00 00 00 00 00", zeros.substr(0, 27), zeros + "00 00 00 00 00", "00 09",
        "09", "80", "FF", "FF FF", "FF FF FF FF FF FF FF FF", "FF FF FF FF FF FF FF FF 00"}},
      // A sign, and the number in four dwords, the highest first.
      {kAce,
       16,
       {"80 00000010 " + zeros, "80" + zeros + "00010000", "80" + zeros + "FF000000",
        "00" + zeros + "00000000", "00" + zeros + "FF000000", "00" + zeros + "00010000",
        "00 00000010" + zeros}},
      // Descending Jet 4 keys keep the sign byte as it is: order holds within one sign only.
      {kJet4, 16, {"80 00000010 " + zeros, "80" + zeros + "00010000", "80" + zeros + "FF000000"}},
      {kJet4, 16, {"00" + zeros + "00000000", "00" + zeros + "FF000000", "00 00000010" + zeros}},
      // "", " a", "_", "1", "10", "2", "a", e acute and "a", "eb", "Ebb", "z"
      {kJet4,
       10,
       {"", "2000 6100", "5F00", "3100", "3100 3000", "3200", "6100", "E900 6100", "6500 6200",
        "4500 6200 6200", "7A00"}},
      {kJet3,
       10,
       {"", "20 61", "5F", "31", "31 30", "32", "61", "65 61", "E9 61", "65 62", "45 62 62", "7A"}},
  };
  for (const auto& order : orders) {
    for (size_t i = 1; i < order.values.size(); i++) {
      SCOPED_TRACE("type " + std::to_string(order.type) + ", value " + order.values[i]);
      const std::vector<uint8_t> lower = FromHex(order.values[i - 1]), higher = FromHex(order.values[i]);
      EXPECT_LT(KeyOf(order.format, order.type, kAscending, lower),
                KeyOf(order.format, order.type, kAscending, higher));
      EXPECT_GT(KeyOf(order.format, order.type, kDescending, lower),
                KeyOf(order.format, order.type, kDescending, higher));
    }
  }
}

TEST(IndexKey, NullsComeFirstOrLastAndPartsFollowOneAnother) {
  for (const int type : {1, 4, 7, 9, 10, 15, 16}) {
    std::vector<uint8_t> key;
    ASSERT_TRUE(AppendIndexKey(kJet4, static_cast<uint8_t>(type), kAscending, std::nullopt, key));
    ASSERT_TRUE(AppendIndexKey(kJet4, static_cast<uint8_t>(type), kDescending, std::nullopt, key));
    ASSERT_TRUE(AppendIndexKey(kJet4, 2, kDescending, std::span<const uint8_t>(FromHex("01")), key));
    EXPECT_EQ(ToHex(key), "00 FF 80 FE") << type;
  }
}

TEST(IndexKey, UnknownKeysLeaveTheKeyAlone) {
  SIndexKeyFormat otherLanguage = kJet4, otherVersion = kAce, otherCodePage = kJet3;
  otherLanguage.sortOrder = 0x041D;
  otherVersion.sortVersion = 1;
  otherCodePage.codePage = 1250;
  const struct {
    SIndexKeyFormat format;
    uint8_t type;
    const char* storage;
  } cases[] = {
      {otherLanguage, 10, "61 00"}, {otherVersion, 12, "61 00 7A 00"},
      {otherCodePage, 10, "61 00"}, {kJet4, 10, "61"},  // half a character
      {kJet4, 3, "01 01 01 01"},    {kJet4, 11, "01 01 01 01"},
      {kJet4, 0, "01 01 01 01"},    {kJet3, 16, "00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00"}};
  std::vector<uint8_t> key = {0x55};
  for (const auto& test : cases) {
    const std::vector<uint8_t> storage = FromHex(test.storage);
    EXPECT_FALSE(AppendIndexKey(test.format, test.type, kAscending, std::span(storage), key))
        << int{test.type};
  }
  EXPECT_FALSE(AppendIndexKey(kJet4, 11, kAscending, std::nullopt, key));
  EXPECT_EQ(ToHex(key), "55");
}

}  // namespace
}  // namespace tolvane
