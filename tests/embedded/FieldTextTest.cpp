#include "writer/embedded/FieldText.h"

#include <gtest/gtest.h>

#include <cmath>
#include <cstring>
#include <limits>
#include <optional>
#include <string>

#include "platform/Text.h"
#include "tests/embedded/KeyBytes.h"

namespace tolvane {
namespace {

std::optional<std::vector<uint8_t>> Convert(int16_t type, std::u16string_view text) {
  std::vector<uint8_t> storage = {0xEE};
  const EDaoError error = ConvertFieldText(type, text, storage);
  if (error == EDaoError::None) return storage;
  EXPECT_EQ(error, EDaoError::DataConversion);
  EXPECT_TRUE(storage.empty());
  return std::nullopt;
}

// The stored number, or nothing when the text was refused.
template <class TStored>
std::optional<TStored> Stored(int16_t type, std::u16string_view text) {
  const std::optional<std::vector<uint8_t>> bytes = Convert(type, text);
  if (!bytes) return std::nullopt;
  EXPECT_EQ(bytes->size(), sizeof(TStored));
  TStored value;
  std::memcpy(&value, bytes->data(), sizeof value);  // the tests run on little-endian machines
  return value;
}

std::optional<int32_t> Long(std::u16string_view text) {
  return Stored<int32_t>(kDaoLong, text);
}
std::optional<int64_t> Currency(std::u16string_view text) {
  return Stored<int64_t>(kDaoCurrency, text);
}
std::optional<float> Single(std::u16string_view text) {
  return Stored<float>(kDaoSingle, text);
}
std::optional<double> Double(std::u16string_view text) {
  return Stored<double>(kDaoDouble, text);
}
std::optional<double> Date(std::u16string_view text) {
  return Stored<double>(kDaoDate, text);
}

TEST(FieldText, Booleans) {
  for (const char16_t* text : {u"True", u"YES", u"on", u"-1", u"1", u"0.5", u" true ", u"1e-400"}) {
    EXPECT_EQ(Convert(kDaoBoolean, text), FromHex("01")) << ToUtf8(text);
  }
  for (const char16_t* text : {u"False", u"no", u"OFF", u"0", u"-0.000"}) {
    EXPECT_EQ(Convert(kDaoBoolean, text), FromHex("00")) << ToUtf8(text);
  }
  for (const char16_t* text : {u"", u"tru", u"truee", u"y"}) EXPECT_FALSE(Convert(kDaoBoolean, text));
}

TEST(FieldText, WholeNumbersRoundHalvesToEven) {
  EXPECT_EQ(Long(u"-12"), -12);
  EXPECT_EQ(Long(u"  7 "), 7);
  EXPECT_EQ(Long(u"+7."), 7);
  EXPECT_EQ(Long(u"3.50000"), 4);
  EXPECT_EQ(Long(u"2.5"), 2);
  EXPECT_EQ(Long(u"-2.5"), -2);
  EXPECT_EQ(Long(u"2.50000000000000000000000001"), 3);
  EXPECT_EQ(Long(u".5"), 0);
  EXPECT_EQ(Long(u"1.5"), 2);
  EXPECT_EQ(Long(u"0.049e1"), 0);
  EXPECT_EQ(Long(u"1.5E+3"), 1500);
  EXPECT_EQ(Long(u"15e-1"), 2);
  EXPECT_EQ(Long(u"1e-999999999999"), 0);
  EXPECT_EQ(Long(u"0e999999999999"), 0);
}

TEST(FieldText, WholeNumbersKeepToTheirRange) {
  EXPECT_EQ(Long(u"2147483647.4"), 2147483647);
  EXPECT_EQ(Long(u"-2147483648.5"), std::numeric_limits<int32_t>::min());
  EXPECT_FALSE(Long(u"2147483647.5"));
  EXPECT_FALSE(Long(u"-2147483649"));
  EXPECT_FALSE(Long(u"1E+20"));
  EXPECT_FALSE(Long(u"99999999999999999999999999"));
  EXPECT_EQ(Stored<int16_t>(kDaoInteger, u"-32768"), -32768);
  EXPECT_FALSE(Stored<int16_t>(kDaoInteger, u"32768"));
  EXPECT_EQ(Stored<uint8_t>(kDaoByte, u"255"), 255);
  EXPECT_FALSE(Stored<uint8_t>(kDaoByte, u"256"));
  EXPECT_FALSE(Stored<uint8_t>(kDaoByte, u"-5"));
  EXPECT_EQ(Stored<uint8_t>(kDaoByte, u"-0.5"), 0);
}

TEST(FieldText, WhatIsNoNumberIsRefused) {
  for (const char16_t* text :
       {u"", u" ", u".", u"-", u"+-1", u"1e", u"1e+", u"1.2.3", u"1 2", u"0x10", u"inf", u"nan", u"-nan",
        u"-1-2-3", u"1,5", u"12a", u"\u0661", u"Default 14"}) {
    SCOPED_TRACE(ToUtf8(text));
    EXPECT_FALSE(Long(text));
    EXPECT_FALSE(Currency(text));
    EXPECT_FALSE(Single(text));
    EXPECT_FALSE(Double(text));
  }
  EXPECT_FALSE(Double(std::u16string(513, u'1')));
  EXPECT_FALSE(Long(std::u16string_view(u"1\0", 2)));
}

TEST(FieldText, CurrencyIsExact) {
  EXPECT_EQ(Currency(u"1.2345"), 12345);
  EXPECT_EQ(Currency(u"-0.0001"), -1);
  EXPECT_EQ(Currency(u"0.0000"), 0);
  EXPECT_EQ(Currency(u"922337203685477.5807"), std::numeric_limits<int64_t>::max());
  EXPECT_EQ(Currency(u"-922337203685477.5808"), std::numeric_limits<int64_t>::min());
  EXPECT_EQ(Currency(u"900719925474099.3333"), 9007199254740993333);
  EXPECT_EQ(Currency(u"0.00005"), 0);
  EXPECT_EQ(Currency(u"0.00015"), 2);
  EXPECT_EQ(Currency(u"1e2"), 1000000);
  EXPECT_FALSE(Currency(u"922337203685477.5808"));
  EXPECT_FALSE(Currency(u"922337203685477.58075"));
  EXPECT_FALSE(Currency(u"-922337203685477.58085000001"));
  EXPECT_FALSE(Currency(u"1e15"));
}

TEST(FieldText, FloatsTakeTheNearestValue) {
  EXPECT_EQ(Double(u"3.50000"), 3.5);
  EXPECT_EQ(Double(u"+.5"), 0.5);
  EXPECT_EQ(Double(u"1.5e-7"), 1.5e-7);
  EXPECT_EQ(Double(u"0.1"), 0.1);
  EXPECT_EQ(Double(u"17976931348623157" + std::u16string(292, u'0')), std::numeric_limits<double>::max());
  EXPECT_EQ(Single(u"0.1"), 0.1F);
  EXPECT_EQ(Single(u"16777217"), 16777216.0F);
  EXPECT_EQ(Single(u"340282346638528859811704183484516925440.00000"), std::numeric_limits<float>::max());
  EXPECT_EQ(Single(u"1e-60"), 0.0F);
  EXPECT_EQ(Double(u"0." + std::u16string(400, u'0') + u"1"), 0.0);
  EXPECT_FALSE(std::signbit(*Double(u"-0.00000")));
  EXPECT_FALSE(Single(u"1e39"));
  EXPECT_FALSE(Double(u"1e309"));
  EXPECT_FALSE(Double(u"-1E+99999999999"));
}

TEST(FieldText, DatesAndTimes) {
  EXPECT_EQ(Date(u"12:00:00 AM"), 0.0);
  EXPECT_EQ(Date(u"06:00:00 PM"), 0.75);
  EXPECT_EQ(Date(u"18:00"), 0.75);
  EXPECT_EQ(Date(u"12/31/1899 12:00:00 PM"), 1.5);
  EXPECT_EQ(Date(u"12/29/1899 06:00:00 AM"), -1.25);
  EXPECT_EQ(Date(u"12/29/1899 "), -1.0);
  EXPECT_EQ(Date(u"12/30/1899 06:00:00 am"), 0.25);
  EXPECT_EQ(Date(u"01/01/2000 "), 36526.0);
  EXPECT_EQ(Date(u"1/1/2000"), 36526.0);
  EXPECT_EQ(Date(u"02/29/2000 12:00:00 AM"), 36585.0);
  EXPECT_EQ(Date(u" 2000-02-29 12:00:00 "), 36585.5);
  EXPECT_EQ(Date(u"2000-02-29T12:00"), 36585.5);
  EXPECT_EQ(Date(u"2000-02-29"), 36585.0);
  EXPECT_EQ(Date(u"01/01/0100 "), -657434.0);
  EXPECT_EQ(Date(u"01/01/100 "), -657434.0);
  EXPECT_EQ(Date(u"12/31/9999 11:59:59 PM"), 2958465 + 86399.0 / 86400);
}

TEST(FieldText, WhatIsNoDateIsRefused) {
  for (const char16_t* text : {u"",
                               u" ",
                               u"02/29/1900",
                               u"02/30/2000",
                               u"04/31/2001",
                               u"00/10/2001",
                               u"13/01/2001",
                               u"01/00/2001",
                               u"01/01/0099 ",
                               u"01/01/99",
                               u"01/01/10000",
                               u"01/01/2000 13:00:00 PM",
                               u"01/01/2000 00:00:00 AM",
                               u"24:00:00",
                               u"12:60:00",
                               u"12:00:60",
                               u"12:00:00 XM",
                               u"01/01/2000 12",
                               u"01/01/2000x",
                               u"01/01",
                               u"-1-2-3",
                               u"36526",
                               u"2000-1-1 1:2:3:4",
                               u"999-01-01",
                               u"01/01/2000 12:00:00 AM x"}) {
    EXPECT_FALSE(Date(text)) << ToUtf8(text);
  }
}

// Counts the calendar on its own, day by day, and writes dates as the recovered texts have them.
struct SCalendar {
  int year, month, day;

