// What a database holds beside rows (properties, links, calculated columns, its settings), from a file that
// the embedded engine made to the saved one.
#include <gtest/gtest.h>

#include <algorithm>
#include <memory>
#include <set>
#include <string>

#include "app/Losses.h"
#include "format/SystemObjects.h"
#include "render/ObjectProperties.h"
#include "tests/cli/SaveTest.h"

namespace tolvane {
namespace {

using Texts = std::set<std::string>;

CDaoProperty Text(std::u16string_view name, std::u16string_view text, uint8_t type = kTypeText) {
  CDaoProperty property{std::u16string(name), type, kPropertyOfEngine, {}};
  AppendUnits(property.value, text);
  return property;
}
CDaoProperty Number(std::u16string_view name, uint8_t type, std::vector<uint8_t> value) {
  return {std::u16string(name), type, 0, std::move(value)};
}

CDaoFieldInfo Field(std::u16string_view name, int16_t type, std::vector<CDaoProperty> properties = {}) {
  CDaoFieldInfo field;
  field.name = name;
  field.type = type;
  field.size = type == kDaoText ? 20 : 0;
  field.attributes = kDaoUpdatable;
  field.properties = std::move(properties);
  return field;
}

// One line for each thing that a recovered database is said to hold.
class CDescriber {
 public:
  explicit CDescriber(const CAccessData& data) {
    for (const auto& table : data.GetTables()) {
      if (IsSystemTable(*table)) continue;
      const std::string name = ToUtf8(table->name);
      Add(name, table->properties);
      if (table->catalogueFlags.value_or(0) & kHiddenObjectFlag) lines.insert(name + " hidden");
      if (table->link) AddLink(name, *table->link);
      for (const CAccessColumn& column : table->columns) {
        const std::string of = name + "." + ToUtf8(column.GetName());
        lines.insert(of + " type " + std::to_string(column.type) + " at " +
                     std::to_string(column.displayNumber) +
                     (IsCalculated(column.extendedFlags) ? " calculated" : ""));
        Add(of, column.properties);
      }
      if (table->header.nextAutoNumber != 0)
        lines.insert(name + " next after " + std::to_string(table->header.nextAutoNumber));
    }
    for (const SFileLink& link : data.fileLinks) {
      AddLink(ToUtf8(link.name), link.link);
      Add(ToUtf8(link.name), link.properties);
    }
    for (const SDatabaseDocument& document : data.documents) Add(ToUtf8(document.name), document.properties);
  }
  Texts lines;

 private:
  void Add(const std::string& owner, const std::vector<SProperty>& properties) {
    for (const SProperty& property : properties) {
      std::string line = owner + " " + ToUtf8(property.name) + "/" + std::to_string(property.flags) + " = ";
      if (IsTextType(property.type))
        line += ToUtf8(TextOf(&property));
      else
        for (const uint8_t byte : property.value) line += std::to_string(byte) + ".";
      lines.insert(line);
    }
  }
  void AddLink(const std::string& name, const STableLink& link) {
    lines.insert(name + (link.isOdbc ? " at server " : " at file ") + ToUtf8(link.source) + "," +
                 ToUtf8(link.database) + "," + ToUtf8(link.connect) + "," +
                 std::to_string(link.longInfo.size()));
  }
};

class CObjectsTest : public CSaveTest, public testing::WithParamInterface<int32_t> {
 protected:
  void SetUp() override {
    CEngineTest::SetUp();
    RemoveFile(m_source.GetPath());
  }
  [[nodiscard]] bool IsAce() const { return GetParam() == kDaoVersionAce; }

  void MakeSource() {
    std::unique_ptr<CDaoDatabase> database;
    ExpectOk(m_engine->CreateDatabase(m_source.GetPath(), u"", GetParam(), database));
    ExpectOk(database->SetProperties(u"MSysDb",
                                     std::vector{Text(u"AppTitle", u"Shop"), Text(u"StartUpForm", u"Main")}));
    ExpectOk(database->SetProperties(u"SummaryInfo", std::vector{Text(u"Author", u"A. Uthor")}));
    MakeTable(*database);
    std::unique_ptr<CDaoTableDef> table;
    ExpectOk(database->CreateTableDef(u"Hidden", kDaoHiddenObject, u"", u"", table));
    ExpectOk(table->CreateField(Field(u"x", kDaoLong)));
    ExpectOk(table->Append());
    ExpectOk(database->CreateTableDef(u"Server", 0, u"", u"", table));
    ExpectOk(table->CreateField(Field(u"y", kDaoLong)));
    ExpectOk(table->SetLink({true, u"dbo.y", u"", u"DSN=there", {1}, {1, 2, 3}}));
    ExpectOk(table->Append());
    ExpectOk(database->CreateTableDef(u"File", 0, u"", u"", table));
    ExpectOk(table->SetLink({false, u"Other", u"C:\\other.mdb", u""}));
    ExpectOk(table->SetProperties(std::vector{Text(u"Description", u"there")}));
    ExpectOk(table->Append());
    const int32_t kLoose = kRelationDontEnforce;
    ExpectOk(database->CreateRelation({u"R", u"T", u"File", kLoose, {{u"Id", u"TId"}}}));
    ExpectOk(database->Close());
  }

