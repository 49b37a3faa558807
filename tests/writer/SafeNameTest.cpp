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

}  // namespace tolvane
