// An Access 97 database in another code page than the Western one, from damaged file to saved file.
#include <gtest/gtest.h>

#include "app/Losses.h"
#include "render/RecordText.h"
#include "tests/cli/SaveTest.h"

namespace tolvane {
namespace {

class CodePage : public CSaveTest {
 protected:
  // Table Люди with the column Имя and the value "Ольга 1", in Windows-1251. The header has lost its code
  // page.
  static Bytes MakeCyrillic() {
    CDatabaseBuilder file(kLayoutJet3);
    STableSpec spec;
    spec.AddVariable(u"\u00C8\u00EC\u00FF", kTypeText, 50);
    spec.columns.back().codePage = 1251;
    spec.rowCount = 1;
    const uint32_t table = file.AddTable(spec);
    const Bytes value = StoredText(u"\u00CE\u00EB\u00FC\u00E3\u00E0 1", kLayoutJet3);
    file.AddDataPage(table, {{MakeRow(spec, kLayoutJet3, {value})}});
    file.AddCatalogueRow(table, u"\u00CB\u00FE\u00E4\u00E8", 1);
    file.SetHeader16(kHeaderCodePage, 0);
    return file.Build();
  }

  // What a second recovery finds in the saved database: names of table and column, and the one value.
  std::vector<std::string> SaveAndReadBack(const CAccessData& data, bool isAccess2000,
                                           EOutputFormat format = EOutputFormat::ByRules) {
    const CTempFile output({});
    RemoveFile(output.GetPath());
    summary = Save(data, output.GetPath(), format);
    const auto saved = Recover(output.GetPath(), kStandardRules);
    EXPECT_EQ(saved->source.isJet3, !isAccess2000);
    const auto& tables = saved->GetTables();
    const auto table =
        std::ranges::find_if(tables, [](const auto& t) { return !t->name.starts_with(u"MSys"); });
    if (table == tables.end()) return {};
    CTableTextReader reader(**table, saved->GetRules());
    std::vector<std::u16string> cells;
    EXPECT_TRUE(reader.Open() && reader.ReadRow(cells));
    return {ToUtf8((*table)->name), ToUtf8((*table)->columns.GetAt(0)->GetName()), ToUtf8(cells.at(0))};
  }

  SSaveSummary summary;
};

TEST_F(CodePage, CyrillicTextIsReplacedAndCountedOrKeptInTheNewerFormat) {
  using Texts = std::vector<std::string>;
  const CTempFile source(MakeCyrillic());
  const auto data = Recover(source.GetPath(), kStandardRules);
  EXPECT_EQ(SaveAndReadBack(*data, false), (Texts{"Table", "\u6946\u6C65d", "????? 1"}));
  EXPECT_EQ(summary.charactersReplaced, 5u);
  EXPECT_TRUE(HasSaveLosses(summary));
  EXPECT_EQ(SaveAndReadBack(*data, true, EOutputFormat::Jet4),
            (Texts{"\u041B\u044E\u0434\u0438", "\u0418\u043C\u044F", "\u041E\u043B\u044C\u0433\u0430 1"}));
  EXPECT_EQ(summary.charactersReplaced, 0u);
  EXPECT_FALSE(HasSaveLosses(summary));
  // The exact rules choose the format that keeps the text.
  EXPECT_EQ(SaveAndReadBack(*Recover(source.GetPath(), kExactRules), true).at(2),
            "\u041E\u043B\u044C\u0433\u0430 1");
  EXPECT_EQ(summary.settingsChanged, 1u);
}

}  // namespace
}  // namespace tolvane