  void MakeTable(CDaoDatabase& database) {
    std::unique_ptr<CDaoTableDef> table;
    ExpectOk(database.CreateTableDef(u"T", 0, u"", u"", table));
    ExpectOk(table->SetProperties(
        std::vector{Text(u"Description", u"All of it"), Number(u"NameMap", kTypeOle, {1, 2, 3})}));
    CDaoFieldInfo id = Field(u"Id", kDaoLong, {Text(u"DefaultValue", u"GenUniqueID()", kTypeMemo)});
    id.attributes |= kDaoAutoIncrement;
    id.lastNumber = 41;
    id.position = 1;
    ExpectOk(table->CreateField(id));
    CDaoFieldInfo name =
        Field(u"Name", kDaoText,
              {Number(u"Required", kTypeBoolean, {1}), Text(u"Caption", u"K\u00e9", kTypeMemo),
               Text(u"Hint", u"\u0416"), Number(u"GUID", kTypeBinary, Bytes(16, 7))});
    if (GetParam() == kDaoVersionJet3) name.properties.erase(name.properties.begin() + 2);
    name.position = 0;
    ExpectOk(table->CreateField(name));
    if (IsAce()) {
      CDaoFieldInfo sum = Field(u"Twice", kDaoCurrency, {});
      sum.expression = u"[Id]*2";
      ExpectOk(table->CreateField(sum));
    }
    ExpectOk(table->Append());
    std::unique_ptr<CDaoRecordset> rows;
    ExpectOk(database.OpenRecordset(u"SELECT * FROM [T]", rows));
    ExpectOk(rows->AddNew());
    const Bytes number{42, 0, 0, 0}, money{0x70, 0x11, 1, 0, 0, 0, 0, 0};
    ExpectOk(rows->SetFieldValue(0, {.type = kTypeLong, .isNull = false, .bytes = number}));
    if (IsAce()) ExpectOk(rows->SetFieldValue(2, {.type = kTypeCurrency, .isNull = false, .bytes = money}));
    ExpectOk(rows->Update());
    ExpectOk(rows->Close());
  }

  std::unique_ptr<CAccessData> Recovered(const SRecoveryRules& rules = kExactRules) const {
    return Recover(m_source.GetPath(), rules);
  }

