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

// "column1", "ID" and "Größe" as they are recovered from a Jet 3 file.
TEST(SafeName, SpellsNamesThatHoldTwoBytesAUnit) {
  EXPECT_EQ(UnfoldName(u"\u6F63\u756C\u6E6D1"), u"column1");
  EXPECT_EQ(UnfoldName(u"\u4449"), u"ID");
  EXPECT_EQ(UnfoldName(u"\u7247\xDFF6"
                       u"e"),
            u"Gr\u00F6\u00DFe");
  EXPECT_EQ(UnfoldName(u"\u0416\u0416"), u"") << "Cyrillic letters spell control characters";
}

}  // namespace tolvane
