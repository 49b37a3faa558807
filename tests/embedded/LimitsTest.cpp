// What the engine refuses, with which error, and that a refusal leaves everything else as it was.
#include <gtest/gtest.h>

#include "embedded/PageFile.h"
#include "embedded/UsageMap.h"
#include "tests/embedded/DatabaseFixture.h"

namespace tolvane::test {
namespace {

class Limits : public AllFormats {};

class Jet4Limits : public DatabaseFixture {};

TEST_P(Limits, NamesThatTheFormatDoesNotTake) {
  Create();
  auto table = NewTable(u"T");
  std::unique_ptr<CDaoTableDef> other;
  for (const std::u16string& name :
       {std::u16string(), std::u16string(65, u'x'), std::u16string(u" x"), std::u16string(u"a.b"),
        std::u16string(u"`a"), std::u16string(u"a]"), std::u16string(u"a\nb"), std::u16string(1, u'\0')}) {
    EXPECT_EQ(table->CreateField(name, kDaoLong, 4, 0x21).code, EDaoError::InvalidName) << ToUtf8(name);
    EXPECT_EQ(m_database->CreateTableDef(name, 0, u"", u"", other).code, EDaoError::InvalidName);
  }
  const std::u16string odd(64, IsJet3() ? u'\u00D6' : char16_t{0xD800});
  ExpectOk(table->CreateField(odd, kDaoLong, 4, 0x21));
  const CDaoResult foreign = table->CreateField(u"x\u0416", kDaoLong, 4, 0x21);
  EXPECT_EQ(foreign.code, IsJet3() ? EDaoError::InvalidName : EDaoError::None);
  ExpectOk(table->Append());
  EXPECT_EQ(CloseAndRead(u"T").columns[0].name, odd);
}

TEST_P(Limits, TheSameNameTwice) {
  Create();
  ExpectOk(AddTable(u"\u00C4pfel", {{u"N", kDaoLong}}));
  EXPECT_EQ(AddTable(u"\u00E4PFEL ", {{u"N", kDaoLong}}).code, EDaoError::TableExists);
  EXPECT_EQ(AddTable(u"msysobjects", {{u"N", kDaoLong}}).code, EDaoError::TableExists);
  ExpectOk(AddTable(u"Apfel", {{u"N", kDaoLong}}));
  const auto table = NewTable(u"T", {{u"Name", kDaoLong}});
  EXPECT_EQ(table->CreateField(u"NAME", kDaoText, 4, 0x22).code, EDaoError::DuplicateField);
  ExpectOk(table->Append());
  EXPECT_EQ(CloseAndRead(u"T").columns.size(), 1u);
  EXPECT_EQ(Read(u"MSysObjects").rows.size(), EmptyObjects() + 3);
}

TEST_P(Limits, FieldsThatATableDoesNotTake) {
  Create();
  auto table = NewTable(u"T");
  EXPECT_EQ(table->Append().code, EDaoError::InvalidArgument) << "no fields";
  EXPECT_EQ(table->CreateField(u"A", 13, 0, 0x21).code, EDaoError::InvalidDataType);
  EXPECT_EQ(table->CreateField(u"A", kDaoText, 256, 0x22).code, EDaoError::InvalidArgument);
  EXPECT_EQ(table->CreateField(u"A", kDaoText, 10, kDaoAutoIncrement).code, EDaoError::InvalidDataType);
  ExpectOk(table->CreateField(u"A", kDaoLong, 4, kDaoAutoIncrement));
  EXPECT_EQ(table->CreateField(u"B", kDaoLong, 4, kDaoAutoIncrement).code, EDaoError::InvalidArgument);
  for (uint64_t i = 1; i < 255; i++) ExpectOk(table->CreateField(u"F" + ToDecimal(i), kDaoGuid, 16, 0x21));
  EXPECT_EQ(table->CreateField(u"Last", kDaoLong, 4, 0x21).code, EDaoError::TooManyFields);
  EXPECT_EQ(table->Append().code, EDaoError::RecordTooLarge) << "254 GUIDs fill more than a page";
  CloseAndCheck();
  EXPECT_EQ(PageCount(), EmptyPages());
}

TEST_P(Limits, IndexesThatATableDoesNotTake) {
  Create();
  auto table = NewTable(u"T");
  for (uint64_t i = 0; i < 12; i++) ExpectOk(table->CreateField(u"F" + ToDecimal(i), kDaoLong, 4, 0x21));
  CDaoIndexInfo index;
  index.name = u"I";
  EXPECT_EQ(table->CreateIndex(index).code, EDaoError::InvalidArgument) << "no fields";
  index.fields = {{u"f3"}, {u"X"}};
  EXPECT_EQ(table->CreateIndex(index).code, EDaoError::ItemNotFound);
  index.fields.clear();
  for (uint64_t i = 0; i < 11; i++) index.fields.push_back({u"F" + ToDecimal(i)});
  EXPECT_EQ(table->CreateIndex(index).code, EDaoError::InvalidArgument) << "eleven fields";
  index.fields.pop_back();
  for (uint64_t i = 0; i < 32; i++) {
    index.name = u"I" + ToDecimal(i);
    ExpectOk(table->CreateIndex(index));
    EXPECT_NE(table->CreateIndex(index).code, EDaoError::None) << "the same name twice";
  }
  index.name = u"One more";
  EXPECT_EQ(table->CreateIndex(index).code, EDaoError::InvalidArgument);
  ExpectOk(table->Append());
  CloseAndCheck();
}

TEST_P(Limits, RecordsThatDoNotFit) {
  Create();
  std::vector<SField> fields;
  for (uint64_t i = 0; i < 20; i++) fields.push_back({u"F" + ToDecimal(i)});
  fields.push_back({u"Binary", kDaoLongBinary});
  ExpectOk(AddTable(u"T", fields));
  OpenTable(u"T");
  const char16_t letter = IsJet3() ? u'\u00D6' : u'\u0416';
  Texts values(8, std::u16string(245, letter));
  ExpectOk(AddRow(values));
  values.emplace_back(1, letter);
  ExpectOk(AddRow(values));
  values.back().append(50, letter);
  EXPECT_EQ(AddRow(values).code, EDaoError::RecordTooLarge);
  EXPECT_EQ(m_recordset->Update().code, EDaoError::NoAddNew) << "the record is gone";
  EXPECT_EQ(AddRow({std::u16string(256, u'a')}).code, EDaoError::FieldTooSmall);
  ExpectOk(SetText(0, u"short enough"));
  EXPECT_EQ(SetText(21, u"x").code, EDaoError::ItemNotFound);
  ExpectOk(m_recordset->Update());
  EXPECT_EQ(SetText(0, u"x").code, EDaoError::NoAddNew);
  // The pages of a long value go with its record.
  CPatternSource longValue(9000);
  ExpectOk(m_recordset->AddNew());
  ExpectOk(m_recordset->SetFieldValue(20, longValue));
  for (size_t i = 0; i < values.size(); i++) ExpectOk(SetText(i, values[i]));
  EXPECT_EQ(m_recordset->Update().code, EDaoError::RecordTooLarge);
  const SStoredTable table = CloseAndRead(u"T");
  ASSERT_EQ(table.rows.size(), 3u);
  EXPECT_EQ(ToUtf8(Text(table.rows[2][0])), "short enough");
}

TEST_P(Limits, WhatCannotBeOpened) {
  Create();
  ExpectOk(AddTable(u"T", {{u"N", kDaoLong}}));
  OpenTable(u"T");
  std::unique_ptr<CDaoRecordset> other;
  EXPECT_EQ(m_database->OpenRecordset(u"SELECT * FROM [T]", other).code, EDaoError::NotSupported)
      << "open already";
  EXPECT_EQ(m_database->OpenRecordset(u"SELECT * FROM [U]", other).code, EDaoError::ObjectNotFound);
  EXPECT_EQ(m_database->OpenRecordset(u"SELECT * FROM [MSysACEs]", other).code, EDaoError::NotSupported);
  EXPECT_EQ(m_database->OpenRecordset(u"SELECT N FROM T", other).code, EDaoError::NotSupported);
  ExpectOk(CloseTable());
  ExpectOk(m_database->OpenRecordset(u"SELECT * FROM [T]", other));
  other.reset();
  ExpectOk(m_database->Close());
  const std::string before = ReadText(m_path);
  ExpectOk(m_engine->OpenDatabase(m_path, false, true, u"", m_database));
  EXPECT_EQ(AddTable(u"New", {{u"N", kDaoLong}}).code, EDaoError::NotSupported) << "read only";
  ExpectOk(m_database->Close());
  EXPECT_TRUE(ReadText(m_path) == before);
}

// A full file refuses rows and values one by one, still takes what fits, and closes soundly, without an index
// for which there is no room.
TEST_P(Limits, AFullFileIsStillSound) {
  Create({.maxPages = EmptyPages() + 180, .tempFolder = {}});
  ExpectOk(AddTable(u"T", {{u"Text"}, {u"Binary", kDaoLongBinary}, kCounter},
                    {{.name = u"Key", .fields = {{u"Id"}}, .primary = true}}));
  OpenTable(u"T");
  CPatternSource tooLong(2'000'000);
  ExpectOk(AddRow({u"first"}));
  ExpectOk(m_recordset->AddNew());
  EXPECT_EQ(m_recordset->SetFieldValue(1, tooLong).code, EDaoError::DatabaseTooLarge);
  ExpectOk(SetText(0, u"second"));
  ExpectOk(m_recordset->Update());
  size_t stored = 2;
  const std::u16string text(255, IsJet3() ? u'\u00D6' : u'\u0416');
  while (AddRow({text}).IsOk()) stored++;
  EXPECT_GT(stored, 1000u);
  for (int i = 0; i < 2; i++) EXPECT_EQ(AddRow({text}).code, EDaoError::DatabaseTooLarge);
  const CDaoResult closed = CloseTable();
  ExpectOk(closed);
  EXPECT_EQ(ToUtf8(closed.text),
            "Index \"Key\" was left out: the database has reached the largest size that its format allows.");
  EXPECT_EQ(CloseAndRead(u"T").rows.size(), stored);
  EXPECT_LE(PageCount(), EmptyPages() + 180);
}

// There is room for its definition and maps, not for its indexes.
TEST_P(Limits, ATableThatDoesNotFitLeavesNothingBehind) {
  Create({.maxPages = EmptyPages() + 3, .tempFolder = {}});
  std::vector<CDaoIndexInfo> indexes;
  for (int i = 0; i < 5; i++) indexes.push_back({.name = u"I" + ToDecimal(i), .fields = {{u"N"}}});
  EXPECT_EQ(AddTable(u"T", {{u"N", kDaoLong}}, indexes).code, EDaoError::DatabaseTooLarge);
  EXPECT_EQ(CloseAndRead(u"MSysObjects").rows.size(), EmptyObjects());
}

TEST_F(Jet4Limits, AFailingDiskIsReportedAgainAndAgain) {
  Create();
  ExpectOk(m_database->Close());
  CPageFile file(kLayoutJet4, 1000);
  ExpectOk(file.Open(m_path, EFileAccess::Read));  // so that every write fails
  std::vector<uint8_t> page(kLayoutJet4.pageSize);
  ExpectOk(file.Write(7, page));
  EXPECT_EQ(file.Flush().code, EDaoError::DiskError);
  EXPECT_EQ(file.Read(1, page).code, EDaoError::DiskError);
  uint32_t number = 0;
  EXPECT_EQ(file.Allocate(EPageUse::Content, number).code, EDaoError::DiskError);
  EXPECT_EQ(file.Close().code, EDaoError::DiskError);
}

std::vector<uint32_t> PagesOf(const CPageSet& set) {
  std::vector<uint32_t> pages;
  set.ForEach([&](uint32_t page) { pages.push_back(page); });
  return pages;
}

// Rows of maps grow in place while their page has room, and refer to pages of bits beyond.
TEST_P(Limits, MapsTakeTheFormThatTheirPagesNeed) {
  Create();
  ExpectOk(m_database->Close());
  CPageFile file(IsJet3() ? kLayoutJet3 : kLayoutJet4, 100000);
  ExpectOk(file.Open(m_path, EFileAccess::ReadWrite));
  std::vector<uint32_t> alone, crowded;
  ExpectOk(CreateUsageMaps(file, 2, alone));
  ExpectOk(CreateUsageMaps(file, 57, crowded));
  uint32_t page = 0;
  while (file.GetPageCount() < 33500) ExpectOk(file.Allocate(EPageUse::Content, page));
  CPageSet far, wide, all;
  for (uint32_t i = 33100; i < 33500; i += 3) far.Add(i);
  for (uint32_t i = 100; i < 15000; i += 7) wide.Add(i);
  for (uint32_t i = 20; i < 33500; i += 11) all.Add(i);
  ExpectOk(StoreUsageMap(file, alone[0], wide));
  ExpectOk(StoreUsageMap(file, alone[1], far));
  ExpectOk(StoreUsageMap(file, crowded[0], far));
  ExpectOk(StoreUsageMap(file, crowded[5], wide));
  ExpectOk(StoreUsageMap(file, crowded[56], wide));
  ExpectOk(StoreUsageMap(file, crowded[56], all));
  CPageSet loaded;
  ExpectOk(LoadUsageMap(file, crowded[56], loaded));
  EXPECT_EQ(PagesOf(loaded), PagesOf(all));
  ExpectOk(LoadUsageMap(file, alone[1], loaded));
  EXPECT_EQ(PagesOf(loaded), PagesOf(far));
  // The map's own two pages (Jet 3: three) come from the free ones, the lowest first.
  for (uint32_t released = IsJet3() ? 29997 : 29998; released <= 30000; released++) file.Release(released);
  ExpectOk(StoreGlobalMap(file));
  ExpectOk(file.Close());

  EXPECT_EQ(ReadStoredMap(m_path, alone[0]), PagesOf(wide));
  EXPECT_EQ(ReadStoredMap(m_path, alone[1]), PagesOf(far));
  EXPECT_EQ(ReadStoredMap(m_path, crowded[0]), PagesOf(far));
  EXPECT_EQ(ReadStoredMap(m_path, crowded[5]), PagesOf(wide));
  EXPECT_EQ(ReadStoredMap(m_path, crowded[56]), PagesOf(all));
  EXPECT_EQ(Row(alone[0])[0], '\0');
  EXPECT_GT(Row(alone[0]).size(), 1800u);
  EXPECT_EQ(Row(alone[1]).size(), IsJet3() ? 133u : 69u) << "the bits start far behind";
  EXPECT_EQ(Row(alone[1]).substr(0, 5), '\0' + LittleEndian(33088, 4)) << "a multiple of 16";
  EXPECT_EQ(Row(crowded[5])[0], '\1');
  EXPECT_EQ(Row(crowded[5]).find_last_not_of('\0'), 2u) << "one page of bits";
  EXPECT_EQ(ReadStoredMap(m_path, 1 << 8), std::vector<uint32_t>{30000});
  EXPECT_EQ(CheckDatabase(m_path).counts.count("F4"), 0u) << "all numbers past the end are free";
}

INSTANTIATE_TEST_SUITE_P(Formats, Limits, kAllFormats, FormatName);

}  // namespace
}  // namespace tolvane::test
