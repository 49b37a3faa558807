#include "render/ValueParser.h"

#include <gtest/gtest.h>

#include <cmath>
#include <cstring>
#include <limits>
#include <optional>
#include <string>

#include "platform/Text.h"
#include "tests/format/KeyBytes.h"

namespace tolvane {
namespace {

std::optional<std::vector<uint8_t>> Convert(uint8_t type, std::u16string_view text) {
  CValueParser parser;
  SValue value;
  const bool isValue = parser.Parse(type, text, value);
  EXPECT_EQ(value.isNull, !isValue);
  if (!isValue) return std::nullopt;
  return std::vector<uint8_t>(value.bytes.begin(), value.bytes.end());
}

// The stored number, or nothing when the text was refused.
template <class TStored>
std::optional<TStored> Stored(uint8_t type, std::u16string_view text) {
  const std::optional<std::vector<uint8_t>> bytes = Convert(type, text);
  if (!bytes) return std::nullopt;
  EXPECT_EQ(bytes->size(), sizeof(TStored));
  TStored value;
  std::memcpy(&value, bytes->data(), sizeof value);  // the tests run on little-endian machines
  return value;
}

constexpr std::nullopt_t kRefused = std::nullopt;

template <class TStored>
struct SText {
  std::u16string text;
  std::optional<TStored> stored;
};
template <class TStored>
void ExpectStored(uint8_t type, const std::vector<SText<TStored>>& texts) {
  for (const SText<TStored>& test : texts)
    EXPECT_EQ(Stored<TStored>(type, test.text), test.stored) << ToUtf8(test.text);
}

TEST(ValueParser, Booleans) {
  for (const char16_t* text : {u"True", u"YES", u"on", u"-1", u"1", u"0.5", u" true ", u"1e-400"})
    EXPECT_EQ(Convert(kTypeBoolean, text), FromHex("01")) << ToUtf8(text);
  for (const char16_t* text : {u"False", u"no", u"OFF", u"0", u"-0.000"})
    EXPECT_EQ(Convert(kTypeBoolean, text), FromHex("00")) << ToUtf8(text);
  for (const char16_t* text : {u"", u"tru", u"truee", u"y"}) EXPECT_FALSE(Convert(kTypeBoolean, text));
}

TEST(ValueParser, WholeNumbersRoundHalvesToEvenAndKeepToTheirRange) {
  const std::vector<SText<int32_t>> longs = {
      {u"-12", -12}, {u"  7 ", 7}, {u"+7.", 7},     {u"3.50000", 4},   {u"2.5", 2},  {u"-2.5", -2},
      {u".5", 0},    {u"1.5", 2},  {u"0.049e1", 0}, {u"1.5E+3", 1500}, {u"15e-1", 2}};
  ExpectStored(kTypeLong, longs);
  ExpectStored<int32_t>(kTypeLong, {{u"2.50000000000000000000000001", 3},
                                    {u"1e-999999999999", 0},
                                    {u"0e999999999999", 0},
                                    {u"2147483647.4", 2147483647},
                                    {u"-2147483648.5", std::numeric_limits<int32_t>::min()},
                                    {u"2147483647.5", kRefused},
                                    {u"-2147483649", kRefused},
                                    {u"1E+20", kRefused},
                                    {u"99999999999999999999999999", kRefused}});
  ExpectStored<int16_t>(kTypeInteger, {{u"-32768", -32768}, {u"32768", kRefused}});
  ExpectStored<uint8_t>(kTypeByte, {{u"255", 255}, {u"256", kRefused}, {u"-5", kRefused}, {u"-0.5", 0}});
}

TEST(ValueParser, WhatIsNoNumberIsRefused) {
  for (const std::u16string_view text :
       {u"", u" ", u".", u"-", u"+-1", u"1e", u"1e+", u"1.2.3", u"1 2", u"0x10", u"inf", u"nan", u"-nan",
        u"-1-2-3", u"1,5", u"12a", u"\u0661", u"Default 14"})
    for (const uint8_t type : {kTypeLong, kTypeCurrency, kTypeSingle, kTypeDouble})
      EXPECT_FALSE(Convert(type, text)) << ToUtf8(text) << ", type " << type;
  EXPECT_FALSE(Convert(kTypeDouble, std::u16string(513, u'1')));
  EXPECT_FALSE(Convert(kTypeLong, std::u16string_view(u"1\0", 2)));
}

TEST(ValueParser, CurrencyIsExact) {
  ExpectStored<int64_t>(kTypeCurrency, {{u"1.2345", 12345},
                                        {u"-0.0001", -1},
                                        {u"0.0000", 0},
                                        {u"922337203685477.5807", std::numeric_limits<int64_t>::max()},
                                        {u"-922337203685477.5808", std::numeric_limits<int64_t>::min()},
                                        {u"900719925474099.3333", 9007199254740993333},
                                        {u"0.00005", 0},
                                        {u"0.00015", 2},
                                        {u"1e2", 1000000},
                                        {u"922337203685477.5808", kRefused},
                                        {u"922337203685477.58075", kRefused},
                                        {u"-922337203685477.58085000001", kRefused},
                                        {u"1e15", kRefused}});
}

TEST(ValueParser, FloatsTakeTheNearestValue) {
  ExpectStored<double>(
      kTypeDouble, {{u"3.50000", 3.5},
                    {u"+.5", 0.5},
                    {u"1.5e-7", 1.5e-7},
                    {u"0.1", 0.1},
                    {u"17976931348623157" + std::u16string(292, u'0'), std::numeric_limits<double>::max()},
                    {u"0." + std::u16string(400, u'0') + u"1", 0.0},
                    {u"1e309", kRefused},
                    {u"-1E+99999999999", kRefused}});
  ExpectStored<float>(kTypeSingle,
                      {{u"0.1", 0.1F},
                       {u"16777217", 16777216.0F},
                       {u"340282346638528859811704183484516925440.00000", std::numeric_limits<float>::max()},
                       {u"1e-60", 0.0F},
                       {u"1e39", kRefused}});
  EXPECT_FALSE(std::signbit(*Stored<double>(kTypeDouble, u"-0.00000")));
}

TEST(ValueParser, DatesAndTimes) {
  ExpectStored<double>(kTypeDate, {{u"12:00:00 AM", 0.0},
                                   {u"06:00:00 PM", 0.75},
                                   {u"18:00", 0.75},
                                   {u"12/31/1899 12:00:00 PM", 1.5},
                                   {u"12/29/1899 06:00:00 AM", -1.25},
                                   {u"12/29/1899 ", -1.0},
                                   {u"12/30/1899 06:00:00 am", 0.25},
                                   {u"01/01/2000 ", 36526.0},
                                   {u"1/1/2000", 36526.0},
                                   {u"02/29/2000 12:00:00 AM", 36585.0},
                                   {u" 2000-02-29 12:00:00 ", 36585.5},
                                   {u"2000-02-29T12:00", 36585.5},
                                   {u"2000-02-29", 36585.0},
                                   {u"01/01/0100 ", -657434.0},
                                   {u"01/01/100 ", -657434.0},
                                   {u"12/31/9999 11:59:59 PM", 2958465 + 86399.0 / 86400}});
  ExpectStored<double>(kTypeDate, {{u"02/28/2001", 36950},
                                   {u"07/31/2001", 37103},
                                   {u"12/31/2001", 37256},
                                   {u"03/01/1900", 61},
                                   {u"03/01/2100", 73110},
                                   {u"12/31/1600", -109206}});
  const char16_t* noDates[] = {
      u"",           u" ",          u"02/29/1900",  u"02/30/2000",  u"04/31/2001",  u"00/10/2001",
      u"13/01/2001", u"01/00/2001", u"01/01/0099 ", u"01/01/99",    u"01/01/10000", u"24:00:00",
      u"12:60:00",   u"12:00:60",   u"12:00:00 XM", u"01/01/2000x", u"01/01",       u"-1-2-3",
      u"36526",      u"999-01-01"};
  for (const char16_t* text : noDates) EXPECT_FALSE(Convert(kTypeDate, text)) << ToUtf8(text);
  for (const char16_t* text : {u"01/01/2000 13:00:00 PM", u"01/01/2000 00:00:00 AM", u"01/01/2000 12",
                               u"2000-1-1 1:2:3:4", u"01/01/2000 12:00:00 AM x"})
    EXPECT_FALSE(Convert(kTypeDate, text)) << ToUtf8(text);
}

TEST(ValueParser, GuidsInEverySpelling) {
  const std::vector<uint8_t> stored = FromHex("33 22 11 0A 55 44 77 66 88 99 AA BB CC DD EE FF");
  for (const char16_t* text :
       {u"{0A112233-4455-6677-8899-AABBCCDDEEFF}", u"0a112233-4455-6677-8899-aabbccddeeff",
        u"{0A112233445566778899AABBCCDDEEFF}", u" 0A112233445566778899AABBCCDDEEFF "})
    EXPECT_EQ(Convert(kTypeGuid, text), stored) << ToUtf8(text);
  for (const char16_t* text :
       {u"", u"{", u"{}", u"{0A112233-4455-6677-8899-AABBCCDDEEFFx", u"0A112233-4455-6677-8899",
        u"0A112233-44556677-8899-AABBCCDDEEFF-", u"0A112233-4455-6677-8899-AABBCCDDEEFG",
        u"{0A112233-4455-6677-8899-AABBCCDDEEFF}}", u"0A112233445566778899AABBCCDDEEFF00"})
    EXPECT_FALSE(Convert(kTypeGuid, text)) << ToUtf8(text);
}

TEST(ValueParser, TextIsKeptUnitByUnitAndOtherTypesTakeNone) {
  EXPECT_EQ(Convert(kTypeText, u" A\u00E9 "), FromHex("20 00 41 00 E9 00 20 00"));
  EXPECT_EQ(Convert(kTypeMemo, std::u16string{0xD800, 0, u'x'}), FromHex("00 D8 00 00 78 00"));
  EXPECT_EQ(Convert(kTypeText, u""), std::vector<uint8_t>{});
  EXPECT_EQ(Convert(kTypeOle, u"A\u20AC"), FromHex("41 80")) << "the system's code page";
  EXPECT_FALSE(Convert(99, u"x"));
}

}  // namespace
}  // namespace tolvane
