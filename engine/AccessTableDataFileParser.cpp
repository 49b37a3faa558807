#include "engine/AccessTableDataFileParser.h"

#include <array>
#include <memory>
#include <optional>
#include <unordered_map>

#include "engine/CatalogueObjects.h"
#include "engine/KnownTables.h"
#include "format/Layout.h"
#include "format/SystemObjects.h"
#include "model/FlatTable.h"
#include "platform/Text.h"
#include "render/PreviewText.h"

namespace tolvane {

namespace {

constexpr int32_t kHeadingWidth = 100;
constexpr std::u16string_view kLocalTableType = u"1";
constexpr std::u16string_view kDeletedObject = u"~TMPCLP";  // until the database is compacted
constexpr std::u16string_view kScanStatus = u"(Step 4/4)Scanning table name from raw table data...";

// A table that looks like one of Access' own and is the user's.
constexpr std::u16string_view kCompactErrorTable = u"MSysCompactError";

// System tables stand where the engine that creates a database puts them.
struct SFixedTable {
  std::u16string_view name;
  uint32_t jet3Page;
  uint32_t jet4Page;  // 0: none
};
constexpr std::array kSystemTables{
    SFixedTable{kMSysObjects, kObjectsPage, kObjectsPage},
    SFixedTable{kMSysAces, kAcesPage, kAcesPage},
    SFixedTable{kMSysQueries, kQueriesPage, kQueriesPage},
    SFixedTable{kMSysRelationships, kRelationshipsPage, kRelationshipsPage},
    SFixedTable{u"MSysModules2", 22, 0},
    SFixedTable{u"MSysModules", 25, 0},
    SFixedTable{u"MSysAccessObjects", 29, 16},
};

// The page number whose decimal text is exactly `text`.
std::optional<uint32_t> PageOfText(std::u16string_view text) {
  constexpr size_t kMaximumDigits = 10;
  if (text.empty() || text.size() > kMaximumDigits || (text.size() > 1 && text[0] == u'0'))
    return std::nullopt;
  uint64_t page = 0;
  for (const char16_t unit : text) {
    if (unit < u'0' || unit > u'9') return std::nullopt;
    page = page * 10 + (unit - u'0');
  }
  if (page > UINT32_MAX) return std::nullopt;
  return static_cast<uint32_t>(page);
}

void NameTable(CAccessTable& table, std::u16string_view name) {
  table.name = name;
  table.keepFlag = 1;
  table.nameSource = ENameSource::Catalogue;
}

uint32_t PageOf(const CAccessTable& table, bool isJet4Pages) {
  return table.GetPage((isJet4Pages ? kLayoutJet4 : kLayoutJet3).pageSize);
}

std::u16string_view SystemTableName(uint32_t page, bool isJet4Pages) {
  for (const SFixedTable& system : kSystemTables) {
    const uint32_t systemPage = isJet4Pages ? system.jet4Page : system.jet3Page;
    if (systemPage != 0 && systemPage == page) return system.name;
  }
  return {};
}

// One of the four tables that the engine itself puts on the first pages of every file.
bool IsOnFixedPage(const CAccessTable& table, bool isJet4Pages) {
  return PageOf(table, isJet4Pages) <= kRelationshipsPage;
}

// The catalogue's mark of a system table, where damage gave it to a table of the user's or took it from one
// of Access' own.
void CorrectSystemMark(CAccessTable& table) {
  if (!table.catalogueFlags) return;
  uint32_t& flags = *table.catalogueFlags;
  const std::u16string_view known = NameByColumns(table);
  if (!table.name.starts_with(kSystemTablePrefix) && known.empty() && !DescribeFlatTable(table)) {
    table.hasSystemMark = (flags & kSystemObjectFlags) == kSystemObjectFlags;  // no single byte makes both
    flags &= ~kSystemObjectFlags;
  } else if (table.name == known && known != kCompactErrorTable && (flags & kSystemObjectFlags) == 0) {
    flags |= kSystemObjectFlags;
  }
}

// The number whose decimal text is exactly `text`; 0, which no object has, for another text.
int16_t ToType(std::u16string_view text) {
  const auto type = static_cast<int16_t>(LeadingInteger(text));
  return ToDecimal(type) == text ? type : int16_t{0};
}

bool IsLink(EOtherObject kind) {
  return kind == EOtherObject::LinkedTable || kind == EOtherObject::OdbcTable;
}

}  // namespace

struct CAccessTableDataFileParser::SCatalogueRow {
  std::u16string id, name, type, flags;

