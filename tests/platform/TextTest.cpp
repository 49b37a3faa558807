#include "platform/Text.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <limits>

#include "tests/platform/ScratchFolder.h"

namespace tolvane {
namespace {

TEST(Text, SoundTextSurvivesUtf8) {
  // The first and the last character of each length, and a zero.
  const std::u16string text(u"A\u00E9\u0416\u6F22\U0001F600\0\u007F\u07FF\uFFFF\U0010FFFF", 12);
  const std::string bytes(
      "A\xC3\xA9\xD0\x96\xE6\xBC\xA2\xF0\x9F\x98\x80\0\x7F\xDF\xBF\xEF\xBF\xBF\xF4\x8F\xBF\xBF", 23);
  EXPECT_EQ(ToUtf8(text), bytes);
  EXPECT_EQ(FromUtf8(bytes), text);
}

TEST(Text, WhatIsNoTextShowsAsReplacementCharacters) {
  const std::string replaced = "\xEF\xBF\xBD";
  const std::pair<std::u16string, std::string> lone[] = {
      {u"a\xD83D", "a" + replaced},
      {u"\xD83D\u0061", replaced + "a"},
      {u"\xDE00\xD83D", replaced + replaced},
      {u"\xD83D\xD83D\xDE00", replaced + "\xF0\x9F\x98\x80"},
      {std::u16string(u"\xDE00\0", 2), replaced + std::string(1, '\0')}};
  for (const auto& [units, bytes] : lone) EXPECT_EQ(ToUtf8(units), bytes);

  struct SCase {
    const char* why;
    std::string bytes;
    size_t replaced;
    std::u16string rest;
  };
  for (const SCase& test :
       {SCase{"no start", "\x80", 1, u""}, SCase{"overlong zero", "\xC0\x80", 2, u""},
        SCase{"overlong", "\xE0\x9F\xBF", 3, u""}, SCase{"overlong", "\xF0\x8F\xBF\xBF", 4, u""},
        SCase{"a surrogate", "\xED\xA0\x80", 3, u""},
        SCase{"beyond the last character", "\xF4\x90\x80\x80", 4, u""}, SCase{"cut off", "\xE6\xBC", 2, u""},
        SCase{"cut off by a letter", "\xE6\xBCz", 2, u"z"},
        SCase{"no byte of UTF-8", "\xFF\xC3\xA9", 1, u"\u00E9"}})
    EXPECT_EQ(FromUtf8(test.bytes), std::u16string(test.replaced, u'\uFFFD') + test.rest) << test.why;
}

TEST(Text, EveryFileNameOfThisSystemSurvives) {
  if (IsOnWindows()) GTEST_SKIP() << "file names are UTF-16 here";
  std::string all;
  for (int byte = 255; byte > 0; byte--) all += static_cast<char>(byte);
  const std::string names[] = {all, "caf\xE9.mdb", "\xF0\x9F\x98\x80\x80", "\xED\xA0\xBD\xED\xB8\x80",
                               "\xC3"};
  for (const std::string& name : names) EXPECT_EQ(ToNativePath(FromNativePath(name)), name);

  // Surrogates that stand for no byte.
  for (const char16_t* name : {u"\xDC41", u"\xD800"}) EXPECT_EQ(ToNativePath(name), "\xEF\xBF\xBD");

  const CScratchFolder folder;
  const std::u16string path = folder / FromNativePath("caf\xE9.mdb");
  WriteText(path, "x");
  EXPECT_EQ(ReadText(path), "x");
  ASSERT_EQ(ListFolder(folder.GetPath()).size(), 1u);
  EXPECT_EQ(ToNativePath(ListFolder(folder.GetPath())[0]), "caf\xE9.mdb");
}

TEST(Text, LeadingIntegerReadsWhatTheCLibraryReads) {
  constexpr int64_t kMin = std::numeric_limits<int64_t>::min();
  constexpr int64_t kMax = std::numeric_limits<int64_t>::max();
  EXPECT_EQ(ToDecimal(kMin), u"-9223372036854775808");
  EXPECT_EQ(ToDecimal(std::numeric_limits<uint64_t>::max()), u"18446744073709551615");
  for (const char16_t* none : {u"", u"  ", u"-", u"- 5", u"+-5", u"x1", u"\u0661"})
    EXPECT_EQ(LeadingInteger(none), 0);
  const std::pair<std::u16string, int64_t> cases[] = {{u" \t\n-12abc", -12},
                                                      {u"+7", 7},
                                                      {u"007.9", 7},
                                                      {u"9223372036854775807", kMax},
                                                      {u"9223372036854775808", kMax},
                                                      {u"-9223372036854775808", kMin},
                                                      {u"-99999999999999999999999", kMin},
                                                      {std::u16string(u"5\0006", 3), 5}};
  for (const auto& [text, value] : cases) EXPECT_EQ(LeadingInteger(text), value) << ToUtf8(text);
}

}  // namespace
}  // namespace tolvane
