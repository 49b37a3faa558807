// Exported rows as text: what a program that reads them relies on.
#include <gtest/gtest.h>

#include <algorithm>
#include <nlohmann/json.hpp>

#include "cli/ByteText.h"
#include "cli/JsonOutput.h"
#include "cli/RowFormat.h"
#include "platform/ErrorHandler.h"
#include "platform/Files.h"
#include "platform/Text.h"
#include "store/WorkFolder.h"

namespace tolvane {

using Row = std::vector<std::u16string>;

class CFormatTest : public testing::Test {
 protected:
  void SetUp() override { ASSERT_TRUE(m_folder.Create(GetTempFolder())); }

  std::string Format(EExportFormat form, const Row& columns, const std::vector<Row>& rows) {
    const std::u16string path = m_folder.GetPath() + u"out";
    RemoveFile(path);
    CExportSink sink;
    EXPECT_TRUE(sink.CreateNew(path));
    const auto format = MakeRowFormat(form, sink);
    format->WriteHeader(columns);
    for (const Row& row : rows) {
      format->BeginRow();
      for (const std::u16string& cell : row) format->WriteText(cell);
      format->EndRow();
    }
    EXPECT_TRUE(sink.Close());
    return ReadAll(path);
  }

  static std::string ReadAll(const std::u16string& path) {
    CFileCust file;
    EXPECT_TRUE(file.Open(path, EFileAccess::Read, EFileShare::ReadWrite, EFileCreation::OpenExisting));
    std::string text(file.GetLength(), '\0');
    CErrorHandler handler;
    file.Read({reinterpret_cast<uint8_t*>(text.data()), text.size()}, handler);
    return text;
  }

  CRunFolder m_folder;
};

TEST_F(CFormatTest, CsvQuotesOnlyWhatNeedsIt) {
  EXPECT_EQ(Format(EExportFormat::Csv, {u"a", u"b,c"},
                   {{u"plain", u"say \"hi\""}, {u"two\r\nlines", u""}, {u" blank ", u"\u00fc\u4e2d"}}),
            "a,\"b,c\"\r\nplain,\"say \"\"hi\"\"\"\r\n\"two\r\nlines\",\r\n blank ,\xC3\xBC\xE4\xB8\xAD\r\n");
}

TEST_F(CFormatTest, CsvTellsAnEmptyCellOfASingleColumnFromNoRow) {
  EXPECT_EQ(Format(EExportFormat::Csv, {u"a"}, {{u""}, {u"\""}}), "a\r\n\"\"\r\n\"\"\"\"\r\n");
}

TEST_F(CFormatTest, JsonLinesKeepEveryTextAndEveryColumn) {
  const Row texts{u"\"\\/\b\f\n\r\t", std::u16string(u"zero\0unit", 9), u"\x1F\x7F\u2028", u"\U0001F600"};
  const std::string text = Format(EExportFormat::JsonLines, {u"x", u"x", u"x_2", u"y\n"}, {texts, texts});
  ASSERT_EQ(std::count(text.begin(), text.end(), '\n'), 2);
  const auto row = nlohmann::ordered_json::parse(text.substr(0, text.find('\n')));
  ASSERT_EQ(row.size(), 4u);
  const std::vector<std::string> keys{"x", "x_2", "x_2_2", "y\n"};
  for (size_t i = 0; i < texts.size(); ++i)
    EXPECT_EQ(row[keys[i]].get<std::string>(), ToUtf8(texts[i])) << keys[i];
}

TEST_F(CFormatTest, JsonOfALoneSurrogateIsValid) {
  std::string text;
  AppendJsonString(std::u16string{u'a', char16_t{0xD800}, u'b'}, text);
  EXPECT_EQ(text,
            "\"a\xEF\xBF\xBD"
            "b\"");
}

TEST_F(CFormatTest, BytesStandBetweenTextsInBothForms) {
  for (const auto& [form, expected] :
       {std::pair{EExportFormat::Csv, "a,b,c\r\nx,00ff,y\r\n"},
        {EExportFormat::JsonLines, "{\"a\":\"x\",\"b\":\"00ff\",\"c\":\"y\"}\n"}}) {
    const std::u16string path = m_folder.GetPath() + u"bytes";
    RemoveFile(path);
    CExportSink sink;
    ASSERT_TRUE(sink.CreateNew(path));
    const auto format = MakeRowFormat(form, sink);
    format->WriteHeader({u"a", u"b", u"c"});
    format->BeginRow();
    format->WriteText(u"x");
    format->BeginBytes();
    format->WriteBytes("00");
    format->WriteBytes("ff");
    format->EndBytes();
    format->WriteText(u"y");
    format->EndRow();
    ASSERT_TRUE(sink.Close());
    EXPECT_EQ(ReadAll(path), expected);
  }
}

TEST_F(CFormatTest, ASinkThatFailedStaysFailed) {
  CExportSink sink;
  EXPECT_FALSE(sink.CreateNew(m_folder.GetPath() + u"none/out"));
  EXPECT_FALSE(sink.GetProblem().empty());
  EXPECT_FALSE(sink.Write("x"));
}

TEST(ByteText, HexAndBase64InPieces) {
  const std::vector<uint8_t> bytes{'M', 'a', 'n', 'y', 0x00, 0xFF, 0xFE};
  std::string hex;
  AppendHex(bytes, hex);
  EXPECT_EQ(hex, "4d616e7900fffe");
  const std::span<const uint8_t> all(bytes);
  std::string base64;
  AppendBase64(all.first(3), base64);
  AppendBase64(all.subspan(3, 3), base64);
  AppendBase64(all.subspan(6), base64);
  EXPECT_EQ(base64, "TWFueQD//g==");
  base64.clear();
  AppendBase64(all.first(2), base64);
  EXPECT_EQ(base64, "TWE=");
}

}  // namespace tolvane
