#include "store/ValueStream.h"

#include "store/DataFileReader.h"
#include "tests/store/StoreTest.h"

namespace tolvane {
namespace {

class ValueStream : public CStoreTest {
 protected:
  void Write(const Bytes& bytes) {
    WriteFileBytes(DataPath(1), bytes);
    ASSERT_TRUE(m_stream.Open(DataPath(1)));
  }
  // The next text, or why there is none.
  std::u16string Next(size_t maximumUnits = CValueStream::kAllUnits) {
    uint32_t count = 0;
    std::u16string text;
    if (!m_stream.ReadCount(count)) return u"<no count>";
    return m_stream.ReadText(count, text, maximumUnits) ? text : u"<cut>" + text;
  }

  CValueStream m_stream;
};

TEST_F(ValueStream, DecodesTwoBytesAUnitWhateverTheCount) {
  Write({0, 0, 0, 0,               // no bytes
         1, 0, 0, 0, 'x',          // one byte is no unit
         2, 0, 0, 0, 'a', 0,       // no byte behind the text
         3, 0, 0, 0, 'b', 0, 'x',  // its last byte is no text
         4, 0, 0, 0, 'c', 0, 'd', 0x01});
  for (const auto* text : {u"", u"", u"a", u"b", u"c\u0164"}) EXPECT_EQ(Next(), text);
  EXPECT_TRUE(m_stream.IsAtEnd());
  EXPECT_EQ(Next(), u"<no count>");
}

TEST_F(ValueStream, ALyingCountGivesNoMoreThanTheFileHolds) {
  for (const uint8_t top : Bytes{0x00, 0x7F, 0x80, 0xFF}) {
    Write({0xFF, 0xFF, 0xFF, top, 'a', 0, 'b', 0, 'c'});
    EXPECT_EQ(Next(), u"<cut>ab");
    EXPECT_EQ(m_stream.GetBytesLeft(), 0U);
    EXPECT_EQ(Next(), u"<no count>");
  }
  Write({0xFF, 0xFF, 0xFF});
  EXPECT_EQ(Next(), u"<no count>");
}

TEST_F(ValueStream, TheUnitsBeyondTheWantedOnesAreSkipped) {
  WriteRows(1, {{std::u16string(500'000, u'm'), u"next"}});
  ASSERT_TRUE(m_stream.Open(DataPath(1)));
  EXPECT_EQ(Next(3), u"mmm");
  EXPECT_EQ(Next(3), u"nex");
  EXPECT_TRUE(m_stream.IsAtEnd());
}

TEST_F(ValueStream, AMissingFileIsAtItsEnd) {
  EXPECT_FALSE(m_stream.Open(DataPath(404)));
  EXPECT_TRUE(m_stream.IsAtEnd());
  EXPECT_EQ(Next(), u"<no count>");
}

TEST_F(ValueStream, TheDataFileReaderGivesWhatIsThereAndThenTheEnd) {
  CDataFileReader reader;
  std::u16string text = u"old";
  EXPECT_TRUE(reader.IsEnd());
  EXPECT_FALSE(reader.Open());
  EXPECT_FALSE(reader.ReadNext(text));
  EXPECT_EQ(text, u"old");

  Write({7,    0,    0,    0,    'a', 0, 0,  0, 'b', 0, 0,  // a zero unit within
         0,    0,    0,    0,                               //
         0xF0, 0xFF, 0xFF, 0xFF, 'c', 0, 'd'});
  reader.SetPath(DataPath(1));
  ASSERT_TRUE(reader.Open());
  for (const auto* expected : {u"a", u"", u"c"}) {
    EXPECT_FALSE(reader.IsEnd());
    EXPECT_TRUE(reader.ReadNext(text));
    EXPECT_EQ(text, expected);
  }
  EXPECT_TRUE(reader.IsEnd()) << "a count near 2^32 must not wrap the position";
  EXPECT_FALSE(reader.ReadNext(text));
}

}  // namespace
}  // namespace tolvane