  [[nodiscard]] int DaysInMonth() const {
    if (month == 2) return year % 4 == 0 && (year % 100 != 0 || year % 400 == 0) ? 29 : 28;
    return month == 4 || month == 6 || month == 9 || month == 11 ? 30 : 31;
  }
  void Next() {
    if (++day <= DaysInMonth()) return;
    day = 1;
    if (++month > 12) month = 1, year++;
  }
  [[nodiscard]] static std::u16string Padded(int value, size_t width) {
    std::u16string text = ToDecimal(uint64_t{static_cast<unsigned>(value)});
    return std::u16string(width - std::min(width, text.size()), u'0') + text;
  }
  [[nodiscard]] std::u16string Text() const {
    return Padded(month, 2) + u"/" + Padded(day, 2) + u"/" + Padded(year, 4) + u" ";
  }
};

std::u16string TimeText(int second) {
  if (second == 0) return u"";
  const int hour = second / 3600;
  return SCalendar::Padded((hour + 11) % 12 + 1, 2) + u":" + SCalendar::Padded(second / 60 % 60, 2) + u":" +
         SCalendar::Padded(second % 60, 2) + (hour < 12 ? u" AM" : u" PM");
}

TEST(FieldText, EveryDayAndSecondComesBack) {
  SCalendar calendar{100, 1, 1};
  int second = 0;
  for (int day = -657434; day <= 2958465; day++, calendar.Next()) {
    if (day % 61 != 0 && (calendar.month != 2 || calendar.day < 28)) continue;
    second = (second + 4999) % 86400;
    const std::optional<double> value = Date(calendar.Text() + TimeText(second));
    ASSERT_TRUE(value) << day;
    ASSERT_EQ(std::trunc(*value), day);
    ASSERT_EQ(static_cast<int>(std::fabs(*value - std::trunc(*value)) * 86400 + 0.5), second) << day;
  }
  EXPECT_EQ(calendar.year, 10000);
}

TEST(FieldText, GuidsInEverySpelling) {
  const std::vector<uint8_t> stored = FromHex("33 22 11 0A 55 44 77 66 88 99 AA BB CC DD EE FF");
  for (const char16_t* text :
       {u"{0A112233-4455-6677-8899-AABBCCDDEEFF}", u"0a112233-4455-6677-8899-aabbccddeeff",
        u"{0A112233445566778899AABBCCDDEEFF}", u" 0A112233445566778899AABBCCDDEEFF "}) {
    EXPECT_EQ(Convert(kDaoGuid, text), stored) << ToUtf8(text);
  }
  for (const char16_t* text :
       {u"", u"{", u"{}", u"{0A112233-4455-6677-8899-AABBCCDDEEFF", u"0A112233-4455-6677-8899",
        u"0A112233-44556677-8899-AABBCCDDEEFF-", u"0A112233-4455-6677-8899-AABBCCDDEEFG",
        u"{0A112233-4455-6677-8899-AABBCCDDEEFF}}", u"0A112233445566778899AABBCCDDEEFF00"}) {
    EXPECT_FALSE(Convert(kDaoGuid, text)) << ToUtf8(text);
  }
}

TEST(FieldText, TextIsKeptUnitByUnit) {
  EXPECT_EQ(Convert(kDaoText, u" A\u00E9 "), FromHex("20 00 41 00 E9 00 20 00"));
  EXPECT_EQ(Convert(kDaoMemo, std::u16string{0xD800, 0, u'x'}), FromHex("00 D8 00 00 78 00"));
  EXPECT_EQ(Convert(kDaoText, u""), std::vector<uint8_t>{});
}

TEST(FieldText, TypesThatTakeNoText) {
  std::vector<uint8_t> storage;
  EXPECT_EQ(ConvertFieldText(kDaoLongBinary, u"x", storage), EDaoError::InvalidDataType);
  EXPECT_EQ(ConvertFieldText(99, u"x", storage), EDaoError::InvalidDataType);
}

}  // namespace
}  // namespace tolvane
