// The data step: which values reach which field, what is left out, and what a refusal costs.
#include "platform/FileCust.h"
#include "tests/writer/WriterTest.h"

namespace tolvane {

class CDataTest : public CWriterTest {
 protected:
  // One table with one column of `type` and one row a value; the texts that were set.
  Lines SaveValues(uint8_t type, const Row& values) {
    CAccessTable& table = AddTable(u"T", {{u"c", type, 4, 0}});
    std::vector<Row> rows;
    for (const std::u16string& value : values) rows.push_back({value});
    WriteRows(table, rows);
    EXPECT_TRUE(m_writer.Save());
    return m_engine.log.Find("set");
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
  EXPECT_EQ(GetSummary().recordsSaved, 2u);
  EXPECT_TRUE(GetSummary().losses.empty());
}

TEST_F(CDataTest, EmptyRowsAreNotStoredAndTheirNewRecordIsUsedByTheNext) {
  WriteRows(AddTable(u"T", {{u"a"}, {u"b"}}), {{u"", u""}, {u"", u"x"}, {u"", u""}});
  ASSERT_TRUE(m_writer.Save());
  EXPECT_EQ(CallsFrom("add"), (Lines{"add", "set 1 x", "update", "add", "close rows", "close database"}));
  EXPECT_EQ(GetSummary().emptyRowsDropped, 2u);
  EXPECT_EQ(CProgressStatus::Instance().GetPos(), 3);
}

TEST_F(CDataTest, ByteValuesKeepTheirRange) {
  EXPECT_EQ(SaveValues(kTypeByte, {u"127", u"128", u"200", u"-5", u"-128", u"-129", u"0"}),
            (Lines{"set 0 127", "set 0 -5", "set 0 -128", "set 0 0"}));
  EXPECT_EQ(GetSummary().fieldsDropped, 3u);
}

TEST_F(CDataTest, OtherRulesLetBytesPass) {
  SRecoveryRules rules = kStandardRules;
  rules.dropBytesAbove127 = false;
  rules.dropEmptyRows = false;
  CAccessSaveRepairedFile writer(m_engine, rules);
  writer.SetData(&m_data);
  writer.SetOutputPath(InFolder(u"new.mdb"));
  WriteRows(AddTable(u"T", {{u"c", kTypeByte, 1, 0}}), {{u"200"}, {u""}});
  ASSERT_TRUE(writer.Save());
  EXPECT_EQ(CallsFrom("add"),
            (Lines{"add", "set 0 200", "update", "add", "update", "close rows", "close database"}));
}

TEST_F(CDataTest, IntegerValuesKeepTheirRange) {
  EXPECT_EQ(SaveValues(kTypeInteger, {u"32767", u"40000", u"-32768", u"-32769"}),
            (Lines{"set 0 32767", "set 0 -32768"}));
}

TEST_F(CDataTest, LongValuesAreReadAsNumbers) {
  EXPECT_EQ(SaveValues(kTypeLong, {u"0042", u" -7x", u"99999999999", u"abc"}),
            (Lines{"set 0 42", "set 0 -7", "set 0 2147483647", "set 0 0"}));
}

TEST_F(CDataTest, DatesGetDigitsAtTwoPlaces) {
  EXPECT_EQ(
      SaveValues(kTypeDate, {u"07/04/2001 ", u"07/04/ /01", u"07/04/2x01", u"07", u"12:00:00 AM"}),
      (Lines{"set 0 07/04/2001 ", "set 0 07/04/0001", "set 0 07/04/2001", "set 0 07", "set 0 12:00:00 AM"}));
}

TEST_F(CDataTest, OtherValuesStandAsTheyAre) {
  EXPECT_EQ(SaveValues(kTypeGuid, {u"{0A000000-0000-0000-0000-000000000000}"}),
            Lines{"set 0 {0A000000-0000-0000-0000-000000000000}"});
}

TEST_F(CDataTest, OleValuesComeFromTheirFilesPieceByPiece) {
  const std::u16string path = InFolder(u"ole_temp_0.Ole");
  CFileCust file;
  ASSERT_TRUE(file.Open(path, EFileAccess::Write, EFileShare::None, EFileCreation::CreateNew));
  file.Write(std::vector<uint8_t>(250'000, uint8_t{'z'}));
  file.Close();
  EXPECT_EQ(SaveValues(kTypeOle, {path, InFolder(u"gone.Ole")}), Lines{"set 0 bytes 250000 zzzzzzzz"});
  ASSERT_EQ(GetSummary().losses.size(), 1u);
  EXPECT_EQ(GetSummary().losses[0].records, 1u);  // nothing else was in that row
  EXPECT_NE(ToUtf8(GetSummary().losses[0].reason).find("temporary file cannot be opened"), std::string::npos);
}

TEST_F(CDataTest, RefusedValuesAndRecordsAreCountedAndTheRestIsSaved) {
  WriteRows(AddTable(u"T", {{u"a"}, {u"b"}}), {{u"bad", u"1"}, {u"ok", u"2"}, {u"bad", u""}, {u"ok", u"4"}});
  Refuse("set 0 bad", EDaoError::DataConversion, u"not convertible");
  ASSERT_TRUE(m_writer.Save());
  EXPECT_EQ(GetSummary().recordsSaved, 3u);
  ASSERT_EQ(GetSummary().losses.size(), 1u);
  EXPECT_EQ(GetSummary().losses[0].fields, 1u);   // the record of "1" lacks one value
  EXPECT_EQ(GetSummary().losses[0].records, 1u);  // the third has nothing left
  EXPECT_NE(GetLog().find("1 value of table T could not be saved: not convertible"), std::string::npos);
}

TEST_F(CDataTest, ARefusedUpdateCostsOneRecordAndTheNextIsAddedAfresh) {
  WriteRows(AddTable(u"T", {{u"a"}}), {{u"1"}, {u"2"}});
  Refuse("update", EDaoError::DuplicateKey, u"duplicate", 1);
  ASSERT_TRUE(m_writer.Save());
  EXPECT_EQ(CallsFrom("add"),
            (Lines{"add", "set 0 1", "update", "add", "set 0 2", "update", "close rows", "close database"}));
  EXPECT_EQ(GetSummary().recordsSaved, 1u);
  ASSERT_EQ(GetSummary().losses.size(), 1u);
  EXPECT_EQ(GetSummary().losses[0].records, 1u);
}

// Every call of the data step in turn reports the end of space: the save must end there, say so, and leave no
// recordset or database open.
TEST_F(CDataTest, NoSpaceAtAnyCallEndsTheSave) {
  WriteRows(AddTable(u"A", {{u"a"}}), {{u"1"}, {u"2"}});
  WriteRows(AddTable(u"B", {{u"a"}}), {{u"3"}});
  int tried = 0;
  for (int callsLeft = 0;; ++callsLeft, ++tried) {
    CSavingStatus::Instance().SetSaving(true);
    m_engine.log.calls.clear();
    m_engine.log.refuse = nullptr;
    ASSERT_TRUE(m_writer.SaveStructure());
    const size_t before = m_engine.log.calls.size();
    int left = callsLeft;
    bool hasFired = false;
    m_engine.log.refuse = [&](const std::string&) -> CDaoResult {
      if (left-- != 0) return CDaoResult::Ok();
      hasFired = true;
      return {EDaoError::DiskFull, u"full"};
    };
    const bool isSaved = m_writer.SaveData();
    if (!hasFired) {
      EXPECT_TRUE(isSaved);
      break;
    }
    EXPECT_FALSE(isSaved) << m_engine.log.calls.back();
    EXPECT_EQ(GetSummary().failure, u"full");
    if (callsLeft > 0) {
      EXPECT_EQ(m_engine.log.calls.back(), "close database");
    }
    EXPECT_LE(m_engine.log.calls.size(), before + static_cast<size_t>(callsLeft) + 3)
        << "went on after the end";
  }
  EXPECT_EQ(tried, 15);
}

TEST_F(CDataTest, AFullDatabaseKeepsWhatItHasAndTheRestIsCounted) {
  WriteRows(AddTable(u"A", {{u"a"}}), {{u"1"}, {u"2"}, {u"3"}});
  WriteRows(AddTable(u"B", {{u"a"}}), {{u"4"}});
  int updates = 0;
  m_engine.log.refuse = [&](const std::string& line) -> CDaoResult {
    if (line != "update" || ++updates == 1) return CDaoResult::Ok();
    return {EDaoError::DatabaseTooLarge, u"2 GB"};
  };
  ASSERT_TRUE(m_writer.Save());
  EXPECT_EQ(GetSummary().recordsSaved, 1u);
  ASSERT_EQ(GetSummary().losses.size(), 2u);
  EXPECT_EQ(GetSummary().losses[0].records, 2u);
  EXPECT_EQ(GetSummary().losses[1].records, 1u);
  EXPECT_EQ(GetSummary().losses[1].reason, u"2 GB");
}

TEST_F(CDataTest, StopLeavesAtTheNextValue) {
  WriteRows(AddTable(u"T", {{u"a"}, {u"b"}}), {{u"1", u"2"}, {u"3", u"4"}});
  m_engine.log.refuse = [](const std::string& line) -> CDaoResult {
    if (line == "set 0 3") CSavingStatus::Instance().SetSaving(false);
    return CDaoResult::Ok();
  };
  EXPECT_FALSE(m_writer.Save());
  EXPECT_EQ(CallsFrom("set 0 3"), (Lines{"set 0 3", "close rows", "close database"}));
  EXPECT_TRUE(GetSummary().failure.empty());
}

TEST_F(CDataTest, ADataFileThatEndsInsideARowKeepsItsValuesAndTheMissingRowsAreCounted) {
  CAccessTable& table = AddTable(u"T", {{u"a"}, {u"b"}});
  WriteRows(table, {{u"1", u"2"}, {u"3"}});
  table.header.rowCount = 5;
  CAccessTable& gone = AddTable(u"Gone", {{u"a"}});
  gone.header.rowCount = 2;
  ASSERT_TRUE(m_writer.Save());
  EXPECT_EQ(m_engine.log.Find("set"), (Lines{"set 0 1", "set 1 2", "set 0 3"}));
  EXPECT_EQ(GetSummary().recordsSaved, 2u);
  ASSERT_EQ(GetSummary().losses.size(), 2u);
  EXPECT_EQ(GetSummary().losses[0].records, 3u);
  EXPECT_EQ(GetSummary().losses[1].records, 2u);
  EXPECT_TRUE(m_engine.log.Find("rows SELECT * FROM [Gone]").empty());
}

TEST_F(CDataTest, ADatabaseThatCannotBeOpenedOrCompletedIsAFailure) {
  AddTable(u"T", {{u"a"}});
  Refuse("open", EDaoError::CannotOpenFile, u"locked");
  EXPECT_FALSE(m_writer.Save());
  EXPECT_EQ(GetSummary().failure, u"locked");
  Refuse("close database", EDaoError::DiskError, u"broken");
  EXPECT_FALSE(m_writer.Save());
  EXPECT_EQ(GetSummary().failure, u"broken");
}

}  // namespace tolvane
