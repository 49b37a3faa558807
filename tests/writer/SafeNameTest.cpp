#include "writer/SafeName.h"

#include <gtest/gtest.h>

namespace tolvane {

TEST(SafeName, VariationsAreShortValidAndFree) {
  const std::u16string longName(255, u'n'), cut(56, u'n');
  const struct {
    std::u16string name;
    const char16_t* whenEmpty;
    std::u16string variation;
  } cases[] = {{u"a.b!c`d[e]f", u"Table", u"a_b_c_d_e_f"},
               {u"  x\ny", u"Table", u"x_y"},
               {u"\uFEFFx", u"Table", u"x"},
               {u"", u"Table", u"Table"},
               {u"   ", u"Field", u"Field"},
               {std::u16string(u"\0z", 2), u"Field", u"_z"},
               {u"ORDERS", u"Table", u"ORDERS_2"},
               {u"Orders", u"Table", u"Orders_3"},
               {longName, u"Table", cut},
               {longName, u"Table", cut + u"_1"}};
  CNameSet names;
  names.Take(u"Orders");
  names.Take(u"orders_1");
  for (const auto& test : cases) EXPECT_EQ(names.MakeVariation(test.name, test.whenEmpty), test.variation);
}

TEST(SafeName, KnowsWhichNamesAreSafe) {
  for (const std::u16string& name : {std::u16string(u"a"), std::u16string(u"Gr\u00F6\u00DFe 1"),
                                     std::u16string(u"\u0416"), std::u16string(64, u'n')})
    EXPECT_TRUE(IsSafeName(name));
  for (const std::u16string& name :
       {std::u16string(), std::u16string(u" a"), std::u16string(u"a "), std::u16string(u"a.b"),
        std::u16string(u"a\nb"), std::u16string(1, char16_t{0xD800}), std::u16string(65, u'n')})
    EXPECT_FALSE(IsSafeName(name));
}

TEST(SafeName, KeepsWhatACodePageHolds) {
  EXPECT_EQ(NarrowName(u"Gr\u00F6\u00DFe \u20AC \u2192 \u0416"), u"Gr\u00F6\u00DFe \u20AC _ _");
  EXPECT_EQ(NarrowName(u"\u0422\u0430\u0431a"), u"") << "too little is left";
  EXPECT_EQ(NarrowName(u"ab\u0416\u0416"), u"ab__") << "half is enough";
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
