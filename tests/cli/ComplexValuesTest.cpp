// Multi-values, attachments and versions of memos, from a file with them to repaired ones.
#include <gtest/gtest.h>

#include "checker/DatabaseCheck.h"
#include "cli/Outcome.h"
#include "export/TableExport.h"
#include "render/ComplexValues.h"
#include "tests/cli/SaveTest.h"
#include "tests/platform/ScratchFolder.h"
#include "writer/SideFileSource.h"

namespace tolvane {
namespace {

using namespace std::string_view_literals;
using Lines = std::vector<std::string>;

// "txt" and three times the sentence below, as an attachment stores them.
constexpr std::string_view kStoredFile =
    "\x01\x00\x00\x00\xd1\x00\x00\x00\x78\x5e\x13\x61\x60\x60\x60\x04\x62\x16\x20\x2e\x61\xa8\x00\x62\x20\x9d"
    "\x91\xaa"
    "\x50\x94\x98\x99\xa7\x00\x44\xc1\x05\x20\x46\x71\x49\x62\x65\xb1\x42\x2e\x90\x99\x53\x09\x12\x05\xa9\x28"
    "\xc8\x01"
    "\x72\x75\x14\x30\x14\xeb\x0d\xac\x76\x00\x03\x9e\x44\x34"sv;
constexpr std::string_view kSentence = "the rain in Spain stays mainly in the plain, the rain in Spain.";

struct SCell {
  size_t field;
  uint8_t type;
  std::string bytes;
};
SCell Text(size_t field, std::u16string_view text) {
  return {field, kTypeText, {reinterpret_cast<const char*>(text.data()), 2 * text.size()}};
}
SCell Key(size_t field, char number) {
  return {field, kTypeLong, {number, 0, 0, 0}};
}

class ComplexValues : public CSaveTest {
 protected:
  // Records of the table or, where a field is named, values of that.
  static void Add(CDaoDatabase& database, std::u16string_view field,
                  const std::vector<std::vector<SCell>>& rows) {
    std::unique_ptr<CDaoRecordset> records;
    ExpectOk(field.empty() ? database.OpenRecordset(u"SELECT * FROM [People]", records)
                           : database.OpenComplexRecordset(u"People", field, records));
    for (const std::vector<SCell>& row : rows) {
      ExpectOk(records->AddNew());
      for (const SCell& cell : row) {
        SValue value;
        value.type = cell.type;
        value.isNull = false;
        value.bytes = {reinterpret_cast<const uint8_t*>(cell.bytes.data()), cell.bytes.size()};
        ExpectOk(records->SetFieldValue(cell.field, value));
      }
      ExpectOk(records->Update());
    }
  }

  // Two people; of Bob's tags one comes twice, and one belongs to nobody.
  void MakeSource(const std::u16string& path) {
    std::unique_ptr<CDaoDatabase> database;
    std::unique_ptr<CDaoTableDef> table;
    ExpectOk(m_engine->CreateDatabase(path, u";LANGID=0x0409;CP=1252;COUNTRY=0", kDaoVersionAce, database));
    ExpectOk(database->CreateTableDef(u"People", 0, u"", u"", table));
    for (const auto& [name, type] : {std::pair{u"Name", kDaoText},
                                     {u"Past", kDaoVersions},
                                     {u"Files", kDaoAttachment},
                                     {u"Story", kDaoMemo},
                                     {u"Tags", kDaoComplexText}}) {
      CDaoFieldInfo field;
      field.name = name;
      field.type = type;
      field.lastNumber = 20;
      if (type == kDaoVersions) field.versionsOf = u"Story";
      ExpectOk(table->CreateField(field));
    }
    ExpectOk(table->Append());
    Add(*database, u"",
        {{Text(0, u"Ann"), Key(1, 7), Key(2, 7), Key(4, 7)},
         {Text(0, u"Bob"), Key(1, 9), Key(2, 9), Key(4, 9)}});
    Add(*database, u"Tags",
        {{Text(0, u"red"), Key(2, 9)},
         {Text(0, u"blue, dark"), Key(2, 9)},
         {Text(0, u"lost"), Key(2, 12)},
         {Text(0, u"RED"), Key(2, 9)}});
    Add(*database, u"Files",
        {{{0, kTypeOle, std::string(kStoredFile)}, Text(2, u"a.txt"), Text(4, u"txt"), Key(7, 7)}});
    Add(*database, u"Story",
        {{Text(0, u"once"), {1, kTypeDate, std::string("\0\0\0\0\0\0\xE0\x40", 8)}, Key(3, 9)}});
    ExpectOk(database->Close());
  }

