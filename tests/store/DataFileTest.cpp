#include "store/AccessTableDataFile.h"

#include "platform/Text.h"
#include "store/RunMark.h"
#include "store/ValueStream.h"
#include "tests/support/StoreTest.h"

namespace tolvane {
namespace {

class DataFile : public CStoreTest {
 protected:
  // A record of the list of OLE files, with its count off by `lie`.
  static void AppendRecord(Bytes& list, std::u16string_view path, size_t lie = 0) {
    const size_t count = path.size() * 2 + 1 + lie;
    for (int shift = 0; shift < 32; shift += 8) list.push_back(static_cast<uint8_t>(count >> shift));
    for (const char16_t unit : path) {
      list.push_back(static_cast<uint8_t>(unit));
      list.push_back(static_cast<uint8_t>(unit >> 8));
    }
    list.push_back(0);
  }
};

TEST_F(DataFile, ValuesAreCountUnitsAndAZeroByte) {
  CAccessTableDataFile file(GetWorkFolder());
  EXPECT_EQ(file.GetPath(), u"");
  ASSERT_TRUE(file.CreateDataFile(18446744073709551615ULL));
  EXPECT_EQ(file.GetPath(), InFolder(u"18446744073709551615"));
  file.WriteValue(u"A");
  file.WriteValue(u"");
  file.WriteValue(std::u16string_view(u"\u20AC\0\xD800", 3));
  file.CloseDataFile();
  EXPECT_EQ(ReadFileBytes(file.GetPath()), (Bytes{3, 0, 0, 0, 'A',  0,    0,  //
                                                  1, 0, 0, 0, 0,              //
                                                  7, 0, 0, 0, 0xAC, 0x20, 0, 0, 0x00, 0xD8, 0}));
}

TEST_F(DataFile, ValuesAroundTheBufferSizeComeBackWhole) {
  constexpr size_t kHalfBuffer = 128 * 1024;  // in units: 256 KiB
  std::vector<std::u16string> values{u"first"};
  // Each start in the buffer differs, so that counts, units and zero bytes fall on its end.
  for (size_t units = kHalfBuffer - 12; units <= kHalfBuffer + 4; ++units) {
    values.emplace_back(units, static_cast<char16_t>(0x4100 + units % 200));
    values.back().back() = u'e';
    values.emplace_back(units % 3, u'\u20AC');
  }
  values.emplace_back(1'000'000, u'z');
  WriteRows(1, {values});

  CValueStream stream;
  ASSERT_TRUE(stream.Open(SFilePart(DataPath(1))));
  uint64_t length = 0;
  for (const std::u16string& value : values) {
    uint32_t count = 0;
    std::u16string text;
    ASSERT_TRUE(stream.ReadCount(count));
    ASSERT_EQ(count, 2 * value.size() + 1);
    ASSERT_TRUE(stream.ReadText(count, text));
    ASSERT_TRUE(text == value) << value.size() << " units";
    length += 4 + count;
  }
  EXPECT_TRUE(stream.IsAtEnd());
  EXPECT_EQ(GetFileLength(DataPath(1)), length);

  // Handed over in pieces, they make the same file.
  CAccessTableDataFile file(GetWorkFolder());
  ASSERT_TRUE(file.CreateDataFile(2));
  for (const std::u16string& value : values) {
    file.BeginRecord();
    for (std::span<const char16_t> rest(value); !rest.empty();
         rest = rest.subspan(std::min(rest.size(), size_t{70'001})))
      file.AppendToRecord(
          {reinterpret_cast<const uint8_t*>(rest.data()), 2 * std::min(rest.size(), size_t{70'001})});
    file.EndRecord();
  }
  file.CloseDataFile();
  EXPECT_TRUE(ReadFileBytes(DataPath(2)) == ReadFileBytes(DataPath(1)));

  std::vector<uint8_t> beyond;  // has no bytes to point at
  EXPECT_FALSE(stream.ReadRecord(1, beyond));
  EXPECT_TRUE(beyond.empty());
}

TEST_F(DataFile, CreatingAgainStartsFromEmptyAndKeepsThePathOnFailure) {
  CAccessTableDataFile file(GetWorkFolder());
  ASSERT_TRUE(file.CreateDataFile(5));
  file.WriteValue(u"old");
  ASSERT_TRUE(file.CreateDataFile(6));
  EXPECT_EQ(GetFileLength(DataPath(5)), 11U) << "the earlier file is completed first";
  ASSERT_TRUE(file.CreateDataFile(5));
  ASSERT_TRUE(CreateFolder(InFolder(u"7")));  // in the way of the file
  EXPECT_FALSE(file.CreateDataFile(7));
  EXPECT_NE(file.GetLastErrorCode(), kNoSystemError);
  EXPECT_EQ(file.GetPath(), InFolder(u"5"));
  EXPECT_EQ(GetFileLength(DataPath(5)), 0U);
  file.WriteValue(u"lost");
  ASSERT_TRUE(file.CreateDataFile(8));
  file.CloseDataFile();
  EXPECT_EQ(GetFileLength(DataPath(8)), 0U) << "another table's value";
  for (const uint64_t key : {uint64_t{7}, uint64_t{5}, uint64_t{5}})
    EXPECT_TRUE(CAccessTableDataFile(GetWorkFolder()).RemoveDataFile(key));
  EXPECT_EQ(GetFileKind(InFolder(u"7")), EFileKind::Folder);
  EXPECT_FALSE(FileExists(InFolder(u"5")));
}

TEST_F(DataFile, SmallTablesShareAFileAndEachReadsItsOwnRecords) {
  std::vector<SFilePart> parts;
  const std::u16string large(200'000, u'z');
  {
    CAccessTableDataFile file(GetWorkFolder());
    for (const std::u16string& value :
         {std::u16string(u"one"), std::u16string(), large, std::u16string(u"four")}) {
      file.StartDataFile(10 + parts.size());
      if (!value.empty()) file.WriteValue(value);
      file.CloseDataFile();
      parts.push_back(file.GetPart());
    }
  }
  for (const size_t table : {0U, 1U, 2U, 3U}) {
    EXPECT_EQ(parts[table].path == InFolder(ToDecimal(10 + uint64_t{table})), table == 2) << table;
    CValueStream stream;
    ASSERT_TRUE(stream.Open(parts[table]));
    uint32_t count = 0;
    std::u16string text;
    ASSERT_EQ(stream.ReadCount(count) && stream.ReadText(count, text), table != 1);
    EXPECT_TRUE(text == (table == 0 ? u"one" : table == 1 ? u"" : table == 2 ? large : u"four")) << table;
    EXPECT_FALSE(stream.ReadCount(count));
  }
  CAccessTableDataFile(GetWorkFolder()).RemoveSharedFile();
  EXPECT_FALSE(FileExists(parts[0].path));
  ASSERT_TRUE(CreateFolder(parts[0].path));  // in the way of the file
  CAccessTableDataFile file(GetWorkFolder());
  file.StartDataFile(10);
  EXPECT_THROW(file.CloseDataFile(), CFileCustException);
}

TEST_F(DataFile, TheOleListHoldsTheFirstHalfOfEachPathAndTakesWhatThatNames) {
  CAccessTableDataFile file(GetWorkFolder());
  file.AppendOleFileName(u"C:\\a.Ole");
  file.AppendOleFileName(u"");
  file.AppendOleFileName(u"\u20AC");
  EXPECT_EQ(ReadFileBytes(InFolder(u"OleFileNameData")),
            (Bytes{9, 0, 0, 0, 'C',  0,   ':', 0, '\\', 0, 'a', 0, '.',  //
                   1, 0, 0, 0, 0,                                        //
                   2, 0, 0, 0, 0xAC, 0x20}));

  // Twice as long as the name of an existing file: the first half is that file.
  const std::u16string half = InFolder(u"half");
  const std::u16string whole = CFileNameManager(GetWorkFolder()).GetOleFilePath(12);
  EXPECT_EQ(whole, InFolder(u"ole_temp_12.Ole"));
  for (const size_t oddUnit : {size_t{0}, size_t{1}}) {
    WriteFileBytes(half, {1});
    WriteFileBytes(whole, {1});
    file.AppendOleFileName(half + std::u16string(half.size() - oddUnit, u'#'));
    file.AppendOleFileName(whole);
    CAccessTableDataFile(GetWorkFolder()).RemoveOleFiles();
    EXPECT_EQ(ListFolder(InFolder(u"")), std::vector<std::u16string>{u"ole_temp_12.Ole"});
  }
}

TEST_F(DataFile, RemovingOleFilesTouchesNothingElseAndEndsAtALie) {
  for (const auto* name : {u"a", u"b", u"c"}) WriteFileBytes(InFolder(name), {1});
  ASSERT_TRUE(CreateFolder(InFolder(u"folder")));
  Bytes list{0, 0, 0, 0};  // a record without bytes
  AppendRecord(list, InFolder(u"folder"));
  AppendRecord(list, InFolder(u"missing"));
  AppendRecord(list, InFolder(std::u16string_view(u"a\0x", 3)));
  AppendRecord(list, InFolder(u"b"));
  // The half of a long path may name a file of the user's.
  const std::u16string outside = GetTempFolder() + kPathSeparator + MakeRunMark();
  WriteFileBytes(outside, {1});
  AppendRecord(list, outside);
  AppendRecord(list, InFolder(u"folder") + kPathSeparator + u".." + kPathSeparator + u"a");
  AppendRecord(list, InFolder(u"c"), 1);  // one byte past the end
  WriteFileBytes(InFolder(u"OleFileNameData"), list);
  CAccessTableDataFile(GetWorkFolder()).RemoveOleFiles();
  EXPECT_EQ(ListFolder(InFolder(u"")), (std::vector<std::u16string>{u"a", u"c", u"folder"}));
  EXPECT_TRUE(RemoveFile(outside));
}

}  // namespace
}  // namespace tolvane
