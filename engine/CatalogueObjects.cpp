#include "engine/CatalogueObjects.h"

#include <utility>
#include <vector>

#include "format/Bytes.h"
#include "format/PageLayout.h"
#include "format/SystemObjects.h"
#include "platform/Text.h"
#include "render/CatalogueRow.h"
#include "render/ObjectProperties.h"
#include "store/RowReader.h"

namespace tolvane {
namespace {

constexpr size_t kMostObjects = 32'768;  // of a database

using Blob = std::vector<uint8_t>;

CAccessColumn* FindColumn(CAccessTable& table, std::u16string_view name) {
  CAccessColumn* similar = nullptr;
  for (size_t i = 0; i < table.columns.GetCount(); ++i) {
    CAccessColumn* const column = table.columns.GetAt(i);
    if (column->GetName() == name) return column;
    if (similar == nullptr && EqualsIgnoreCase(column->GetName(), name)) similar = column;
  }
  return similar;
}

// Of two properties of one name the first counts.
void AddProperties(std::vector<SProperty>&& from, std::vector<SProperty>& to) {
  for (SProperty& property : from)
    if (FindProperty(to, property.name) == nullptr) to.push_back(std::move(property));
}

class CObjectReader {
 public:
  CObjectReader(CAccessData& data, uint32_t pageSize, const CTemplateMatch& match)
      : m_data(data), m_pageSize(pageSize), m_match(match) {}

  void Take(SCatalogueRow& row) {
    if (!row.type) return;
    switch (*row.type) {
      case kObjectTable:
        TakeTable(row);
        break;
      case kObjectLinkedOdbc:
        if (m_data.GetRules().keepLinks) TakeServerLink(row);
        break;
      case kObjectLinkedAccess:
        if (m_data.GetRules().keepLinks) TakeFileLink(row);
        break;
      case kObjectDatabase:
      case kObjectDocument:
        if (m_data.GetRules().keepDatabaseSettings) TakeDocument(row);
        break;
      default:
        break;
    }
  }

 private:
  [[nodiscard]] CAccessTable* FindTable(const SCatalogueRow& row) const {
    if (!row.id || *row.id >= kFirstObjectId) return nullptr;
    return m_data.GetTables().FindTable(uint64_t{m_match.DefinitionOf(*row.id)} * m_pageSize);
  }

  // The blob's owners; a doubt in the ledger where some are lost.
  std::vector<SOwnedProperties> ReadProperties(const SCatalogueRow& row, const CAccessTable* table) {
    std::vector<SOwnedProperties> owners;
    if (!row.properties || row.properties->length == 0) return owners;
    Blob blob;
    const bool isRead = ReadObject(*row.properties, kLongestPropertyBlob, blob);
    if (TakeObjectProperties(m_data.source, blob, owners) && isRead) return owners;
    m_data.GetLedger().Add(
        EDamage::BrokenProperties,
        {.page = table != nullptr ? table->GetPage(m_pageSize) : kObjectsPage,
         .definition = table != nullptr ? table->GetDefinitionOffset() : CDamageLedger::kNoTable,
         .reason = table != nullptr ? nullptr : "of the database or of a link"});
    return owners;
  }

  std::vector<SProperty> ReadOwnProperties(const SCatalogueRow& row) {
    std::vector<SProperty> properties;
    for (SOwnedProperties& owner : ReadProperties(row, nullptr))
      if (owner.kind == kPropertiesOfObject) AddProperties(std::move(owner.properties), properties);
    return properties;
  }

  void TakeTable(const SCatalogueRow& row) {
    CAccessTable* const table = FindTable(row);
    if (table == nullptr || !table->properties.empty()) return;
    PutProperties(ReadProperties(row, table), *table);
  }

  void TakeServerLink(SCatalogueRow& row) {
    CAccessTable* const table = FindTable(row);
    if (table == nullptr || table->columns.GetCount() == 0) {
      m_data.NoteOtherObject(EOtherObject::OdbcTable, row.name);
      return;
    }
    if (table->link) return;
    TakeTable(row);
    table->link = MakeLink(row, true);
  }

  void TakeFileLink(SCatalogueRow& row) {
    if (m_data.fileLinks.size() >= kMostObjects || row.name.empty() || row.foreignName.empty()) {
      m_data.NoteOtherObject(EOtherObject::LinkedTable, row.name);
      return;
    }
    m_data.fileLinks.push_back({row.name, MakeLink(row, false), ReadOwnProperties(row)});
  }

  static STableLink MakeLink(SCatalogueRow& row, bool isOdbc) {
    STableLink link{.isOdbc = isOdbc,
                    .source = std::move(row.foreignName),
                    .database = std::move(row.database),
                    .connect = std::move(row.connect),
                    .shortInfo = std::move(row.shortInfo)};
    if (row.longInfo) static_cast<void>(ReadObject(*row.longInfo, kLongestPropertyBlob, link.longInfo));
    return link;
  }

  void TakeDocument(const SCatalogueRow& row) {
    if (m_data.documents.size() >= kMostObjects) return;
    std::vector<SProperty> properties = ReadOwnProperties(row);
    if (!properties.empty()) m_data.documents.push_back({row.name, std::move(properties)});
  }

  CAccessData& m_data;
  const uint32_t m_pageSize;
  const CTemplateMatch& m_match;
};

}  // namespace

void PutProperties(std::vector<SOwnedProperties> owners, CAccessTable& table) {
  for (SOwnedProperties& owner : owners) {
    if (owner.kind == kPropertiesOfObject) {
      AddProperties(std::move(owner.properties), table.properties);
    } else if (owner.kind == kPropertiesOfColumn) {
      if (CAccessColumn* const column = FindColumn(table, owner.column))
        AddProperties(std::move(owner.properties), column->properties);
    }
  }
}

std::optional<EOtherObject> OtherObjectOf(int16_t type) {
  constexpr std::pair<int16_t, EOtherObject> kObjects[] = {{kObjectForm, EOtherObject::Form},
                                                           {kObjectReport, EOtherObject::Report},
                                                           {kObjectMacro, EOtherObject::Macro},
                                                           {kObjectModule, EOtherObject::Module},
                                                           {kObjectLinkedAccess, EOtherObject::LinkedTable},
                                                           {kObjectLinkedOdbc, EOtherObject::OdbcTable}};
  for (const auto& [known, kind] : kObjects)
    if (known == type) return kind;
  return std::nullopt;
}

void ReadCatalogueObjects(CAccessData& data, uint32_t pageSize, const CTemplateMatch& match,
                          const CJobContext& job) {
  if (data.GetRules().recordsHoldTexts) return;
  const CAccessTable* const catalogue = data.GetTables().FindTable(uint64_t{kObjectsPage} * pageSize);
  if (catalogue == nullptr) return;
  CTableRowReader rows(catalogue->columns.GetCount());
  if (!rows.Open(catalogue->GetRecords())) return;
  CObjectReader objects(data, pageSize, match);
  std::vector<uint8_t> record;
  while (rows.BeginRow()) {
    if (!job.repairing.IsRunning()) return;
    SCatalogueRow row = ReadCatalogueRow(*catalogue, rows, record);
    objects.Take(row);
  }
}

}  // namespace tolvane
