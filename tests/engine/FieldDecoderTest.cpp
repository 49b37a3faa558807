// The texts of all column types, from rows as they stand in real files and from rows made for one type.
#include "engine/FieldDecoder.h"

#include "tests/engine/RowFile.h"

namespace tolvane {
namespace {

class FieldDecoder : public CRowTest {
 protected:
  Texts Decode(const Bytes& row, const SRecoveryRules& rules = kStandardRules) {
    table->dataPages = {};
    Put(4, NewPage().Row(row));
    Parse(rules);
    return Values();
  }
  // The text of one fixed value in a table of that one column.
  std::string DecodeFixed(uint8_t type, const Bytes& value, const SRecoveryRules& rules = kStandardRules) {
    Start(kJet4Layout);
    AddFixed(type, 0, 0, static_cast<uint16_t>(value.size()));
    const Texts texts = Decode(Joined(Joined(Hex("0100"), value), Hex("01")), rules);
    return texts.size() == 1 ? texts[0] : "no row";
  }
  std::string DecodeVariable(uint8_t type, const Bytes& value) {
    Start(kJet4Layout);
    AddVariable(type, 0, 0);
    Bytes row = Joined(Hex("0100"), value);
    const Texts texts = Decode(Joined(row, Bytes{static_cast<uint8_t>(row.size()), 0, 2, 0, 1, 0, 1}));
    return texts.size() == 1 ? texts[0] : "no row";
  }
  std::string DecodeDecimal(const char* hex, uint8_t scale, const SRecoveryRules& rules = kStandardRules) {
    Start(kJet4Layout);
    AddFixed(kTypeDecimal, 0, 0, 17).misc = 18u | uint32_t{scale} << 8;
    const Texts texts = Decode(Joined(Joined(Hex("0100"), Hex(hex)), Hex("01")), rules);
    return texts.size() == 1 ? texts[0] : "no row";
  }
  void AddNineColumns() {
    AddVariable(kTypeText, 0, 0);
    AddVariable(kTypeText, 1, 1);
    AddFixed(kTypeByte, 2, 0, 1);
    AddFixed(kTypeInteger, 3, 1, 2);
    AddFixed(kTypeLong, 4, 3, 4);
    AddFixed(kTypeDouble, 5, 7, 8);
    AddFixed(kTypeDate, 6, 15, 8);
    AddFixed(kTypeCurrency, 7, 23, 8);
    AddFixed(kTypeBoolean, 8, 31, 1);
  }
};

const Texts kNineTexts{"abcdefg",   "hijklmnop",   "2",      "222", "333333333",
                       "444.55500", "09/21/1974 ", "3.5000", "True"};

TEST_F(FieldDecoder, RowsOfRealFiles) {
  AddNineColumns();
  EXPECT_EQ(
      Decode(Hex("0900 02 de00 5543de13 7b14ae47e1c87b40 0000000040a7da40 b888000000000000"
                 "fffe61626364656667 680069006a006b006c006d006e006f007000 0000 3c00 2a00 2100 0200 ff01")),
      kNineTexts);
  Start(kJet3Layout);
  AddNineColumns();
  EXPECT_EQ(Decode(Hex("09 02 de00 5543de13 7b14ae47e1c87b40 0000000040a7da40 b888000000000000"
                       "61626364656667 68696a6b6c6d6e6f70 30 27 20 02 ff01")),
            kNineTexts);
  EXPECT_TRUE(data->GetLedger().IsClean());
}

TEST_F(FieldDecoder, NullsAreEmptyAndYesNoIsNever) {
  AddNineColumns();
  EXPECT_EQ(Decode(Hex("0900 02 de00 5543de13 7b14ae47e1c87b40 0000000040a7da40 b888000000000000"
                       "2100 2100 2100 0200 0000")),
            (Texts{"", "", "", "", "", "", "", "", "False"}));
  EXPECT_EQ(Decode(Hex("0900 02 de00 5543de13 7b14ae47e1c87b40 0000000040a7da40 b888000000000000"
                       "2100 2100 2100 0200 0101")),
            (Texts{"", "", "", "", "", "", "", "", "True"}));
  EXPECT_TRUE(data->GetLedger().IsClean());
}

TEST_F(FieldDecoder, ColumnsNewerThanTheRowAreNull) {
  AddNineColumns();
  EXPECT_EQ(Decode(Hex("0400 02 de00 41004200 0900 0500 0500 0200 0e")),
            (Texts{"", "AB", "2", "222", "", "", "", "", "False"}));
  EXPECT_TRUE(data->GetLedger().IsClean());
}

// The flag decides, not the type; columns stand in any order and numbers have gaps.
TEST_F(FieldDecoder, NumbersMayBeVariableAndTextFixed) {
  AddVariable(kTypeLong, 2, 1);
  AddFixed(kTypeText, 4, 0, 3);
  AddVariable(kTypeText, 0, 0);
  table->header.highestColumnNumber = 5;
  EXPECT_EQ(Decode(Hex("0500 4e006f004900 7a00 feffffff 0e00 0a00 0800 0200 15")), (Texts{"-2", "NoI", "z"}));
}

TEST_F(FieldDecoder, SmallNumbers) {
  EXPECT_EQ(DecodeFixed(kTypeByte, Hex("ff")), "255");
  EXPECT_EQ(DecodeFixed(kTypeInteger, Hex("0080")), "-32768");
  EXPECT_EQ(DecodeFixed(kTypeInteger, Hex("ff7f")), "32767");
  EXPECT_EQ(DecodeFixed(kTypeLong, Hex("00000080")), "-2147483648");
  EXPECT_EQ(DecodeFixed(kTypeComplex, Hex("07000000")), "7");
  EXPECT_EQ(DecodeFixed(kTypeCurrency, Hex("ffffffffffffffff")), "-0.0001");
}

TEST_F(FieldDecoder, SinglesAndDoublesHaveFiveDecimals) {
  EXPECT_EQ(DecodeFixed(kTypeSingle, Hex("0000c03f")), "1.50000");
  EXPECT_EQ(DecodeFixed(kTypeSingle, Hex("cdcccc3d")), "0.10000");
  EXPECT_EQ(DecodeFixed(kTypeSingle, Hex("0000807f")), "inf");
  EXPECT_EQ(DecodeFixed(kTypeDouble, Hex("000000000000f0ff")), "-inf");
  EXPECT_EQ(DecodeFixed(kTypeDouble, Hex("000000000000f8ff")), "nan");
  EXPECT_EQ(DecodeFixed(kTypeDouble, Hex("8dedb5a0f7c6b03e")), "0.00000");
  EXPECT_EQ(DecodeFixed(kTypeDouble, Hex("0000000000000080")), "-0.00000");
  EXPECT_EQ(DecodeFixed(kTypeDouble, Hex("ffffffffffffef7f")).size(), 309u + 6);
}

TEST_F(FieldDecoder, DatesBinaryAndGuid) {
  EXPECT_EQ(DecodeFixed(kTypeDate, Hex("0000000080bee540")), "12/02/2021 ");
  EXPECT_EQ(DecodeFixed(kTypeDate, Hex("ffffffffffffef7f")), "");
  EXPECT_EQ(Lost(EDamage::BrokenValue), 1u);
  EXPECT_EQ(DecodeVariable(kTypeBinary, Hex("fffe410042")), "AB");
  EXPECT_EQ(DecodeFixed(kTypeGuid, Hex("1ee24850624d194a91d37acd20c026ad")),
            "{5048E21E-4D62-4A19-91D3-7ACD20C026AD}");
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
  SRecoveryRules rules = kStandardRules;
  rules.decimalLowWordsOnly = false;
  EXPECT_EQ(DecodeDecimal("80 00000000 00000000 00000000 f8b42802", 6, rules), "-36.222200");
  EXPECT_EQ(DecodeDecimal("00 00000000 00000000 00000000 05000000", 2, rules), "0.05");
  EXPECT_EQ(DecodeDecimal("80 00000000 00000000 00000000 00000000", 0, rules), "0");
  EXPECT_EQ(DecodeDecimal("00 01000000 00000000 00000000 00000000", 0, rules),
            "79228162514264337593543950336");
}

TEST_F(FieldDecoder, OtherTypesAreNamed) {
  EXPECT_EQ(DecodeFixed(13, Hex("01")), "Unknown");
  EXPECT_EQ(DecodeVariable(14, Hex("01")), "Default 14");
  EXPECT_EQ(DecodeFixed(17, Bytes(300, 1)), "Default 17");
  EXPECT_EQ(DecodeFixed(19, Hex("2a00000000000000")), "Default 19");
  EXPECT_EQ(DecodeVariable(200, {}), "Default 200");
}

TEST_F(FieldDecoder, AVariableNumberThatIsTooShortIsNoNumber) {
  EXPECT_EQ(DecodeVariable(kTypeLong, Hex("010203")), "");
  EXPECT_EQ(Lost(EDamage::BrokenValue), 1u);
  EXPECT_EQ(DecodeVariable(kTypeText, {}), "");
  EXPECT_TRUE(data->GetLedger().IsClean());
}

TEST_F(FieldDecoder, CalculatedColumnsShowTheirResult) {
  const auto decode = [&](uint8_t type, const std::string& result) {
    Start(kJet4Layout);
    AddVariable(type, 0, 0).extendedFlags = 0xC0;
    Bytes row = Joined(Hex("0100"), Bytes(16, 0));
    const Bytes bytes = Hex(result);
    row = Joined(Joined(row, Little(bytes.size(), 4)), Joined(bytes, Bytes(3, 0)));
    const Texts texts = Decode(Joined(row, Bytes{static_cast<uint8_t>(row.size()), 0, 2, 0, 1, 0, 1}));
    return texts.size() == 1 ? texts[0] : "no row";
  };
  EXPECT_EQ(decode(kTypeText, "fffe5761796e652c204272756365"), "Wayne, Bruce");
  EXPECT_EQ(decode(kTypeText, ""), "");
  EXPECT_EQ(decode(kTypeLong, "0c000000"), "12");
  EXPECT_EQ(decode(kTypeInteger, "ff"), "-1");  // a yes/no result
  EXPECT_EQ(decode(kTypeBoolean, "ff"), "True");
  EXPECT_EQ(decode(kTypeByte, "ff"), "255");
  EXPECT_EQ(decode(kTypeDouble, "55a8ab3100000000"), "83333.3333");  // a currency result
  EXPECT_EQ(decode(kTypeDouble, "bffcffffffffffff"), "-0.0833");
  EXPECT_EQ(decode(kTypeDouble, "000000000000f03f"), "1.00000");
  EXPECT_EQ(decode(kTypeDouble, "0e000a0000000000ec04b01fe7ae0000"), "19230.7692307692");
  EXPECT_EQ(decode(kTypeDecimal, "0000068000000000f8b4280200000000"), "-36.222200");
  EXPECT_EQ(decode(kTypeDecimal, "59732145"), "2583.20923");  // a single result
  EXPECT_EQ(decode(kTypeDate, "0000000080bee540"), "12/02/2021 ");
  EXPECT_TRUE(data->GetLedger().IsClean());
  EXPECT_EQ(decode(kTypeLong, "0c0000"), "");
  EXPECT_EQ(Lost(EDamage::BrokenValue), 1u);
}

TEST_F(FieldDecoder, ACalculatedMemoIsWrappedInsideItsLongValue) {
  Start(kJet4Layout);
  AddVariable(kTypeText, 0, 0, 0).extendedFlags = 0xC0;
  const auto decode = [&](const char* length) {
    Bytes row = Joined(Hex("0100 1d000080 00000000 00000000"), Bytes(16, 0));
    row = Joined(row, Hex(std::string(length) + "44006f006500 000000"));
    return Decode(Joined(row, Bytes{static_cast<uint8_t>(row.size()), 0, 2, 0, 1, 0, 1}));
  };
  EXPECT_EQ(decode("06000000"), Texts{"Doe"});
  EXPECT_EQ(decode("04000000"), Texts{"Do"});
  EXPECT_EQ(decode("00000000"), Texts{""});
  EXPECT_TRUE(data->GetLedger().IsClean());
  EXPECT_EQ(decode("ffffff7f").at(0).substr(0, 3), "Doe");
  EXPECT_EQ(Lost(EDamage::BrokenLongValue), 1u);
}

TEST_F(FieldDecoder, Jet3FixedTextHasOneByteACharacter) {
  Start(kJet3Layout);
  AddFixed(kTypeText, 0, 0, 2);
  EXPECT_EQ(Decode(Hex("01 4ee4 01")), (Texts{"N\xC3\xA4"}));
}

}  // namespace
}  // namespace tolvane
