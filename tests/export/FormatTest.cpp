// Exported rows as text: what a program that reads them relies on.
#include <gtest/gtest.h>

#include <algorithm>
#include <nlohmann/json.hpp>

#include "export/ByteText.h"
#include "export/JsonText.h"
#include "export/RowFormat.h"
#include "tests/platform/ScratchFolder.h"

namespace tolvane {
namespace {

using Row = std::vector<std::u16string>;
const std::u16string kNull = u"\1";  // stands for no value

std::string Format(EExportFormat form, const Row& columns, const std::vector<Row>& rows,
                   bool tellsNull = false, SExportOptions options = {}) {
  const CScratchFolder folder;
  CExportSink sink;
  EXPECT_TRUE(sink.Open(folder / u"out"));
  options.format = form;
  const auto format = MakeRowFormat(options, sink, tellsNull);
  format->WriteHeader(columns);
  for (const Row& row : rows) {
    format->BeginRow();
    for (const std::u16string& cell : row) {
      if (tellsNull && cell == kNull)
        format->WriteNull();
      else
        format->WriteText(cell);
    }
    format->EndRow();
  }
  EXPECT_TRUE(sink.Close());
  return ReadText(folder / u"out");
}

TEST(RowFormat, NullIsNoEmptyText) {
  const std::vector<Row> rows{{u"", kNull}, {kNull, u""}};
  EXPECT_EQ(Format(EExportFormat::Csv, {u"a", u"b"}, rows, true), "a,b\r\n\"\",\r\n,\"\"\r\n");
  EXPECT_EQ(Format(EExportFormat::JsonLines, {u"a", u"b"}, rows, true),
            "{\"a\":\"\",\"b\":null}\n{\"a\":null,\"b\":\"\"}\n");
}

TEST(RowFormat, CsvIsWhatSpreadsheetsWant) {
  SExportOptions options;
  options.delimiter = ';';
  options.hasByteOrderMark = options.guardsFormulas = true;
  options.nullText = "NULL";
  EXPECT_EQ(Format(EExportFormat::Csv, {u"=a", u"b"}, {{u"1,5;", kNull}, {u"NULL", u"@x"}}, true, options),
            "\xEF\xBB\xBF'=a;b\r\n\"1,5;\";NULL\r\n\"NULL\";'@x\r\n");
}

TEST(RowFormat, CsvQuotesOnlyWhatNeedsIt) {
  const std::vector<Row> rows{
      {u"plain", u"say \"hi\""}, {u"two\r\nlines", u""}, {u" blank ", u"\u00fc\u4e2d"}};
  EXPECT_EQ(Format(EExportFormat::Csv, {u"a", u"b,c"}, rows),
            "a,\"b,c\"\r\nplain,\"say \"\"hi\"\"\"\r\n\"two\r\nlines\",\r\n blank ,\xC3\xBC\xE4\xB8\xAD\r\n");
  // An empty cell of a single column is not an empty line.
  EXPECT_EQ(Format(EExportFormat::Csv, {u"a"}, {{u""}, {u"\""}}), "a\r\n\"\"\r\n\"\"\"\"\r\n");
}

TEST(RowFormat, JsonLinesKeepEveryTextAndEveryColumn) {
  const Row texts{u"\"\\/\b\f\n\r\t", std::u16string(u"zero\0unit", 9), u"\x1F\x7F\u2028", u"\U0001F600"};
  const std::string text = Format(EExportFormat::JsonLines, {u"x", u"x", u"x_2", u"y\n"}, {texts, texts});
  ASSERT_EQ(std::ranges::count(text, '\n'), 2);
  const auto row = nlohmann::ordered_json::parse(text.substr(0, text.find('\n')));
  ASSERT_EQ(row.size(), 4u);
  const char* const keys[] = {"x", "x_2", "x_2_2", "y\n"};
  for (size_t i = 0; i < texts.size(); ++i)
    EXPECT_EQ(row[keys[i]].get<std::string>(), ToUtf8(texts[i])) << keys[i];
  std::string lone;
  AppendJsonString(std::u16string{u'a', char16_t{0xD800}, u'b'}, lone);
  EXPECT_EQ(lone, "\"a\uFFFDb\"") << "half a surrogate pair";
}

TEST(ByteText, HexAndBase64InPieces) {
  const std::vector<uint8_t> bytes{'M', 'a', 'n', 'y', 0x00, 0xFF, 0xFE};
  const std::span<const uint8_t> all(bytes);
  std::string hex, base64, two;
  AppendHex(all, hex);
  EXPECT_EQ(hex, "4d616e7900fffe");
  for (const auto piece : {all.first(3), all.subspan(3, 3), all.subspan(6)}) AppendBase64(piece, base64);
  EXPECT_EQ(base64, "TWFueQD//g==");
  AppendBase64(all.first(2), two);
  EXPECT_EQ(two, "TWE=");
}

}  // namespace
}  // namespace tolvane
