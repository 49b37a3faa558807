#include "writer/embedded/IndexKey.h"

#include <gtest/gtest.h>

#include <cstring>
#include <initializer_list>
#include <limits>
#include <string>

#include "tests/embedded/KeyBytes.h"

namespace tolvane {
namespace {

enum class EDirection { Ascending, Descending };

constexpr SIndexKeyFormat kJet3{.version = EIndexVersion::Jet3};
constexpr SIndexKeyFormat kJet4{.version = EIndexVersion::Jet4};
constexpr SIndexKeyFormat kAce{.version = EIndexVersion::Ace};

std::vector<uint8_t> KeyOf(const SIndexKeyFormat& format, uint8_t type, EDirection direction,
                           const std::vector<uint8_t>& storage) {
  std::vector<uint8_t> key;
  EXPECT_TRUE(AppendIndexKey(format, type, direction == EDirection::Ascending, std::span(storage), key));
  return key;
}

template <class TFloat>
std::vector<uint8_t> FloatBytes(TFloat value) {
  uint64_t bits = 0;
  std::memcpy(&bits, &value, sizeof value);
  return LittleEndianBytes(static_cast<int64_t>(bits), sizeof value);
}

struct SExample {
  SIndexKeyFormat format;
  int type;
  const char* storage;
  const char* ascending;
  const char* descending;
};

TEST(IndexKey, BytesOfEachType) {
  const SExample examples[] = {
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
  for (const SExample& example : examples) {
    SCOPED_TRACE(std::to_string(example.type) + ": " + example.storage);
    const auto type = static_cast<uint8_t>(example.type);
    EXPECT_EQ(ToHex(KeyOf(example.format, type, EDirection::Ascending, FromHex(example.storage))),
              example.ascending);
    EXPECT_EQ(ToHex(KeyOf(example.format, type, EDirection::Descending, FromHex(example.storage))),
              example.descending);
  }
}

// An extended date is 42 bytes of text: five pieces of eight and one of two.
TEST(IndexKey, ExtendedDatesAreKeyedInPieces) {
  const std::vector<uint8_t> key = KeyOf(kAce, 20, EDirection::Descending, std::vector<uint8_t>(42, 0x30));
  ASSERT_EQ(key.size(), 1U + 5 * 9 + 9);
  for (size_t piece = 0; piece < 5; piece++) EXPECT_EQ(key[9 + 9 * piece], 0x09);
  EXPECT_EQ(key[key.size() - 9], 0xCF);
  EXPECT_EQ(key.back(), 0xFD);
}

// Values in ascending order must give strictly ascending keys, and strictly descending ones in a descending
// index.
void ExpectOrder(const SIndexKeyFormat& format, uint8_t type,
                 const std::vector<std::vector<uint8_t>>& sortedValues) {
  for (size_t i = 1; i < sortedValues.size(); i++) {
    SCOPED_TRACE("type " + std::to_string(type) + ", value " + ToHex(sortedValues[i]));
    EXPECT_LT(KeyOf(format, type, EDirection::Ascending, sortedValues[i - 1]),
              KeyOf(format, type, EDirection::Ascending, sortedValues[i]));
    EXPECT_GT(KeyOf(format, type, EDirection::Descending, sortedValues[i - 1]),
              KeyOf(format, type, EDirection::Descending, sortedValues[i]));
  }
}

TEST(IndexKey, WholeNumbersKeepTheirOrder) {
  const std::pair<int, size_t> typesAndWidths[] = {{3, 2}, {4, 4}, {5, 8}, {18, 4}, {19, 8}};
  for (const auto& [type, width] : typesAndWidths) {
    const int64_t largest = std::numeric_limits<int64_t>::max() >> (64 - 8 * width);
    std::vector<std::vector<uint8_t>> values;
    for (const int64_t value :
         {-largest - 1, -largest, int64_t{-257}, int64_t{-256}, int64_t{-255}, int64_t{-1}, int64_t{0},
          int64_t{1}, int64_t{255}, int64_t{256}, largest - 1, largest}) {
      values.push_back(LittleEndianBytes(value, width));
    }
    ExpectOrder(kAce, static_cast<uint8_t>(type), values);
  }
  ExpectOrder(kJet3, 2, {{0}, {1}, {127}, {128}, {255}});
  ExpectOrder(kJet3, 1, {{1}, {0}});  // true comes first
}

template <class TFloat>
void ExpectFloatOrder(uint8_t type) {
  using Limits = std::numeric_limits<TFloat>;
  std::vector<std::vector<uint8_t>> values;
  for (const TFloat value :
       {-Limits::infinity(), Limits::lowest(), TFloat(-1.5), TFloat(-1.25), -Limits::min(),
        -Limits::denorm_min(), TFloat(0), Limits::denorm_min(), Limits::min(), TFloat(1.25), TFloat(1.5),
        TFloat(36526), Limits::max(), Limits::infinity()}) {
    values.push_back(FloatBytes(value));
  }
  ExpectOrder(kJet4, type, values);
}

TEST(IndexKey, FloatsAndDatesKeepTheirOrder) {
  ExpectFloatOrder<float>(6);
  ExpectFloatOrder<double>(7);
  ExpectFloatOrder<double>(8);
}

TEST(IndexKey, BinaryValuesKeepTheirOrder) {
  const std::vector<uint8_t> eight(8, 0xFF);
  std::vector<uint8_t> nine = eight;
  nine.push_back(0);
  const std::vector<std::vector<uint8_t>> values = {{0x00},
                                                    {0x00, 0x00},
                                                    std::vector<uint8_t>(8, 0),
                                                    std::vector<uint8_t>(9, 0),
                                                    std::vector<uint8_t>(17, 0),
                                                    {0x00, 0x09},
                                                    {0x09},
                                                    {0x80},
                                                    {0xFF},
                                                    {0xFF, 0xFF},
                                                    eight,
                                                    nine};
  ExpectOrder(kJet4, 9, values);
}

TEST(IndexKey, NumericsKeepTheirOrder) {
  const auto numeric = [](bool negative, std::vector<uint8_t> lowDword, uint8_t highByte) {
    std::vector<uint8_t> value(17, 0);
    value[0] = negative ? 0x80 : 0x00;
    value[4] = highByte;  // the highest byte of the most significant dword
    std::copy(lowDword.begin(), lowDword.end(), value.begin() + 13);
    return value;
  };
  const std::vector<std::vector<uint8_t>> negatives = {
      numeric(true, {0, 0, 0, 0}, 0x10), numeric(true, {0, 1, 0, 0}, 0), numeric(true, {0xFF, 0, 0, 0}, 0)};
  const std::vector<std::vector<uint8_t>> positives = {
      numeric(false, {0, 0, 0, 0}, 0), numeric(false, {0xFF, 0, 0, 0}, 0), numeric(false, {0, 1, 0, 0}, 0),
      numeric(false, {0, 0, 0, 0}, 0x10)};
  std::vector<std::vector<uint8_t>> all = negatives;
  all.insert(all.end(), positives.begin(), positives.end());
  ExpectOrder(kAce, 16, all);
  // Descending Jet 4 keys keep the sign byte as it is: order holds within one sign only.
  ExpectOrder(kJet4, 16, negatives);
  ExpectOrder(kJet4, 16, positives);
  EXPECT_LT(KeyOf(kJet4, 16, EDirection::Ascending, negatives.back()),
            KeyOf(kJet4, 16, EDirection::Ascending, positives.front()));
}

TEST(IndexKey, TextsKeepTheirOrder) {
  std::vector<std::vector<uint8_t>> jet4;
  for (const char16_t* text :
       {u"", u" a", u"_", u"1", u"10", u"2", u"a", u"\u00E9a", u"eb", u"Ebb", u"f", u"z"}) {
    jet4.push_back(Utf16Bytes(text));
  }
  ExpectOrder(kJet4, 10, jet4);
  std::vector<std::vector<uint8_t>> jet3;
  for (const std::string_view text : {"", " a", "_", "1", "10", "2", "a", "ea",
                                      "\xE9"
                                      "a",
                                      "eb", "Ebb", "z"}) {
    jet3.emplace_back(text.begin(), text.end());
  }
  ExpectOrder(kJet3, 10, jet3);
}

TEST(IndexKey, NullsComeFirstOrLast) {
  for (const uint8_t type : std::initializer_list<uint8_t>{1, 4, 7, 9, 10, 15, 16}) {
    std::vector<uint8_t> ascending;
    std::vector<uint8_t> descending;
    ASSERT_TRUE(AppendIndexKey(kJet4, type, true, std::nullopt, ascending));
    ASSERT_TRUE(AppendIndexKey(kJet4, type, false, std::nullopt, descending));
    EXPECT_EQ(ToHex(ascending), "00");
    EXPECT_EQ(ToHex(descending), "FF");
  }
}

TEST(IndexKey, PartsOfSeveralColumnsFollowOneAnother) {
  std::vector<uint8_t> key;
  ASSERT_TRUE(AppendIndexKey(kJet4, 4, true, std::span<const uint8_t>(LittleEndianBytes(2, 4)), key));
  ASSERT_TRUE(AppendIndexKey(kJet4, 10, true, std::nullopt, key));
  ASSERT_TRUE(AppendIndexKey(kJet4, 2, false, std::span<const uint8_t>(LittleEndianBytes(1, 1)), key));
  EXPECT_EQ(ToHex(key), "7F 80 00 00 02 00 80 FE");
}

TEST(IndexKey, UnknownKeysLeaveTheKeyAlone) {
  const std::vector<uint8_t> text = Utf16Bytes(u"a");
  SIndexKeyFormat otherLanguage = kJet4;
  otherLanguage.sortOrder = 0x041D;
  SIndexKeyFormat otherVersion = kAce;
  otherVersion.sortVersion = 1;
  SIndexKeyFormat otherCodePage = kJet3;
  otherCodePage.codePage = 1250;
  const std::vector<uint8_t> four(4, 1);
  const std::vector<uint8_t> numeric(17, 0);
  std::vector<uint8_t> key = {0x55};
  EXPECT_FALSE(AppendIndexKey(otherLanguage, 10, true, std::span(text), key));
  EXPECT_FALSE(AppendIndexKey(otherVersion, 12, true, std::span(text), key));
  EXPECT_FALSE(AppendIndexKey(otherCodePage, 10, true, std::span(text), key));
  EXPECT_FALSE(AppendIndexKey(kJet4, 10, true, std::span(text).first(1), key));
  EXPECT_FALSE(AppendIndexKey(kJet4, 3, true, std::span(four), key));
  EXPECT_FALSE(AppendIndexKey(kJet4, 11, true, std::span(four), key));
  EXPECT_FALSE(AppendIndexKey(kJet4, 11, true, std::nullopt, key));
  EXPECT_FALSE(AppendIndexKey(kJet4, 0, true, std::span(four), key));
  EXPECT_FALSE(AppendIndexKey(kJet3, 16, true, std::span(numeric), key));
  EXPECT_EQ(ToHex(key), "55");
}

}  // namespace
}  // namespace tolvane
