// The data step: which values reach which field, what is left out, and what a refusal costs.
#include "tests/platform/ScratchFolder.h"
#include "tests/writer/WriterTest.h"

namespace tolvane {

class CDataTest : public CWriterTest {
 protected:
  using CWriterTest::CWriterTest;

  // One table with one column of `type` and one row a value; the texts that were set.
  Lines SaveValues(uint8_t type, const Row& values) {
    CAccessTable& table = AddTable(u"T", {{u"c", type, 4, 0}});
    std::vector<Row> rows;
    for (const std::u16string& value : values) rows.push_back({value});
    WriteRows(table, rows);
    EXPECT_TRUE(m_writer.Save());
    return m_engine.log.Find("set");
  }
  // The value behind a long memo is found, too.
  void ExpectPiecesOfMemo() {
    const std::u16string memo(100'000, u'\u6161');
    WriteRows(AddTable(u"T", {{u"memo", kTypeMemo, 0}, {u"text"}}), {{memo, u"x"}});
    ASSERT_TRUE(m_writer.Save());
    EXPECT_EQ(m_engine.log.Find("set"), (Lines{"set 0 bytes 200000 aaaa..200000", "set 1 x"}));
  }
};

TEST_F(CDataTest, RowsAreCopiedInOrder) {
  WriteRows(AddTable(u"MSysRelationships", {{u"a"}}), {{u"s"}});
  WriteRows(AddTable(u"MSysACEs", {{u"a"}}), {{u"s"}, {u"s"}});
  WriteRows(AddTable(u"Orders", {{u"a"}, {u"b", kTypeBoolean}}), {{u"x", u"True"}, {u"", u"False"}});
  ASSERT_TRUE(m_writer.Save());
  EXPECT_EQ(CallsFrom("open"),
            (Lines{"open " + ToUtf8(InFolder(u"new.mdb")), "rows SELECT * FROM [Orders]", "add", "set 0 x",
                   "set 1 True", "update", "add", "set 1 False", "update", "close rows", "close database"}));
  // Rows of system tables do not count, except those of the relationships.
  EXPECT_EQ(CProgressStatus::Instance().GetMax(), 3);
  EXPECT_EQ(CProgressStatus::Instance().GetPos(), 3);
  EXPECT_EQ(CStatusProgress::Instance().GetText(), u"(Step 2/2)Saving table data: Orders");
  EXPECT_EQ(GetLog(), "Saving relations\r\nSaving data for Orders...");
  EXPECT_EQ(Outcome(), Lines{"1 tables, 2 records"});
}

TEST_F(CDataTest, EmptyRowsAreNotStoredAndTheirNewRecordIsUsedByTheNext) {
  WriteRows(AddTable(u"T", {{u"a"}, {u"b"}}), {{u"", u""}, {u"", u"x"}, {u"", u""}});
  ASSERT_TRUE(m_writer.Save());
  EXPECT_EQ(CallsFrom("add"), (Lines{"add", "set 1 x", "update", "add", "close rows", "close database"}));
  EXPECT_EQ(Outcome(), Lines{"1 tables, 1 records, 2 empty rows"});
  EXPECT_EQ(CProgressStatus::Instance().GetPos(), 3);
}

TEST_F(CDataTest, ValuesAreReadAsTheirTypes) {
  const struct {
    uint8_t type;
    Row values;
    Lines set;
  } cases[] = {
      {kTypeByte, {u"127", u"128", u"200", u"-5", u"-128", u"-129", u"0"}, {"127", "-5", "-128", "0"}},
      {kTypeInteger, {u"32767", u"40000", u"-32768", u"-32769"}, {"32767", "-32768"}},
      {kTypeLong, {u"0042", u" -7x", u"99999999999", u"abc"}, {"42", "-7", "2147483647", "0"}},
      // Dates get digits at two places.
      {kTypeDate,
       {u"07/04/2001 ", u"07/04/x901", u"07/04/2x01", u"12:00:00 AM"},
       {"2001-07-04", "0901-07-04", "2001-07-04", "1899-12-30"}},
      {kTypeGuid, {u"{0A000000-0000-0000-0000-000000000000}"}, {"{0A000000-0000-0000-0000-000000000000}"}},
  };
  for (const auto& test : cases) {
    SCOPED_TRACE(int{test.type});
    m_data.GetTables().Clear();
    m_engine.log.calls.clear();
    Lines set;
    for (const std::string& value : test.set) set.push_back("set 0 " + value);
    EXPECT_EQ(SaveValues(test.type, test.values), set);
    EXPECT_EQ(GetSummary().fieldsDropped, test.values.size() - set.size());
  }
}

class CExactDataTest : public CDataTest {
 protected:
  CExactDataTest() : CDataTest(kExactRules) {}
};

// Null sets nothing, the empty text does, and what the new database has no type for becomes one that holds
// it.
TEST_F(CExactDataTest, ValuesArriveAsTheyAre) {
  CAccessTable& table = AddTable(u"T", {{u"byte", kTypeByte, 1, kColumnFixed},
                                        {u"text", kTypeText},
                                        {u"number", kTypeBigInt, 8},
                                        {u"object", kTypeOle, 0},
                                        {u"result", kTypeDouble, 39}});
  table.columns.GetAt(4)->extendedFlags = kColumnCalculated;
  WriteText(table.GetObjectFilePath(), "xxabcy");
  CAccessTableDataFile file(m_folder.GetPath());
  ASSERT_TRUE(file.CreateDataFile(table.GetDefinitionOffset()));
  file.WriteRecord(std::vector<uint8_t>{200});
  file.WriteRecord({});
  file.WriteRecord(std::vector<uint8_t>{0xFE, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF});
  file.WriteRecord(std::vector<uint8_t>{2, 0, 0, 0, 0, 0, 0, 0, 3, 0, 0, 0, 0, 0, 0, 0});
  file.WriteRecord(std::vector<uint8_t>{kTypeSingle, 0, 0, 0, 0x80, 0x3E});
  for (int i = 0; i < 5; ++i) file.WriteNull();
  file.CloseDataFile();
  table.header.rowCount = 2;
  ASSERT_TRUE(m_writer.Save());
  EXPECT_EQ(CallsFrom("add"),
            (Lines{"add", "set 0 200", "set 1 ", "set 2 -2", "set 3 bytes 3 abc..3", "set 4 0.25", "update",
                   "add", "update", "close rows", "close database"}));
  EXPECT_EQ(m_engine.log.Find("described field number"),
            Lines{"described field number type=20 size=0 attributes=34 default="});
}

// Many records are prepared ahead of their turn; what is unusual, too long or cut short comes in between as
// ever.
TEST_F(CExactDataTest, PreparedRecordsAreStoredAsAllOthers) {
  constexpr uint32_t kRows = 30'000;
  CAccessTable& table =
      AddTable(u"T", {{u"text"}, {u"memo", kTypeMemo, 0}, {u"byte", kTypeByte, 1, kColumnFixed}});
  CAccessTableDataFile file(m_folder.GetPath());
  ASSERT_TRUE(file.CreateDataFile(table.GetDefinitionOffset()));
  // The last count stands at the offset that means none in layouts.
  file.WriteValue(std::u16string((kAbsent - 2 * kCountBytes - 1) / 2, u'y'));
  file.WriteNull();
  file.WriteRecord(std::vector<uint8_t>{1});
  for (uint32_t row = 1; row < kRows; ++row) {
    row % 11 == 3 ? file.WriteNull() : file.WriteValue(ToDecimal(uint64_t{row}));
    row % 9'000 == 5 ? file.WriteValue(std::u16string(100'000, u'x')) : file.WriteNull();
    row % 13 == 1 ? file.WriteNull() : file.WriteRecord(std::vector<uint8_t>{static_cast<uint8_t>(row)});
  }
  file.WriteValue(u"cut short");
  file.CloseDataFile();
  table.header.rowCount = kRows + 9;
  const auto save = [&](bool hasBatches, uint32_t threads) {
    m_engine.log.calls.clear();
    m_engine.log.hasBatches = hasBatches;
    m_engine.log.refuse = [](const std::string& line) -> CDaoResult {
      return {line == "set 0 1117" || line == "set 2 170" ? EDaoError::DataConversion : EDaoError::None, u""};
    };
    ShownJob().SetThreads(threads);
    EXPECT_TRUE(m_writer.Save());
    ShownJob().SetThreads(0);
    Lines all = CallsFrom("add");
    for (const std::string& line : Outcome()) all.push_back(line);
    return all;
  };
  const Lines oneByOne = save(false, 1);
  EXPECT_EQ(m_engine.log.Find("update").size(), kRows + 1);
  EXPECT_EQ(m_engine.log.Find("set 1 bytes 200000").size(), 4u);
  for (const uint32_t threads : {1u, 2u, 8u}) EXPECT_TRUE(save(true, threads) == oneByOne) << threads;
}