  const CTempFile m_source{{}}, m_output{{}};
};

TEST_P(CObjectsTest, EverythingComesBackAndComesBackAgain) {
  MakeSource();
  const auto data = Recovered();
  Texts known = CDescriber(*data).lines;
  for (const char* line :
       {"MSysDb AppTitle/1 = Shop", "SummaryInfo Author/1 = A. Uthor", "T Description/1 = All of it",
        "T.Id DefaultValue/1 = GenUniqueID()", "T.Id type 4 at 1", "T.Name type 10 at 0",
        "T.Name Required/0 = 1.", "T.Name Caption/1 = K\u00e9", "T next after 42", "Hidden hidden",
        "Server at server dbo.y,,DSN=there,3", "File at file Other,C:\\other.mdb,,0",
        "File Description/1 = there"})
    EXPECT_EQ(known.count(line), 1u) << line;
  if (IsAce()) {
    EXPECT_EQ(known.count("T.Twice Expression/1 = [Id]*2"), 1u);
    EXPECT_EQ(known.count("T.Twice type 5 at 2 calculated"), 1u);
  }
  EXPECT_TRUE(data->GetOtherObjects().empty());
  EXPECT_TRUE(data->GetLedger().IsClean());

  const SSaveSummary summary = Save(*data, m_output.GetPath());
  EXPECT_FALSE(HasSaveLosses(summary)) << testing::PrintToString(summary.notes);
  EXPECT_EQ(summary.linksSaved, 2u);
  EXPECT_EQ(summary.relationsSaved, 1u);
  EXPECT_EQ(known.erase("T NameMap/0 = 1.2.3."), 1u) << "made anew by the programs";
  EXPECT_EQ(CDescriber(*Recover(m_output.GetPath(), kExactRules)).lines, known);
}

// Each rule by itself, and the standard ones: links become tables or are named, and nothing else comes along.
TEST_P(CObjectsTest, OnlyWhatTheRulesKeepIsRead) {
  MakeSource();
  SRecoveryRules rules = kExactRules;
  rules.keepLinks = false;
  const auto withoutLinks = Recovered(rules);
  EXPECT_EQ(withoutLinks->GetOtherObjects().size(), 2u);
  EXPECT_TRUE(withoutLinks->fileLinks.empty());
  rules = kExactRules;
  rules.keepDatabaseSettings = false;
  const auto withoutSettings = Recovered(rules);
  EXPECT_TRUE(withoutSettings->documents.empty());
  withoutSettings->source.sortOrder = 0x0407;
  EXPECT_EQ(Save(*withoutSettings, m_output.GetPath()).settingsChanged, 0u);
  const auto standard = Recovered(kStandardRules);
  EXPECT_EQ(standard->GetOtherObjects().size(), 2u);
  for (const auto& table : standard->GetTables()) EXPECT_TRUE(table->properties.empty() && !table->link);
}

TEST_P(CObjectsTest, ALostPasswordIsTold) {
  MakeSource();
  Bytes bytes = m_source.Read();
  bytes[(GetParam() == kDaoVersionJet3 ? kLayoutJet3 : kLayoutJet4).header.password] ^= 'x';
  EXPECT_EQ(Save(*Recover(bytes, kExactRules), m_output.GetPath()).settingsChanged, IsAce() ? 0u : 1u)
      << "a newer file with a password is encrypted";
  EXPECT_EQ(Save(*Recover(bytes, kStandardRules), m_output.GetPath()).settingsChanged, 0u);
}

// What the new database cannot have is told, and costs the status.
TEST_P(CObjectsTest, WhatCannotBeKeptIsCounted) {
  MakeSource();
  const auto data = Recovered();
  data->source.sortOrder = 0x0407;
  data->NoteOtherObject(EOtherObject::Form, u"Main");
  const SSaveSummary same = Save(*data, m_output.GetPath());
  EXPECT_EQ(same.settingsChanged, 1u) << "no keys are known for that language";
  EXPECT_EQ(same.propertiesLost, 1u) << "the form to open at the start is not there";
  EXPECT_TRUE(HasSaveLosses(same));

  if (!data->source.isJet3) {
    data->source.sortOrder = 0x0409;
    for (const auto& table : data->GetTables())
      if (table->name == u"T") table->columns.GetAt(1)->misc = 0x0407;
    EXPECT_EQ(Save(*data, m_output.GetPath()).columnsChanged, 1u) << "a column with an order of its own";
  }
  data->source.sortOrder = 0;
  const SSaveSummary lower = Save(*data, m_output.GetPath(), EOutputFormat::Jet3);
  EXPECT_EQ(lower.propertiesLost, GetParam() == kDaoVersionJet3 ? 1u : 2u) << "a Cyrillic text";
  EXPECT_EQ(lower.columnsChanged, IsAce() ? 2u : GetParam() == kDaoVersionJet3 ? 0u : 1u);
  EXPECT_EQ(lower.settingsChanged, 0u);
}

// A blob that breaks off costs its end.
TEST_P(CObjectsTest, BrokenPropertiesAreDoubtful) {
  MakeSource();
  Bytes bytes = m_source.Read();
  const Bytes last = GetParam() == kDaoVersionJet3
                         ? Bytes{'C', 'a', 'p', 't', 'i', 'o', 'n'}
                         : Bytes{'C', 0, 'a', 0, 'p', 0, 't', 0, 'i', 0, 'o', 0, 'n', 0};
  const auto found = std::search(bytes.begin(), bytes.end(), last.begin(), last.end());
  ASSERT_NE(found, bytes.end());
  *(found - 1) = 0xFF;  // the length of the name
  const auto data = Recover(bytes, kExactRules);
  EXPECT_EQ(data->GetLedger().GetCount(EDamage::BrokenProperties), 1u);
  EXPECT_FALSE(IsRecoveryWhole(*data));
  EXPECT_EQ(CDescriber(*data).lines.count("T Description/1 = All of it"), 1u);
}

INSTANTIATE_TEST_SUITE_P(Formats, CObjectsTest,
                         testing::Values(kDaoVersionJet3, kDaoVersionJet4, kDaoVersionAce),
                         [](const auto& test) {
                           return test.param == kDaoVersionAce    ? "Ace"
                                  : test.param == kDaoVersionJet4 ? "Jet4"
                                                                  : "Jet3";
                         });

}  // namespace
}  // namespace tolvane