  // Null for a column that is not read.
  std::u16string* GetText(size_t column) {
    if (column == kObjectsId) return &id;
    if (column == kObjectsName) return &name;
    if (column == kObjectsType) return &type;
    return column == kObjectsFlags ? &flags : nullptr;
  }
};

// The first table of each definition page.
class CAccessTableDataFileParser::CTablesByPage {
 public:
  CTablesByPage(const CAccessTableList& tables, uint32_t pageSize) {
    for (const auto& table : tables) m_tables.try_emplace(table->GetPage(pageSize), table.get());
  }
  [[nodiscard]] CAccessTable* Find(std::u16string_view pageText) const {
    const std::optional<uint32_t> page = PageOfText(pageText);
    if (!page) return nullptr;
    const auto found = m_tables.find(*page);
    return found != m_tables.end() ? found->second : nullptr;
  }

 private:
  std::unordered_map<uint32_t, CAccessTable*> m_tables;
};

void CAccessTableDataFileParser::SetPreviewTarget(const CAccessTable* table, CPreviewList* list) {
  m_pTable = table;
  m_pList = list;
}

void CAccessTableDataFileParser::SetPreviewTables(const CAccessTableList* tables, uint32_t pageSize) {
  m_previewTables = tables;
  m_previewPageSize = pageSize;
}

void CAccessTableDataFileParser::FillPreview(const CAccessTable* table, CPreviewList* list) {
  if (table == nullptr) {
    table = m_pTable;
    list = m_pList;
  }
  if (table == nullptr || list == nullptr) return;
  const size_t columnCount = table->columns.GetCount();
  for (size_t i = 0; i < columnCount; ++i) {
    if (m_job.preview.IsAborted()) return;
    list->InsertColumn(i, table->columns.GetAt(i)->GetName(), kHeadingWidth);
  }
  if (columnCount == 0 || m_job.preview.IsAborted() || !OpenDataFile(*table)) return;
  CPreviewText previewText(*table, m_previewTables, m_previewPageSize, m_rules, m_job.preview);
  const bool readsCells = list->ReadsCells();
  while (!m_file.IsAtEnd() && !m_job.preview.IsAborted() &&
         (readsCells ? PassRow(columnCount, *list) : FillRow(previewText, columnCount, *list))) {
  }
  m_file.Close();
}

// False when the preview ends with this row.
bool CAccessTableDataFileParser::FillRow(CPreviewText& previewText, size_t columnCount, CPreviewList& list) {
  const size_t item = list.GetItemCount();
  list.InsertItem(item);
  list.SetItemPlace(item, m_file.GetPosition());
  std::u16string text;
  for (size_t i = 0; i < columnCount; ++i) {
    uint32_t count = 0;
    if (m_job.preview.IsAborted() || !m_file.ReadCount(count)) return false;
    if (count == 0 && !previewText.TellsNull()) continue;
    if (!previewText.Read(m_file, count, i, text)) return false;
    if (count == 0)
      list.SetItemNull(item, i, text);
    else
      list.SetItemText(item, i, text);
  }
  return true;
}

// In the same way for a list that needs only the row's place.
bool CAccessTableDataFileParser::PassRow(size_t columnCount, CPreviewList& list) {
  const size_t item = list.GetItemCount();
  list.InsertItem(item);
  list.SetItemPlace(item, m_file.GetPosition());
  for (size_t i = 0; i < columnCount; ++i) {
    uint32_t count = 0;
    if (!m_file.ReadCount(count) || count > m_file.GetBytesLeft()) return false;
    m_file.Skip(count);
  }
  return true;
}

bool CAccessTableDataFileParser::ScanTableNames(CAccessData& parseData, uint32_t pageSize) {
  if (!m_job.repairing.IsRunning()) return false;
  const CAccessTable* const catalogue = parseData.GetTables().FindTable(uint64_t{kObjectsPage} * pageSize);
  if (catalogue == nullptr || !OpenDataFile(*catalogue)) return false;

  CProgressStatus& progress = m_job.progress;
  const uint32_t rowCount = catalogue->header.rowCount;
  progress.Begin(rowCount);

  const CTablesByPage tables(parseData.GetTables(), pageSize);
  const size_t columnCount = catalogue->columns.GetCount();
  CRecordText recordText(catalogue->columns, m_rules);
  ERowEnd end = ERowEnd::Complete;
  for (uint32_t row = 0; row < rowCount && columnCount > 0 && end == ERowEnd::Complete; ++row) {
    SCatalogueRow texts;
    end = ReadCatalogueRow(recordText, columnCount, tables, texts, parseData);
    if (const auto kind = OtherObjectOf(ToType(texts.type));
        kind && !(m_rules.keepLinks && IsLink(*kind)) && !texts.name.starts_with(kDeletedObject))
      parseData.NoteOtherObject(*kind, texts.name);
    if (texts.type == kLocalTableType && tables.Find(texts.id) == nullptr) {
      if (const auto page = PageOfText(texts.id)) {
        parseData.GetLedger().Add(EDamage::LostTable, {.page = *page});
        parseData.NoteLostTable(*page, texts.name);
      }
    }
  }
  m_file.Close();
  if (end != ERowEnd::Complete) return end == ERowEnd::EndOfFile;
  progress.SetPos(progress.GetMax());
  m_job.Pause();
  return true;
}

CAccessTableDataFileParser::ERowEnd CAccessTableDataFileParser::ReadCatalogueRow(CRecordText& recordText,
                                                                                 size_t columnCount,
                                                                                 const CTablesByPage& tables,
                                                                                 SCatalogueRow& row,
                                                                                 CAccessData& parseData) {
  for (size_t i = 0; i < columnCount; ++i) {
    if (!m_job.repairing.IsRunning()) return ERowEnd::Stopped;
    m_job.progress.IncrementPos();
    uint32_t count = 0;
    if (!m_file.ReadCount(count)) return ERowEnd::EndOfFile;
    std::u16string* const text = row.GetText(i);
    if (count == 0 || text == nullptr) {
      m_file.Skip(count);
      continue;
    }
    if (!recordText.Read(m_file, count, i, *text)) return ERowEnd::EndOfFile;
    UseCatalogueRow(tables, row, parseData);
  }
  return ERowEnd::Complete;
}

// Runs after each value of the row that is read, with what is known of it by then: a table is first named
// with the empty text.
void CAccessTableDataFileParser::UseCatalogueRow(const CTablesByPage& tables, const SCatalogueRow& row,
                                                 CAccessData& parseData) const {
  if (CAccessTable* const table = tables.Find(row.id)) {
    NameTable(*table, row.name);
    if (!m_rules.systemTablesByName && !row.flags.empty())
      table->catalogueFlags = static_cast<uint32_t>(LeadingInteger(row.flags));
  }
  if (row.type == m_strQueryType)
    parseData.GetQueryObjects().Append(std::make_unique<CQuerySysObject>(row.name, row.id, row.flags));
  m_job.status.SetText(std::u16string(kScanStatus) + row.name);
}

void CAccessTableDataFileParser::NameUnnamedTables(CAccessTableList& tables, bool isJet4Pages) {
  uint64_t counter = 0;
  for (const auto& table : tables) {
    if (!m_job.repairing.IsRunning()) return;
    if (!table->name.empty()) {
      // Whatever a damaged row of the catalogue calls it.
      const bool isKnown = m_rules.columnsNameSystemTables && IsOnFixedPage(*table, isJet4Pages);
      if (const auto known = isKnown ? NameByColumns(*table) : std::u16string_view(); !known.empty())
        table->name = known;
      if (!m_rules.systemTablesByName) CorrectSystemMark(*table);
      continue;
    }
    NameSystemTable(*table, isJet4Pages);
    if (!table->name.empty()) continue;
    table->name = u"RecoveredTable###" + ToDecimal(counter++);
  }
}

// The columns of a table of Access' own tell it; only the engine's own tables never stand elsewhere.
void CAccessTableDataFileParser::NameSystemTable(CAccessTable& table, bool isJet4Pages) const {
  table.nameSource = ENameSource::Columns;
  if (m_rules.columnsNameSystemTables) table.name = NameByColumns(table);
  if (table.name == kCompactErrorTable) table.catalogueFlags = 0;
  if (const auto flat = DescribeFlatTable(table); flat && m_rules.complexValuesAreData && table.name.empty())
    table.name = table.columns.GetAt(flat->number)->GetName();
  if (!table.name.empty()) return;
  table.nameSource = ENameSource::Place;
  if (!m_rules.columnsNameSystemTables || IsOnFixedPage(table, isJet4Pages))
    table.name = SystemTableName(PageOf(table, isJet4Pages), isJet4Pages);
  if (table.name.empty()) table.nameSource = ENameSource::Generated;
}

bool CAccessTableDataFileParser::AssignTableName(CAccessTableList& tables, std::u16string_view name,
                                                 std::u16string_view idText, uint32_t pageSize) {
  CAccessTable* const table = CTablesByPage(tables, pageSize).Find(idText);
  if (table != nullptr) NameTable(*table, name);
  return table != nullptr;
}

}  // namespace tolvane
