#include "engine/TextDecoder.h"

#include <gtest/gtest.h>

#include <vector>

namespace tolvane {
namespace {

using Bytes = std::vector<uint8_t>;

constexpr STextCoding kJet4{.isUtf16 = true, .codePage = 0};

std::u16string Decode(const STextCoding& coding, const Bytes& bytes) {
  CTextDecoder decoder;
  std::u16string text;
  decoder.Decode(coding, bytes, text);
  return text;
}

std::u16string DecodeInTwo(const STextCoding& coding, const Bytes& bytes, size_t cut) {
  CTextDecoder decoder;
  std::u16string text;
  decoder.Begin(coding, text);
  decoder.Append(std::span(bytes).first(cut));
  decoder.Append(std::span(bytes).subspan(cut));
  decoder.End();
  return text;
}

TEST(TextDecoder, Jet4Forms) {
  EXPECT_EQ(Decode(kJet4, {}), u"");
  EXPECT_EQ(Decode(kJet4, {0x1c, 0x04, 0x38, 0x04, 0x40, 0x04}), u"\u041C\u0438\u0440");
  EXPECT_EQ(Decode(kJet4, {0x61, 0x00, 0x3d, 0xd8, 0x00, 0xde, 0x61, 0x00}), u"a\U0001F600a");
  EXPECT_EQ(Decode(kJet4, {0xff, 0xfe, 0xe4, 0xe4, 0x6b, 0x6b, 0xf6, 0x73, 0x69, 0xe4}),
            u"\u00E4\u00E4kk\u00F6si\u00E4");
  EXPECT_EQ(Decode(kJet4, {0xff, 0xfe}), u"");
  // A byte of 80-9F is the unit of the same number, not a letter of code page 1252.
  EXPECT_EQ(Decode(kJet4, {0xff, 0xfe, 0x80, 0x9f}), u"\u0080\u009F");
}

TEST(TextDecoder, AZeroByteSwitchesTheCompressedFormBothWays) {
  EXPECT_EQ(Decode(kJet4, {0xff, 0xfe, 0x41, 0x42, 0x00, 0x1c, 0x04, 0x00, 0x43}),
            u"AB\u041C"
            u"C");
  // The high byte of a wide unit may be zero without switching.
  EXPECT_EQ(Decode(kJet4, {0xff, 0xfe, 0x00, 0x41, 0x00, 0x42, 0x00, 0x00, 0x43}), u"ABC");
  EXPECT_EQ(Decode(kJet4, {0xff, 0xfe, 0x00, 0x00, 0x43}), u"C");
}

TEST(TextDecoder, AnOddLastByteIsNoCharacter) {
  EXPECT_EQ(Decode(kJet4, {0x41}), u"");
  EXPECT_EQ(Decode(kJet4, {0x41, 0x00, 0x42}), u"A");
  EXPECT_EQ(Decode(kJet4, {0xff, 0xfe, 0x41, 0x00, 0x1c}), u"A");
}

TEST(TextDecoder, ZeroUnitsOfPlainTextStay) {
  EXPECT_EQ(Decode(kJet4, {0x41, 0x00, 0x00, 0x00, 0x42, 0x00}), std::u16string(u"A\0B", 3));
}

TEST(TextDecoder, PiecesMayEndAnywhere) {
  const Bytes mixed{0xff, 0xfe, 0x41, 0x42, 0x00, 0x1c, 0x04, 0x38, 0x04, 0x00, 0x43};
  const Bytes plain{0x41, 0x00, 0x1c, 0x04, 0x42, 0x00};
  const Bytes greek{0xe1, 0xe2};
  const Bytes japanese{0x93, 0xfa, 0x96, 0x7b};
  for (size_t cut = 0; cut <= mixed.size(); cut++)
    EXPECT_EQ(DecodeInTwo(kJet4, mixed, cut),
              u"AB\u041C\u0438"
              u"C")
        << cut;
  for (size_t cut = 0; cut <= plain.size(); cut++)
    EXPECT_EQ(DecodeInTwo(kJet4, plain, cut), u"A\u041CB") << cut;
  for (size_t cut = 0; cut <= greek.size(); cut++)
    EXPECT_EQ(DecodeInTwo({.isUtf16 = false, .codePage = 1253}, greek, cut), u"\u03B1\u03B2") << cut;
  for (size_t cut = 0; cut <= japanese.size(); cut++)
    EXPECT_EQ(DecodeInTwo({.isUtf16 = false, .codePage = 932}, japanese, cut), u"\u65E5\u672C") << cut;
}

TEST(TextDecoder, CodePageTextHasNoCompressedForm) {
  EXPECT_EQ(Decode({.isUtf16 = false, .codePage = 1252}, {0x55, 0x6d, 0x73, 0xe4, 0x74, 0x7a, 0x65}),
            u"Ums\u00E4tze");
  EXPECT_EQ(Decode({.isUtf16 = false, .codePage = 1251}, {0xff, 0xfe}), u"\u044F\u044E");
}

}  // namespace
}  // namespace tolvane
