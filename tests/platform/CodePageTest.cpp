#include "platform/CodePage.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace tolvane {
namespace {

std::u16string Decode(uint32_t codePage, std::string_view bytes) {
  std::u16string text = u"<";  // conversions append
  DecodeCodePage(codePage, {reinterpret_cast<const uint8_t*>(bytes.data()), bytes.size()}, text);
  return text.substr(1);
}

struct SEncoded {
  std::string bytes;
  size_t replaced;
  bool operator==(const SEncoded&) const = default;
};

SEncoded Encode(uint32_t codePage, std::u16string_view text) {
  std::vector<uint8_t> bytes = {'<'};
  const size_t replaced = EncodeCodePage(codePage, text, bytes);
  return {std::string(bytes.begin() + 1, bytes.end()), replaced};
}

TEST(CodePage, Latin1GivesEveryByteItsOwnCharacter) {
  std::string all;
  for (int byte = 0; byte < 256; byte++) all += static_cast<char>(byte);
  const std::u16string text = Decode(kWindowsLatin1, all);
  ASSERT_EQ(text.size(), 256u);
  EXPECT_EQ(text.substr(0x80, 4), u"\u20AC\u0081\u201A\u0192");
  EXPECT_EQ(text[0x9F], u'\u0178');
  EXPECT_EQ(text[0xFF], u'\u00FF');
  for (const char16_t undefined : u"\x81\x8D\x8F\x90\x9D") EXPECT_EQ(text[undefined], undefined);
  EXPECT_EQ(Encode(kWindowsLatin1, text), (SEncoded{all, 0}));
}

TEST(CodePage, EachPageHasItsLetters) {
  struct SCase {
    uint32_t codePage;
    std::string_view bytes;
    std::u16string_view text;
  };
  const SCase cases[] = {
      {1250, "\x9Alut\xFD \x80", u"\u0161lut\u00FD \u20AC"},
      {1251, "\xCF\xF0\xE8\xB8", u"\u041F\u0440\u0438\u0451"},
      {1253, "\xC1\xE1", u"\u0391\u03B1"},
      {1254, "\xDD\xFD\xFE", u"\u0130\u0131\u015F"},
      {1255, "\xE0\xE1", u"\u05D0\u05D1"},
      {1256, "\xC7\xE1\x81", u"\u0627\u0644\u067E"},
      {1258, "a\xEC", u"a\u0301"},  // base letter and accent stay apart
      {874, "\xA1", u"\u0E01"},
      {932, "\x95\x5C\xB1\x8E\x9A~\\", u"\u8868\uFF71\u5B57~\\"},
      {936, "\xD6\xD0\x80", u"\u4E2D\u20AC"},
      {949, "\xC7\xD1\x81\x41", u"\uD55C\uAC02"},
      {950, "\xA4\xA4", u"\u4E2D"},
      {437, "\x81\xE1", u"\u00FC\u00DF"},
      {65001, "\xE4\xB8\xAD", u"\u4E2D"},
  };
  for (const SCase& one : cases) {
    SCOPED_TRACE(one.codePage);
    EXPECT_TRUE(IsCodePageKnown(one.codePage));
    EXPECT_EQ(Decode(one.codePage, one.bytes), one.text);
    EXPECT_EQ(Encode(one.codePage, one.text), (SEncoded{std::string(one.bytes), 0}));
  }
}

TEST(CodePage, DamagedPairsCostOnlyThemselvesAndOfTwoCodesTheUsualOneIsWritten) {
  EXPECT_EQ(Decode(932, "\x95"), u"\uFFFD");
  EXPECT_EQ(Decode(932, "\x95\"A"), u"\uFFFD\"A");
  EXPECT_EQ(Decode(932, "\x85\xA0\x88\x9F"), u"\uFFFD\u4E9C");
  EXPECT_EQ(Decode(932, std::string_view("\x95\0A", 3)), std::u16string(u"\uFFFD\0A", 3));
  EXPECT_EQ(Decode(932, "\x81\xCA\xEE\xF9\xFA\x54"), u"\uFFE2\uFFE2\uFFE2");
  EXPECT_EQ(Encode(932, u"\uFFE2"), (SEncoded{"\x81\xCA", 0}));
  EXPECT_EQ(Encode(932, u"\u2252"), (SEncoded{"\x81\xE0", 0}));
}

TEST(CodePage, CharactersThatThePageLacksAreCounted) {
  EXPECT_EQ(Encode(kWindowsLatin1, u"a\u0416b\U0001F600\u0080"), (SEncoded{"a?b??", 3}));
  EXPECT_EQ(Encode(1251, u"x\xD800"), (SEncoded{"x?", 1}));
  EXPECT_EQ(Encode(932, u"\u00E9\u4E9C"), (SEncoded{"?\x88\x9F", 1}));
  EXPECT_EQ(Encode(65001, u"\xDC00\u0078"), (SEncoded{"?x", 1}));
  // No look-alikes: the page has a plain "A", not a full-width one.
  EXPECT_EQ(Encode(kWindowsLatin1, u"\uFF21"), (SEncoded{"?", 1}));
  EXPECT_EQ(Encode(1251, u"\u00E9"), (SEncoded{"?", 1}));
  EXPECT_EQ(Encode(1250, std::u16string_view(u"\0", 1)), (SEncoded{std::string(1, '\0'), 0}));
}

TEST(CodePage, UnknownPagesAreReadAsLatin1) {
  for (const uint32_t codePage : {1u, 1200u, 1201u, 59999u, 0xFFFF04E3u}) {
    SCOPED_TRACE(codePage);
    EXPECT_FALSE(IsCodePageKnown(codePage));
    EXPECT_EQ(Decode(codePage, "A\x80"), u"A\u20AC");
    EXPECT_EQ(Encode(codePage, u"\u20AC").bytes, "\x80");
  }
  EXPECT_TRUE(IsCodePageKnown(SystemCodePage()));
}

}  // namespace
}  // namespace tolvane
