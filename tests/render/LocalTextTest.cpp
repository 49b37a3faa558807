// Dates and numbers as regions write them.
#include "render/LocalText.h"

#include <gtest/gtest.h>

#include "format/ColumnType.h"
#include "platform/Text.h"

namespace tolvane {
namespace {

SLocaleFacts Facts(std::u16string day, std::u16string time, std::u16string decimal = u",") {
  SLocaleFacts facts;
  facts.day = std::move(day);
  facts.time = std::move(time);
  facts.decimal = std::move(decimal);
  facts.shortMonths[4] = u"Mai";
  facts.months[4] = u"maja";
  return facts;
}

std::string Show(const CLocalText& local, uint8_t type, std::u16string text) {
  local.Localise(type, text);
  return ToUtf8(text);
}

TEST(LocalText, WritesWhatTheRegionWritesAndAllThatTheValueHolds) {
  const CLocalText german(Facts(u"dd.MM.yyyy", u"HH:mm:ss"));
  const CLocalText american(Facts(u"M/d/yy", u"h:mm:ss tt", u"."));
  const CLocalText polish(Facts(u"d MMMM yyyy 'r.'", u"H:mm"));
  const CLocalText thai([] {
    SLocaleFacts facts = Facts(u"d/M/yyyy", u"HH:mm:ss");
    facts.isGregorian = false;
    return facts;
  }());
  const struct {
    const CLocalText& local;
    uint8_t type;
    std::u16string text;
    std::string shown;
  } cases[] = {
      {german, kTypeDate, u"2024-05-06", "06.05.2024"},
      {german, kTypeDate, u"0099-05-06 14:05:07.25", "06.05.0099 14:05:07,25"},
      {german, kTypeExtendedDate, u"2024-05-06 14:05:07.1234567", "06.05.2024 14:05:07,1234567"},
      {german, kTypeDate, u"-9000000.5", "-9000000.5"},
      {german, kTypeDate, u"2024-13-06", "2024-13-06"},
      {german, kTypeDouble, u"-1.5E-20", "-1,5E-20"},
      {german, kTypeCurrency, u"12345.6700", "12345,6700"},
      {german, kTypeText, u"2024-05-06 1.5", "2024-05-06 1.5"},
      {german, kTypeDouble, u"(null)", "(null)"},
      {american, kTypeDate, u"1924-05-06 00:05:07", "5/6/1924 12:05:07 AM"},
      {american, kTypeDate, u"2024-12-06 12:05:07.5", "12/6/2024 12:05:07.5 PM"},
      {polish, kTypeDate, u"2024-05-06 04:05:07", "6 maja 2024 r. 04:05:07"},
      {thai, kTypeDate, u"2024-05-06", "2024-05-06"},
      {CLocalText(Facts(u"dddd, d.M.yyyy", u"H:mm:ss")), kTypeDate, u"2024-05-06", "2024-05-06"},
      {CLocalText(), kTypeDouble, u"1.5", "1.5"},
  };
  for (const auto& c : cases) EXPECT_EQ(Show(c.local, c.type, c.text), c.shown) << ToUtf8(c.text);
  std::u16string list = u"1.5; 2; -0.25";
  german.LocaliseEach(kTypeDouble, u"; ", list);
  EXPECT_EQ(ToUtf8(list), "1,5; 2; -0,25");
}

TEST(LocalText, KnowsWhatNoValueCanHold) {
  const CLocalText german(Facts(u"dd.MM.yyyy", u"HH:mm:ss")), polish(Facts(u"d MMMM yyyy", u"H:mm:ss"));
  EXPECT_TRUE(german.CanHold(kTypeDouble, u"1,5") && german.CanHold(kTypeDate, u"06.05") &&
              german.CanHold(kTypeDate, u"24-05") && polish.CanHold(kTypeDate, u"maja") &&
              german.CanHold(kTypeText, u"anything"));
  EXPECT_FALSE(german.CanHold(kTypeLong, u"1,5") || german.CanHold(kTypeDate, u"maja") ||
               CLocalText().CanHold(kTypeDouble, u"1,5") || german.CanHold(kTypeGuid, u"name"));
}

}  // namespace
}  // namespace tolvane