// From whichever record on, a full disk and a stop end the save.
TEST_F(CExactDataTest, PreparedRecordsEndWithTheSave) {
  CAccessTable& table = AddTable(u"T", {{u"text"}});
  WriteRows(table, std::vector<Row>(20'000, {u"a text of a record"}));
  m_engine.log.hasBatches = true;
  ShownJob().SetThreads(8);
  for (const int last : {1, 2'000, 19'999}) {
    for (const bool isFull : {true, false}) {
      CSavingStatus::Instance().SetSaving(true);
      m_engine.log.calls.clear();
      m_engine.log.refuse = [last, isFull, updates = 0](const std::string& line) mutable -> CDaoResult {
        if (line != "update" || ++updates < last) return CDaoResult::Ok();
        if (isFull) return {EDaoError::DiskFull, u"full"};
        CSavingStatus::Instance().SetSaving(false);
        return CDaoResult::Ok();
      };
      EXPECT_FALSE(m_writer.Save());
      EXPECT_EQ(m_engine.log.Find("update").size(), static_cast<size_t>(last));
      EXPECT_EQ(GetSummary().failure, isFull ? u"full" : u"");
    }
  }
  ShownJob().SetThreads(0);
}

TEST_F(CDataTest, LongMemosAreHandedOverInPieces) {
  ExpectPiecesOfMemo();
}
TEST_F(CExactDataTest, LongMemosAreHandedOverInPieces) {
  ExpectPiecesOfMemo();
}

TEST_F(CDataTest, OleValuesComeFromTheirFiles) {
  const std::u16string path = InFolder(u"ole_temp_0.Ole");
  WriteText(path, std::string(250'000, 'z'));
  EXPECT_EQ(SaveValues(kTypeOle, {path, InFolder(u"gone.Ole")}), Lines{"set 0 bytes 250000 zzzz..250000"});
  ASSERT_EQ(GetSummary().losses.size(), 1u);
  EXPECT_EQ(GetSummary().losses[0].records, 1u);  // nothing else was in that row
  EXPECT_NE(ToUtf8(GetSummary().losses[0].reason).find("temporary file cannot be opened"), std::string::npos);
}

TEST_F(CDataTest, RefusedValuesAndRecordsAreCountedAndTheRestIsSaved) {
  WriteRows(AddTable(u"T", {{u"a"}, {u"b"}}), {{u"bad", u"1"}, {u"ok", u"2"}, {u"bad", u""}, {u"ok", u"4"}});
  Refuse("set 0 bad", EDaoError::DataConversion, u"not convertible");
  ASSERT_TRUE(m_writer.Save());
  // The record of "1" lacks one value; nothing of the third was left.
  EXPECT_EQ(Outcome(), (Lines{"1 tables, 3 records", "T lost 1 records, 1 values: not convertible"}));
  EXPECT_NE(GetLog().find("1 value of table T could not be saved: not convertible"), std::string::npos);

  Refuse("update", EDaoError::DuplicateKey, u"duplicate", 1);
  m_engine.log.calls.clear();
  ASSERT_TRUE(m_writer.Save());
  EXPECT_EQ(m_engine.log.Find("add").size(), 4u) << "the next one is added afresh";
  EXPECT_EQ(Outcome(), (Lines{"1 tables, 3 records", "T lost 1 records, 0 values: duplicate"}));
}

// Every call of a save in turn reports the end of space: the save must end there, say so, and leave no table,
// recordset or database open.
TEST_F(CDataTest, NoSpaceAtAnyCallEndsTheSave) {
  WriteRows(AddTable(u"A", {{u"a"}}), {{u"1"}, {u"2"}});
  WriteRows(AddTable(u"B", {{u"a"}}), {{u"3"}});
  ASSERT_TRUE(m_writer.Save());
  const Lines all = m_engine.log.calls;
  for (size_t call = 0; call < all.size(); ++call) {
    SCOPED_TRACE(all[call]);
    if (all[call] == "close table") continue;  // has no result
    const bool opens = all[call].starts_with("create") || all[call].starts_with("open");
    CSavingStatus::Instance().SetSaving(true);
    m_engine.log.calls.clear();
    m_engine.log.refuse = [this, call](const std::string&) {
      return m_engine.log.calls.size() == call + 1 ? CDaoResult{EDaoError::DiskFull, u"full"}
                                                   : CDaoResult::Ok();
    };
    EXPECT_FALSE(m_writer.Save());
    EXPECT_EQ(GetSummary().failure, u"full");
    EXPECT_TRUE(opens || m_engine.log.calls.back() == "close database");
    EXPECT_LE(m_engine.log.calls.size(), call + 3) << "went on after the end";
  }
}

// So must a stop, before the next table, column, value or row.
TEST_F(CDataTest, AStopAtAnyCallEndsTheSave) {
  WriteRows(AddTable(u"A", {{u"a"}, {u"b"}}), {{u"1", u"2"}, {u"3", u"4"}});
  WriteRows(AddTable(u"B", {{u"a"}}), {{u"5"}});
  ASSERT_TRUE(m_writer.Save());
  const Lines all = m_engine.log.calls;
  for (size_t call = 1; call + 2 < all.size(); ++call) {
    SCOPED_TRACE(all[call - 1]);
    if (all[call - 1] == "close table") continue;  // nobody can stop there
    CSavingStatus::Instance().SetSaving(true);
    m_engine.log.calls.clear();
    m_engine.log.refuse = [this, call](const std::string&) {
      if (m_engine.log.calls.size() == call) CSavingStatus::Instance().SetSaving(false);
      return CDaoResult::Ok();
    };
    EXPECT_FALSE(m_writer.Save());
    EXPECT_LE(m_engine.log.calls.size(), call + 5) << "went on: " << m_engine.log.calls[call];
    EXPECT_EQ(m_engine.log.calls.back(), "close database");
    EXPECT_TRUE(GetSummary().failure.empty());
  }
}

TEST_F(CDataTest, AFullDatabaseKeepsWhatItHasAndTheRestIsCounted) {
  WriteRows(AddTable(u"A", {{u"a"}}), {{u"1"}, {u"2"}, {u"3"}});
  WriteRows(AddTable(u"B", {{u"a"}}), {{u"4"}});
  m_engine.log.refuse = [updates = 0](const std::string& line) mutable -> CDaoResult {
    if (line != "update" || ++updates == 1) return CDaoResult::Ok();
    return {EDaoError::DatabaseTooLarge, u"2 GB"};
  };
  ASSERT_TRUE(m_writer.Save());
  EXPECT_EQ(Outcome(), (Lines{"2 tables, 1 records", "A lost 2 records, 0 values: 2 GB",
                              "B lost 1 records, 0 values: 2 GB"}));
}

TEST_F(CDataTest, ADataFileThatEndsInsideARowKeepsItsValuesAndTheMissingRowsAreCounted) {
  CAccessTable& table = AddTable(u"T", {{u"a"}, {u"b"}});
  WriteRows(table, {{u"1", u"2"}, {u"3"}});
  table.header.rowCount = 5;
  AddTable(u"Gone", {{u"a"}}).header.rowCount = 2;
  ASSERT_TRUE(m_writer.Save());
  EXPECT_EQ(m_engine.log.Find("set"), (Lines{"set 0 1", "set 1 2", "set 0 3"}));
  EXPECT_EQ(Outcome(), (Lines{"2 tables, 2 records",
                              "T lost 3 records, 0 values: The table's temporary file ends early.",
                              "Gone lost 2 records, 0 values: The table's temporary file cannot be read."}));
  EXPECT_EQ(m_engine.log.Find("rows"), Lines{"rows SELECT * FROM [T]"});
}

}  // namespace tolvane
