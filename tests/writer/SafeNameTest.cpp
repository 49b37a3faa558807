#include "writer/SafeName.h"

#include <gtest/gtest.h>

namespace tolvane {

TEST(SafeName, ReplacesWhatTheFormatRefuses) {
  CNameSet names;
  EXPECT_EQ(names.MakeVariation(u"a.b!c`d[e]f", u"Table"), u"a_b_c_d_e_f");
  EXPECT_EQ(names.MakeVariation(u"  x\ny", u"Table"), u"x_y");
  EXPECT_EQ(names.MakeVariation(u"", u"Table"), u"Table");
  EXPECT_EQ(names.MakeVariation(u"   ", u"Field"), u"Field");
  EXPECT_EQ(names.MakeVariation(std::u16string_view(u"\0z", 2), u"Field"), u"_z");
}

TEST(SafeName, NumbersWhatIsTakenWithoutRegardToCase) {
  CNameSet names;
  names.Take(u"Orders");
  names.Take(u"orders_1");
  EXPECT_EQ(names.MakeVariation(u"ORDERS", u"Table"), u"ORDERS_2");
  EXPECT_EQ(names.MakeVariation(u"Orders", u"Table"), u"Orders_3");
}

TEST(SafeName, CutsLongNamesSoThatTheNumberFits) {
  CNameSet names;
  const std::u16string longName(255, u'n');
  const std::u16string first = names.MakeVariation(longName, u"Table");
  const std::u16string second = names.MakeVariation(longName, u"Table");
  EXPECT_EQ(first, std::u16string(56, u'n'));
  EXPECT_EQ(second, std::u16string(56, u'n') + u"_1");
}

TEST(SafeName, KnowsWhichNamesAreSafe) {
  for (const std::u16string_view name : {u"a", u"Gr\u00F6\u00DFe 1", u"\u0416"})
    EXPECT_TRUE(IsSafeName(name));
  for (const std::u16string_view name : {u"", u" a", u"a ", u"a.b", u"a\nb", u"\xD800"})
    EXPECT_FALSE(IsSafeName(name));
  EXPECT_TRUE(IsSafeName(std::u16string(64, u'n')));
  EXPECT_FALSE(IsSafeName(std::u16string(65, u'n')));
}

TEST(SafeName, KeepsWhatACodePageHolds) {
  EXPECT_EQ(NarrowName(u"Gr\u00F6\u00DFe \u20AC \u2192 \u0416"), u"Gr\u00F6\u00DFe \u20AC _ _");
  EXPECT_EQ(NarrowName(u"\u0422\u0430\u0431a"), u"") << "too little is left";
  EXPECT_EQ(NarrowName(u""), u"");
}

// As they are recovered from a Jet 3 file.
TEST(SafeName, SpellsNamesThatHoldTwoBytesAUnit) {
  struct SCase {
    std::u16string_view recovered;
    size_t length;
    uint32_t codePage;
    std::u16string_view name;
  };
  const SCase cases[] = {
      {u"\u6F63\u756C\u6E6D1", 7, 1252, u"column1"},
      {u"\u4449", 2, 1252, u"ID"},
      {u"\u7247\xDFF6"
       u"e",
       5, 1252, u"Gr\u00F6\u00DFe"},
      {u"\u6164\u6174\u6672\u326B", 4, 1252, u"data"},  // behind "otherfk2"
      {u"\u5845T\u4F44", 3, 1252, u"EXT"},              // behind longer ones that ended at different places
      {u"\uF2C8\uF1E5\u00EA", 5, 1251, u"\u0418\u0442\u0435\u0441\u043A"},
      {u"\u0416\u0416", 4, 1252, u""},  // control characters
      {u"\u4449", 5, 1252, u""},
      {u"\u4449", 0, 1252, u""}};
  for (const SCase& test : cases)
    EXPECT_EQ(UnfoldName(test.recovered, test.length, test.codePage), test.name) << test.length;
}

}  // namespace tolvane
