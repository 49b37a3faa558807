#include "engine/TextDecoder.h"

#include "tests/engine/EngineTest.h"

namespace tolvane {
namespace {

constexpr STextCoding kJet4{.isUtf16 = true, .codePage = 0};

constexpr STextCoding CodePage(uint32_t number) {
  return {.isUtf16 = false, .codePage = number};
}

TEST(TextDecoder, FormsOfStoredText) {
  struct SCase {
    const char* what;
    STextCoding coding;
    const char* bytes;
    std::u16string text;
  };
  const SCase cases[] = {
      {"empty", kJet4, "", u""},
      {"UTF-16", kJet4, "1c04 3804 4004", u"\u041C\u0438\u0440"},
      {"a pair of surrogates", kJet4, "6100 3dd800de 6100", u"a\U0001F600a"},
      {"a zero unit of plain text stays", kJet4, "4100 0000 4200", std::u16string(u"A\0B", 3)},
      {"compressed", kJet4, "fffe e4e46b6bf67369e4", u"\u00E4\u00E4kk\u00F6si\u00E4"},
      {"a compressed 80-9F is that unit, no letter of code page 1252", kJet4, "fffe 809f", u"\u0080\u009F"},
      {"nothing compressed", kJet4, "fffe", u""},
      {"a zero byte switches both ways", kJet4, "fffe 4142 00 1c04 00 43", u"AB\u041C\u0043"},
      {"a high byte of zero does not switch", kJet4, "fffe 00 4100 4200 00 43", u"ABC"},
      {"switched there and back", kJet4, "fffe 00 00 43", u"C"},
      {"an odd last byte is no character", kJet4, "41", u""},
      {"an odd last byte behind others", kJet4, "4100 42", u"A"},
      {"an odd last byte of a wide part", kJet4, "fffe 41 00 1c", u"A"},
      {"code page", CodePage(1252), "556d73e4747a65", u"Ums\u00E4tze"},
      {"code pages have no compressed form", CodePage(1251), "fffe", u"\u044F\u044E"},
      {"two bytes a letter", CodePage(932), "93fa 967b", u"\u65E5\u672C"},
  };
  for (const SCase& test : cases) {
    SCOPED_TRACE(test.what);
    const std::vector<uint8_t> bytes = Hex(test.bytes);
    // Pieces may end anywhere.
    for (size_t cut = 0; cut <= bytes.size(); cut++) {
      CTextDecoder decoder;
      std::u16string text;
      decoder.Begin(test.coding, text);
      decoder.Append(std::span(bytes).first(cut));
      decoder.Append(std::span(bytes).subspan(cut));
      decoder.End();
      EXPECT_EQ(ToUtf8(text), ToUtf8(test.text)) << cut;
    }
  }
}

}  // namespace
}  // namespace tolvane
