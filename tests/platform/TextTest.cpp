#include "platform/Text.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <limits>

#include "tests/platform/ScratchFolder.h"

namespace tolvane {
namespace {

TEST(Text, SoundTextSurvivesUtf8) {
  const std::u16string text(u"A\u00E9\u0416\u6F22\U0001F600\0z", 8);
  const std::string bytes("A\xC3\xA9\xD0\x96\xE6\xBC\xA2\xF0\x9F\x98\x80\0z", 14);
  EXPECT_EQ(ToUtf8(text), bytes);
  EXPECT_EQ(FromUtf8(bytes), text);
  // The last character of each length.
  EXPECT_EQ(ToUtf8(u"\u007F\u07FF\uFFFF\U0010FFFF"), "\x7F\xDF\xBF\xEF\xBF\xBF\xF4\x8F\xBF\xBF");
  EXPECT_EQ(FromUtf8("\x7F\xDF\xBF\xEF\xBF\xBF\xF4\x8F\xBF\xBF"), u"\u007F\u07FF\uFFFF\U0010FFFF");
}

TEST(Text, LoneSurrogatesShowAsReplacementCharacters) {
  const std::string replaced = "\xEF\xBF\xBD";
  EXPECT_EQ(ToUtf8(u"a\xD83D"), "a" + replaced);
  EXPECT_EQ(ToUtf8(u"\xD83D"
                   u"a"),
            replaced + "a");
  EXPECT_EQ(ToUtf8(u"\xDE00\xD83D"), replaced + replaced);
  EXPECT_EQ(ToUtf8(u"\xD83D\xD83D\xDE00"), replaced + "\xF0\x9F\x98\x80");
  EXPECT_EQ(ToUtf8(std::u16string(u"\xDE00\0", 2)), replaced + std::string(1, '\0'));
}

TEST(Text, EveryByteThatIsNoUtf8IsReplaced) {
  const auto replaced = [](size_t count) { return std::u16string(count, u'\uFFFD'); };
  EXPECT_EQ(FromUtf8("\x80"), replaced(1));
  EXPECT_EQ(FromUtf8("\xC0\x80"), replaced(2));          // overlong zero
  EXPECT_EQ(FromUtf8("\xE0\x9F\xBF"), replaced(3));      // overlong
  EXPECT_EQ(FromUtf8("\xF0\x8F\xBF\xBF"), replaced(4));  // overlong
  EXPECT_EQ(FromUtf8("\xED\xA0\x80"), replaced(3));      // a surrogate
  EXPECT_EQ(FromUtf8("\xF4\x90\x80\x80"), replaced(4));  // beyond the last character
  EXPECT_EQ(FromUtf8("\xE6\xBC"), replaced(2));          // cut off
  EXPECT_EQ(FromUtf8("\xE6\xBC"
                     "A"),
            replaced(2) + u"A");  // cut off by another character
  EXPECT_EQ(FromUtf8("\xFF\xC3\xA9"), replaced(1) + u"\u00E9");
}

TEST(Text, EveryFileNameOfThisSystemSurvives) {
  if (IsOnWindows()) GTEST_SKIP() << "file names are UTF-16 here";
  std::string all;
  for (int byte = 255; byte > 0; byte--) all += static_cast<char>(byte);
  const std::string names[] = {all, "caf\xE9.mdb", "\xF0\x9F\x98\x80\x80", "\xED\xA0\xBD\xED\xB8\x80",
                               "\xC3"};
  for (const std::string& name : names) EXPECT_EQ(ToNativePath(FromNativePath(name)), name);

  const CScratchFolder folder;
  const std::u16string path = folder / FromNativePath("caf\xE9.mdb");
  WriteText(path, "x");
  EXPECT_EQ(ReadText(path), "x");
  ASSERT_EQ(ListFolder(folder.GetPath()).size(), 1u);
  EXPECT_EQ(ToNativePath(ListFolder(folder.GetPath())[0]), "caf\xE9.mdb");
}

TEST(Text, SurrogatesThatStandForNoByteAreReplacedInPaths) {
  EXPECT_EQ(ToNativePath(u"\xDC41"), "\xEF\xBF\xBD");
  EXPECT_EQ(ToNativePath(u"\xD800"), "\xEF\xBF\xBD");
  EXPECT_EQ(FromNativePath(ToNativePath(u"\u6F22\U0001F600")), u"\u6F22\U0001F600");
}

TEST(Text, Decimal) {
  EXPECT_EQ(ToDecimal(std::numeric_limits<int64_t>::min()), u"-9223372036854775808");
  EXPECT_EQ(ToDecimal(std::numeric_limits<uint64_t>::max()), u"18446744073709551615");
  EXPECT_EQ(ToDecimal(uint8_t{7}), u"7");
}

TEST(Text, LeadingIntegerReadsWhatTheCLibraryReads) {
  EXPECT_EQ(LeadingInteger(u" \t\n-12abc"), -12);
  EXPECT_EQ(LeadingInteger(u"+7"), 7);
  EXPECT_EQ(LeadingInteger(u"007.9"), 7);
  for (const char16_t* none : {u"", u"  ", u"-", u"- 5", u"+-5", u"x1", u"\u0661"})
    EXPECT_EQ(LeadingInteger(none), 0);
  EXPECT_EQ(LeadingInteger(u"9223372036854775807"), std::numeric_limits<int64_t>::max());
  EXPECT_EQ(LeadingInteger(u"9223372036854775808"), std::numeric_limits<int64_t>::max());
  EXPECT_EQ(LeadingInteger(u"-9223372036854775808"), std::numeric_limits<int64_t>::min());
  EXPECT_EQ(LeadingInteger(u"-99999999999999999999999"), std::numeric_limits<int64_t>::min());
  EXPECT_EQ(LeadingInteger(std::u16string(u"5\0006", 3)), 5);
}

TEST(Text, OnlyAsciiLettersIgnoreCase) {
  EXPECT_TRUE(EqualsIgnoreCase(u"MSysObjects", u"msysOBJECTS"));
  EXPECT_FALSE(EqualsIgnoreCase(u"@[", u"`{"));
  EXPECT_FALSE(EqualsIgnoreCase(u"\u00C9", u"\u00E9"));
  EXPECT_FALSE(EqualsIgnoreCase(u"a", u"ab"));
  EXPECT_FALSE(EqualsIgnoreCase(u"\u0141", u"a"));  // same low byte as "A"
}

}  // namespace
}  // namespace tolvane