  static std::string BytesAt(const SObjectPlace& place) {
    CSideFileSource source;
    EXPECT_TRUE(source.Open(place));
    std::vector<uint8_t> bytes(1000);
    size_t size = 0;
    EXPECT_TRUE(source.Read(bytes, size));
    return {bytes.begin(), bytes.begin() + static_cast<std::ptrdiff_t>(size)};
  }

  static void List(const CAccessData& data, const CAccessTable& table, const std::string& name,
                   Lines& lines) {
    CTableTextReader reader(table, data.GetRules());
    std::vector<std::u16string> cells;
    EXPECT_TRUE(reader.Open());
    while (reader.ReadRow(cells)) {
      lines.push_back(name + ":");
      for (size_t i = 0; i < cells.size(); ++i) {
        const bool isObject = table.columns.GetAt(i)->type == kTypeOle && !cells[i].empty();
        lines.back() += " " + (reader.IsNull(i) ? "-"
                               : isObject       ? BytesAt(reader.GetObjectPlace(i))
                                                : ToUtf8(cells[i]));
      }
    }
  }
  // The columns and records of all tables, and behind them the values of their complex columns.
  static Lines List(const CAccessData& data) {
    Lines lines;
    for (const auto& table : data.GetTables()) {
      if (IsSystemTable(*table)) continue;
      std::string& columns = lines.emplace_back(ToUtf8(table->name) + " has");
      for (const CAccessColumn& column : table->columns) columns += " " + ToUtf8(column.GetName());
      List(data, *table, ToUtf8(table->name), lines);
      for (const CAccessColumn& column : table->columns)
        if (const auto flat = FindFlatTable(data.GetTables(), column, data.source.pageSize))
          List(data, *flat->table, ToUtf8(column.GetName()), lines);
    }
    return lines;
  }

  static std::vector<std::u16string> Findings(const std::u16string& path) {
    std::vector<std::u16string> found;
    for (const auto& finding : CheckDatabase(path).findings) found.push_back(finding.text);
    return found;
  }

