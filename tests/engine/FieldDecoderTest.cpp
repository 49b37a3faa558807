// The texts of all column types, from rows made for one type.
#include <bit>
#include <cmath>
#include <limits>

#include "tests/engine/RowFile.h"

namespace tolvane {
namespace {

struct SValue {
  uint8_t type;
  const char* bytes;
  const char* text;
};

class FieldDecoder : public CRowTest {
 protected:
  // The text of one value in a table of that one column.
  std::string DecodeFixed(uint8_t type, const Bytes& value, uint32_t misc = 0) {
    Start(kLayoutJet4);
    AddFixed(type, 0, 0, static_cast<uint16_t>(value.size())).misc = misc;
    return DecodeOne(Joined(Joined(Hex("0100"), value), Hex("01")));
  }
  std::string DecodeVariable(uint8_t type, const Bytes& value, uint8_t extendedFlags = 0) {
    Start(kLayoutJet4);
    AddVariable(type, 0, 0).extendedFlags = extendedFlags;
    return DecodeOne(OneColumnRow(value));
  }
  std::string DecodeDecimal(const char* bytes, uint8_t scale) {
    return DecodeFixed(kTypeDecimal, Hex(bytes), 18u | uint32_t{scale} << 8);
  }
};

// The flag decides, not the type; columns stand in any order and numbers have gaps.
TEST_F(FieldDecoder, NumbersMayBeVariableAndTextFixed) {
  AddVariable(kTypeLong, 2, 1);
  AddFixed(kTypeText, 4, 0, 3);
  AddVariable(kTypeText, 0, 0);
  table->header.highestColumnNumber = 5;
  EXPECT_EQ(Decode(Hex("0500 4e006f004900 7a00 feffffff 0e00 0a00 0800 0200 15")), (Texts{"-2", "NoI", "z"}));

  Start(kLayoutJet3);
  AddFixed(kTypeText, 0, 0, 2);
  EXPECT_EQ(Decode(Hex("01 4ee4 01")), (Texts{"N\xC3\xA4"})) << "one byte a character";
}

TEST_F(FieldDecoder, FixedValues) {
  for (const SValue& test :
       {SValue{kTypeByte, "ff", "255"}, SValue{kTypeInteger, "0080", "-32768"},
        SValue{kTypeLong, "00000080", "-2147483648"}, SValue{kTypeComplex, "07000000", "7"},
        SValue{kTypeCurrency, "0000000000000000", "0.0000"},
        SValue{kTypeCurrency, "ffffffffffffffff", "-0.0001"},
        SValue{kTypeCurrency, "ffffffffffffff7f", "922337203685477.5807"},
        SValue{kTypeCurrency, "0000000000000080", "-922337203685477.5808"},
        SValue{kTypeSingle, "cdcccc3d", "0.10000"}, SValue{kTypeSingle, "0000807f", "inf"},
        SValue{kTypeDouble, "000000000000f0ff", "-inf"}, SValue{kTypeDouble, "000000000000f8ff", "nan"},
        SValue{kTypeDouble, "8dedb5a0f7c6b03e", "0.00000"},
        SValue{kTypeDouble, "0000000000000080", "-0.00000"},
        SValue{kTypeGuid, "1ee24850624d194a91d37acd20c026ad", "{5048E21E-4D62-4A19-91D3-7ACD20C026AD}"},
        SValue{13, "01", "Unknown"}, SValue{19, "2a00000000000000", "Default 19"}}) {
    EXPECT_EQ(DecodeFixed(test.type, Hex(test.bytes)), test.text) << int{test.type} << " " << test.bytes;
    EXPECT_TRUE(data->GetLedger().IsClean());
  }
  EXPECT_EQ(DecodeFixed(kTypeDouble, Hex("ffffffffffffef7f")).size(), 309u + 6) << "the largest";
  EXPECT_EQ(DecodeFixed(17, Bytes(300, 1)), "Default 17");
}

TEST_F(FieldDecoder, Dates) {
  const auto decode = [&](double value) {
    return DecodeFixed(kTypeDate, Little(std::bit_cast<uint64_t>(value), 8));
  };
  struct SCase {
    double value;
    const char* text;
  };
  for (const SCase& test :
       {SCase{1.5, "12/31/1899 12:00:00 PM"}, SCase{37076.25, "07/04/2001 06:00:00 AM"},
        SCase{37076.0 + 1.0 / 86400, "07/04/2001 12:00:01 AM"},
        SCase{45657.999988425925, "12/31/2024 11:59:59 PM"},
        // Midnight is left out, but its blank stays.
        SCase{0.0, "12:00:00 AM"}, SCase{-0.0, "12:00:00 AM"}, SCase{37076.0, "07/04/2001 "},
        // Negative days count the time forward.
        SCase{-728, "01/01/1898 "}, SCase{-1.25, "12/29/1899 06:00:00 AM"},
        SCase{-0.25, "12/30/1899 06:00:00 AM"}, SCase{-115859, "10/14/1582 "},
        // A time that rounds to 24 hours is the next day.
        SCase{37076.999997, "07/05/2001 "}, SCase{36524.999997, "12/31/1999 "},
        SCase{-1.999997, "12:00:00 AM"},
        // Leap days and the ends of their cycles.
        SCase{36584, "02/28/2000 "}, SCase{36585, "02/29/2000 "}, SCase{36586, "03/01/2000 "},
        SCase{36891, "12/31/2000 "}, SCase{60, "02/28/1900 "}, SCase{61, "03/01/1900 "},
        SCase{45351, "02/29/2024 "},
        // The ends of the calendar.
        SCase{2958465, "12/31/9999 "}, SCase{-657434, "01/01/0100 "}})
    EXPECT_EQ(decode(test.value), test.text) << test.value;
  for (const double value : {2958466.0, 2958465.999999, -657435.0, 1e300, -1e300,
                             std::numeric_limits<double>::infinity(), std::nan("")}) {
    EXPECT_EQ(decode(value), "") << value;
    EXPECT_EQ(Lost(EDamage::BrokenValue), 1u) << value;
  }
  rules.midnightKeepsBlank = false;
  EXPECT_EQ(decode(37076.0), "07/04/2001");
}

TEST_F(FieldDecoder, VariableValues) {
  // Binary values lose zero bytes and marks; a mark's byte alone is a letter of the code page.
  for (const SValue& test :
       {SValue{kTypeBinary, "", ""}, SValue{kTypeBinary, "fffe410042", "AB"}, SValue{kTypeBinary, "0000", ""},
        SValue{kTypeBinary, "41fffefffe42", "AB"}, SValue{kTypeBinary, "ff00fe", "\xC3\xBF\xC3\xBE"},
        SValue{kTypeBinary, "41ff", "A\xC3\xBF"}, SValue{kTypeText, "", ""}, SValue{14, "01", "Default 14"},
        SValue{200, "", "Default 200"}}) {
    EXPECT_EQ(DecodeVariable(test.type, Hex(test.bytes)), test.text) << int{test.type} << " " << test.bytes;
    EXPECT_TRUE(data->GetLedger().IsClean());
  }
  EXPECT_EQ(DecodeVariable(kTypeLong, Hex("010203")), "") << "too short for a number";
  EXPECT_EQ(Lost(EDamage::BrokenValue), 1u);
}

TEST_F(FieldDecoder, DecimalsTakeTheirLastEightBytes) {
  EXPECT_EQ(DecodeDecimal("00 00000000 00000000 00000000 39300000", 2), "123.45");
  EXPECT_EQ(DecodeDecimal("00 00000000 00000000 00000000 39300000", 0), "12345");
  EXPECT_EQ(DecodeDecimal("00 00000000 00000000 00000000 39300000", 5), ".12345");
  EXPECT_EQ(DecodeDecimal("00 00000000 00000000 00000000 39300000", 6), "12345");
  EXPECT_EQ(DecodeDecimal("00 00000000 00000000 00000000 00000000", 2), "");
  EXPECT_EQ(DecodeDecimal("80 00000000 00000000 00000000 39300000", 2), "123.45");
  EXPECT_EQ(DecodeDecimal("00 00000000 00000000 ffffffff 85ffffff", 2), "-1-2.-3");
  EXPECT_EQ(DecodeDecimal("00 00000000 00000000 1c7c6a01 f1f4ede1", 6), "102030405060.654321");
}

TEST_F(FieldDecoder, DecimalsWithAllTheirWordsWhereTheRulesSaySo) {
  rules.decimalLowWordsOnly = false;
  EXPECT_EQ(DecodeDecimal("80 00000000 00000000 00000000 f8b42802", 6), "-36.222200");
  EXPECT_EQ(DecodeDecimal("00 00000000 00000000 00000000 05000000", 2), "0.05");
  EXPECT_EQ(DecodeDecimal("80 00000000 00000000 00000000 00000000", 0), "0");
  EXPECT_EQ(DecodeDecimal("00 01000000 00000000 00000000 00000000", 0), "79228162514264337593543950336");
}

TEST_F(FieldDecoder, CalculatedColumnsShowTheirResult) {
  const auto decode = [&](uint8_t type, const char* result) {
    const Bytes bytes = Hex(result);
    const Bytes head = Joined(Bytes(16, 0), Little(bytes.size(), 4));
    return DecodeVariable(type, Joined(Joined(head, bytes), Bytes(3, 0)), 0xC0);
  };
  for (const SValue& test :
       {SValue{kTypeText, "fffe5761796e652c204272756365", "Wayne, Bruce"}, SValue{kTypeText, "", ""},
        SValue{kTypeLong, "0c000000", "12"}, SValue{kTypeInteger, "ff", "-1"},  // a yes/no result
        SValue{kTypeBoolean, "ff", "True"}, SValue{kTypeByte, "ff", "255"},
        SValue{kTypeDouble, "55a8ab3100000000", "83333.3333"},  // a currency result
        SValue{kTypeDouble, "bffcffffffffffff", "-0.0833"},
        SValue{kTypeDouble, "000000000000f03f", "1.00000"},
        SValue{kTypeDouble, "0e000a0000000000ec04b01fe7ae0000", "19230.7692307692"},
        SValue{kTypeDecimal, "0000068000000000f8b4280200000000", "-36.222200"},
        SValue{kTypeDecimal, "59732145", "2583.20923"},  // a single result
        SValue{kTypeDate, "0000000080bee540", "12/02/2021 "}}) {
    EXPECT_EQ(decode(test.type, test.bytes), test.text) << int{test.type} << " " << test.bytes;
    EXPECT_TRUE(data->GetLedger().IsClean());
  }
  EXPECT_EQ(decode(kTypeLong, "0c0000"), "");
  EXPECT_EQ(Lost(EDamage::BrokenValue), 1u);
  const Bytes tooLong = Joined(Bytes(16, 0), Little(9, 4));
  EXPECT_EQ(DecodeVariable(kTypeText, Joined(tooLong, Hex("fffe41")), 0xC0), "")
      << "a result that ends early";
  EXPECT_EQ(Lost(EDamage::BrokenValue), 1u);
}

TEST_F(FieldDecoder, ACalculatedMemoIsWrappedInsideItsLongValue) {
  AddVariable(kTypeText, 0, 0, 0).extendedFlags = 0xC0;
  const auto decode = [&](const char* length) {
    const Bytes head = Joined(Hex("1d000080 00000000 00000000"), Bytes(16, 0));
    return DecodeOne(OneColumnRow(Joined(Joined(head, Hex(length)), Hex("44006f006500 000000"))));
  };
  EXPECT_EQ(decode("06000000"), "Doe");
  EXPECT_EQ(decode("04000000"), "Do");
  EXPECT_EQ(decode("00000000"), "");
  EXPECT_TRUE(data->GetLedger().IsClean());
  EXPECT_EQ(decode("ffffff7f").substr(0, 3), "Doe");
  EXPECT_EQ(Lost(EDamage::BrokenLongValue), 1u);
}

}  // namespace
}  // namespace tolvane
