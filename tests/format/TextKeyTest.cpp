#include "format/TextKey.h"

#include <gtest/gtest.h>

#include <string>

#include "platform/Text.h"
#include "tests/format/KeyBytes.h"

namespace tolvane {
namespace {

constexpr EKeyOrder kUp = EKeyOrder::Ascending, kDown = EKeyOrder::Descending;

std::string Jet4Key(std::u16string_view text, EKeyOrder order = kUp) {
  std::vector<uint8_t> key;
  EXPECT_TRUE(AppendJet4TextKey(Utf16Bytes(text), order, key));
  return ToHex(key);
}

std::string Jet3Key(std::string_view text, EKeyOrder order = kUp) {
  std::vector<uint8_t> key;
  AppendJet3TextKey(std::vector<uint8_t>(text.begin(), text.end()), order, key);
  return ToHex(key);
}

// The first ones of each format are from real files.
TEST(Jet4TextKey, BytesOfTexts) {
  const struct {
    std::u16string text;
    const char* key;
    EKeyOrder order = kUp;
  } cases[] = {{u"Tables", "6D 4A 4C 5E 51 6B 01 00"},
               {u"MSysDb", "60 6B 76 6B 4F 4C 01 00"},
               {u"", "01 00"},
               // Hyphens and apostrophes go to the unprintable part.
               {u"co-op", "4D 64 64 66 01 01 01 01 80 0F 06 82 00"},
               {u"l'\u00E9t\u00E9", "5E 51 6D 51 01 02 0E 02 0E 01 01 01 80 0B 06 80 00"},
               {u"l'\u00E9t\u00E9", "A1 AE 92 AE FE FD F1 FD F1 FE FE FE 7F F4 F9 7F FF 00", kDown},
               // Second level bytes belong to positions: no fill after the last accent; two bytes for one
               // position, and the place of an unprintable character counts bytes.
               {u"\u00E9e", "51 51 01 0E 00"},
               {u"\u01E3'", "4A 51 01 17 17 01 01 01 80 0F 06 80 00"},
               {u"\u01E3\u00E9", "4A 51 51 01 17 17 0E 00"},
               // Combining marks change the byte before; before every letter one is a byte that belongs to no
               // position.
               {u"te\u0301", "6D 51 01 02 0E 00"},
               {u"t\u00E9", "6D 51 01 02 0E 00"},
               {u"\u0301a'", "4A 01 0C 01 01 01 80 0B 06 80 00"},
               // Kana have a part of their own, in which a default value is trimmed.
               {u"\uFF71", "7F 02 01 01 01 FF 02 80 FF 80 00"},
               {u"\uFF67", "7F 02 01 01 01 A0 FF 02 80 FF 80 00"},
               {u"\uFF71\uFF71\uFF71\uFF67'",
                "7F 02 7F 02 7F 02 7F 02 01 01 01 BF A0 FF 02 80 FF 80 FF 01 80 17 06 80 00"},
               // Ranges and surrogates count up; what is ignored leaves nothing.
               {u"09", "36 48 01 00"},
               {{0xD801, 0xDC09}, "B0 03 B5 03 01 3F 3F 00"},
               {{0xE0FD}, "E6 FF 01 00"},
               {{0xFFFF}, "01 00"}};
  for (const auto& test : cases) EXPECT_EQ(Jet4Key(test.text, test.order), test.key) << ToUtf8(test.text);
}

// Stored entries of files of the original engine.
TEST(GeneralTextKey, BytesOfTexts) {
  const struct {
    std::u16string text;
    const char* key;
  } cases[] = {{u"Tables", "0E 99 0E 02 0E 09 0E 48 0E 21 0E 91 01 00"},
               {u"MSysDb", "0E 51 0E 91 0E A7 0E 91 0E 1A 0E 09 01 00"},
               {u"-1", "0D 19 01 01 01 01 80 07 06 82 00"},
               {u"\u0003DirData", "0E 1A 0E 32 0E 8A 0E 1A 0E 02 0E 99 0E 02 01 01 01 01 80 07 06 05 00"},
               {u"a\U0001F600a", "0E 02 B0 3F B6 FC 0E 02 01 02 3F 3F 00"}};
  for (const auto& test : cases) {
    std::vector<uint8_t> key;
    EXPECT_TRUE(AppendGeneralTextKey(Utf16Bytes(test.text), EKeyOrder::Ascending, key));
    EXPECT_EQ(ToHex(key), test.key);
  }
}

TEST(Jet3TextKey, BytesOfTexts) {
  const struct {
    std::string text;
    const char* key;
    EKeyOrder order = kUp;
  } cases[] = {{"Tables", "77 60 61 6D 66 76 00"},
               {"Plutzer Lebensmittelgro\xDFm\xE4rkte AG",
                "73 6D 78 77 7E 66 75 11 6D 66 61 66 70 76 6F 6A 77 77 66 6D 68 75 72 76 76 6F 60 75 6C 77 "
                "66 11 60 68 02 22 22 22 22 22 60"},
               {"", "00"},
               // Accents are half bytes padded to whole ones; letters that take none, as t, have no slot.
               {"\xE9", "66 04 00"},
               {"e\xE9", "66 66 02 40"},
               {"\xE9t\xE9", "66 77 66 04 40"},
               {"\xE9 aaa", "66 11 60 60 60 04 00"},
               {{"\0\x81", 2}, "10 10 00"},
               {"Tables", "88 9F 9E 92 99 89 FF", kDown},
               {"e\xE9", "99 99 FD BF", kDown}};
  for (const auto& test : cases) EXPECT_EQ(Jet3Key(test.text, test.order), test.key) << test.key;
}

TEST(TextKey, OnlyTheFirst255CharactersWithoutFinalBlanksCount) {
  const std::u16string longest(255, u'a');
  EXPECT_EQ(Jet4Key(longest + u"b"), Jet4Key(longest));
  EXPECT_NE(Jet4Key(longest), Jet4Key(longest.substr(1)));
  EXPECT_EQ(Jet4Key(std::u16string(254, u'a') + u" b"), Jet4Key(std::u16string(254, u'a')));
  EXPECT_EQ(Jet4Key(u"ABC  "), Jet4Key(u"abc"));
  EXPECT_NE(Jet4Key(u" abc"), Jet4Key(u"abc"));
  EXPECT_NE(Jet4Key(u"abc\t"), Jet4Key(u"abc"));
  EXPECT_EQ(Jet3Key(std::string(255, 'x') + "y"), Jet3Key(std::string(300, 'X')));
  EXPECT_EQ(Jet3Key("abc \x20"), Jet3Key("ABC"));
  EXPECT_NE(Jet3Key("abc\xA0"), Jet3Key("abc"));
}

// 255 characters that each take the most room in one part.
TEST(Jet4TextKey, EveryPartHoldsTheLongestText) {
  EXPECT_EQ(Jet4Key(std::u16string(255, u'\u01E3')).size(), 3U * (510 + 1 + 510 + 1) - 1);
  EXPECT_EQ(Jet4Key(std::u16string(255, u'-')).size(), 3U * (1 + 3 + 4 * 255 + 1) - 1);
  EXPECT_EQ(Jet4Key(std::u16string(255, u'\uFF67')).size(), 3U * (510 + 3 + 85 + 5 + 1) - 1);
}

}  // namespace
}  // namespace tolvane
