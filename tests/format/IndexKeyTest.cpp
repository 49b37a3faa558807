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
      {kAce, 4, "FE FF FF FF", "7F 7F FF FF FE", "80 80 00 00 01"},
      {kJet4, 5, "39 30 00 00 00 00 00 00", "7F 80 00 00 00 00 00 30 39", "80 7F FF FF FF FF FF CF C6"},
      {kJet4, 6, "00 00 80 3F", "7F BF 80 00 00", "80 40 7F FF FF"},
      {kJet4, 6, "00 00 C0 BF", "7F 40 3F FF FF", "80 BF C0 00 00"},
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
      {kAce, 16, "00 00 00 00 00 00 00 00 00 00 00 00 00 39 30 00 00",
       "7F FF 00 00 00 00 00 00 00 00 00 00 00 00 00 00 30 39",
       "80 00 FF FF FF FF FF FF FF FF FF FF FF FF FF FF CF C6"},
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