  const CScratchFolder m_scratch;
};

TEST_F(ComplexValues, AreDataOfTheirRecordsAgain) {
  const std::u16string source = m_scratch / u"source.accdb", first = m_scratch / u"first.accdb",
                       second = m_scratch / u"second.accdb";
  MakeSource(source);
  const auto data = Recover(source, kExactRules);
  EXPECT_EQ(data->GetLedger().GetCount(EDamage::LooseValue), 2u);
  EXPECT_EQ(Save(*data, first).valuesSaved, 4u);
  EXPECT_TRUE(Findings(first).empty());
  const auto repaired = Recover(first, kExactRules);
  EXPECT_EQ(List(*repaired), (Lines{"People_Tags has Value People_Tags Tags_Key", "People_Tags: lost 3 12",
                                    "People_Tags: RED 4 9", "People has Name Past Files Story Tags",
                                    "People: Ann 7 7 - 7", "People: Bob 9 9 - 9", "Past: once 1989-09-17 1 9",
                                    "Files: " + std::string(kStoredFile) + " - a.txt - txt - 1 7",
                                    "Tags: red 1 9", "Tags: blue, dark 2 9"}));
  const CAccessTable& people = *TableNamed(*repaired, u"People");
  const size_t tags = 4;
  const auto flat =
      FindFlatTable(repaired->GetTables(), *people.columns.GetAt(tags), repaired->source.pageSize);
  CComplexValues values(people, tags, *flat, repaired->GetRules());
  std::u16string text;
  values.MakeText(9, text);
  EXPECT_EQ(text, u"red; blue, dark");

  const SSaveSummary again = Save(*repaired, second);
  EXPECT_TRUE(again.losses.empty());
  EXPECT_EQ(repaired->GetLedger().GetCount(EDamage::LooseValue), 0u);
  EXPECT_EQ(List(*Recover(second, kExactRules)), List(*repaired))
      << "a repair of a repaired file changes nothing";
}

TEST_F(ComplexValues, StandInTablesOfTheirOwnWhereTheFormatHasNone) {
  const std::u16string source = m_scratch / u"source.accdb", older = m_scratch / u"older.mdb";
  MakeSource(source);
  Save(*Recover(source, kExactRules), older, EOutputFormat::Jet4);
  EXPECT_TRUE(Findings(older).empty());
  const std::string content = std::string(kSentence) + std::string(kSentence) + std::string(kSentence);
  EXPECT_EQ(
      List(*Recover(older, kExactRules)),
      (Lines{"People_Story has Story Modified People_Past Story_Key", "People_Story: once 1989-09-17 1 9",
             "People_Files has FileData FileFlags FileName FileTimeStamp FileType FileURL People_Files "
             "Files_Key",
             "People_Files: " + content + " - a.txt - txt - 1 7",
             "People_Tags has Value People_Tags Tags_Key", "People_Tags: red 1 9",
             "People_Tags: blue, dark 2 9", "People_Tags: lost 3 12", "People_Tags: RED 4 9",
             "People has Name Story_Key Files_Key Files Story Tags_Key Tags", "People: Ann 7 7 a.txt - 7 -",
             "People: Bob 9 9 - - 9 red; blue, dark"}));
}

TEST_F(ComplexValues, AreExportedAsTextsAndTheirFilesAsFiles) {
  const std::u16string source = m_scratch / u"source.accdb";
  MakeSource(source);
  const auto data = Recover(source, kExactRules);
  const CAccessTable& people = *TableNamed(*data, u"People");
  SExportOptions options;
  options.ole = EOleForm::Files;
  CTableExport exported(*data, people, options, ShownJob().preview,
                        {.isStopped = [] { return false; }, .rows = nullptr});
  exported.GetFiles().SetFolder(m_scratch / u"People_files", u"People_files");
  CExportSink sink;
  ASSERT_TRUE(sink.Open(m_scratch / u"People.csv"));
  EXPECT_EQ(exported.Write(sink), EExportEnd::Done);
  EXPECT_EQ(exported.GetLostObjects(), 0u);
  EXPECT_EQ(ReadText(m_scratch / u"People.csv"),
            "Name,Files,Story,Tags\r\nAnn,People_files/Files/row1/a.txt,,\r\n"
            "Bob,,,\"red; blue, dark\"\r\n");
  EXPECT_TRUE(ReadText(m_scratch / u"People_files/Files/row1/a.txt").starts_with(kSentence));

  // The column of the versions is Access' own.
  std::string shown, all;
  for (const size_t i : ListShownColumns(people, kExactRules, false))
    shown += TypeName(*people.columns.GetAt(i), *data) + ", ";
  for (const size_t i : ListShownColumns(people, kExactRules, true))
    all += TypeName(*people.columns.GetAt(i), *data) + ", ";
  EXPECT_EQ(shown, "Text, Attachments, Memo, Multi-value, ");
  EXPECT_EQ(all, "Text, Version history, Attachments, Memo, Multi-value, ");
}

}  // namespace
}  // namespace tolvane
