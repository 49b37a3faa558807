#include "embedded/EmbeddedFile.h"

#include <algorithm>
#include <array>

#include "embedded/PropertyStore.h"
#include "embedded/RelationStore.h"
#include "embedded/StoredText.h"
#include "embedded/UsageMap.h"
#include "format/SystemObjects.h"
#include "platform/FileCust.h"

namespace tolvane {
namespace {

CDaoResult RefuseHeader(EHeaderVerdict verdict) {
  switch (verdict) {
    case EHeaderVerdict::OtherVersion:
      return {EDaoError::NotSupported, u"The database has a version of the format that is not known."};
    case EHeaderVerdict::Encrypted:
      return {EDaoError::NotSupported, u"The database is encrypted."};
    default:
      return {EDaoError::NotADatabase, u"The file is not a database."};
  }
}

CDaoResult ReadOnly() {
  return {EDaoError::NotSupported, u"The database was opened for reading only."};
}
CDaoResult AlreadyOpen() {
  return {EDaoError::NotSupported, u"The table is open already."};
}
CDaoResult Closed() {
  return {EDaoError::CannotOpenFile, u"The database is closed."};
}

// The last page that the format allows lies below its longest file.
uint32_t LimitPages(const SLayout& layout, uint32_t maxPages) {
  const auto most = static_cast<uint32_t>(layout.maxFileLength / layout.pageSize - 1);
  return maxPages == 0 ? most : std::min(maxPages, most);
}

}  // namespace

const SLayout& ProbeFileLayout(std::u16string_view path) {
  CFileCust file;
  std::array<uint8_t, kLayoutProbe> bytes{};
  if (!file.Open(path, EFileAccess::Read, EFileShare::ReadWrite, EFileCreation::OpenExisting))
    return kLayoutJet4;
  return ProbeLayout(std::span(bytes).first(file.ReadAt(0, bytes)));
}

CEmbeddedFile::CEmbeddedFile(const SLayout& layout, uint32_t maxPages, std::shared_ptr<CIdentity> identity)
    : m_identity(std::move(identity)), m_file(layout, LimitPages(layout, maxPages)), m_catalogue(m_file) {}

CEmbeddedFile::~CEmbeddedFile() {
  static_cast<void>(Close());
}

CDaoResult CEmbeddedFile::Create(std::u16string_view path, STextOrder order) {
  if (CDaoResult result = m_file.Create(path); !result.IsOk()) return result;
  m_isOpen = true;
  m_header.creationDate = m_identity->GetDate();
  m_header.order = order;
  if (order.version != 0) m_header.version = kVersionAce14;  // such files have this version or a later one
  if (CDaoResult result = m_file.Write(kHeaderPage, BuildHeaderPage(GetLayout(), m_header)); !result.IsOk())
    return result;
  return m_catalogue.Create(m_header);
}

CDaoResult CEmbeddedFile::Open(std::u16string_view path, EFileAccess access) {
  m_isReadOnly = access == EFileAccess::Read;
  if (CDaoResult result = m_file.Open(path, access); !result.IsOk()) return result;
  CDaoResult result = LoadDatabase();
  m_isOpen = result.IsOk();
  if (!m_isOpen) static_cast<void>(m_file.Close());
  return result;
}

CDaoResult CEmbeddedFile::LoadDatabase() {
  std::vector<uint8_t> page(GetLayout().pageSize);
  if (CDaoResult result = m_file.Read(kHeaderPage, page); !result.IsOk()) return result;
  if (const EHeaderVerdict verdict = ParseHeaderPage(GetLayout(), page, m_header);
      verdict != EHeaderVerdict::Ok)
    return RefuseHeader(verdict);
  if (CDaoResult result = LoadGlobalMap(m_file); !result.IsOk()) return result;
  return m_catalogue.Load(m_header);
}

CDaoResult CEmbeddedFile::Close() {
  if (!m_isOpen) return CDaoResult::Ok();
  m_isOpen = false;
  CDaoResult result = m_isReadOnly ? CDaoResult::Ok() : StoreAll();
  m_openTables.clear();
  CDaoResult closed = m_file.Close();
  return closed.IsOk() || !result.IsOk() ? result : closed;
}

// A table that cannot be completed must not keep the others from being so; the first failure is the answer.
CDaoResult CEmbeddedFile::StoreAll() {
  CDaoResult first;
  const auto note = [&first](CDaoResult result) {
    if (first.IsOk()) first = std::move(result);
  };
  for (const auto& table : m_openTables) {
    table->DiscardRow();
    note(table->Store());
  }
  const STextOrder order = m_header.order;
  note(m_catalogue.Store(m_header.order));
  const bool isOrderLost = m_header.order != order;
  m_isHeaderChanged = m_isHeaderChanged || isOrderLost;
  if (m_isHeaderChanged) note(m_file.Write(kHeaderPage, BuildHeaderPage(GetLayout(), m_header)));
  note(StoreGlobalMap(m_file));
  if (first.IsOk() && isOrderLost)
    first.text = u"The database sorts by the order General Legacy: its own is not known for all names in it.";
  return first;
}

CDaoResult CEmbeddedFile::CheckWritable() const {
  if (!m_isOpen) return Closed();
  return m_isReadOnly ? ReadOnly() : CDaoResult::Ok();
}

CDaoResult CEmbeddedFile::CheckNewName(std::u16string_view name) const {
  if (CDaoResult result = CheckWritable(); !result.IsOk()) return result;
  const SCatalogueObject* object = m_catalogue.Find(name);
  if (object == nullptr) return CDaoResult::Ok();
  std::u16string text = object->type == kObjectQuery ? u"A query named \"" : u"A table named \"";
  text.append(name).append(u"\" exists already.");
  return {object->type == kObjectQuery ? EDaoError::QueryExists : EDaoError::TableExists, std::move(text)};
}

// What newer columns need; engines refuse a lower version.
void CEmbeddedFile::NeedVersionOf(const STableDefinition& definition) {
  uint8_t needed = m_header.version;
  for (const SColumnDefinition& column : definition.columns)
    if (column.GetNeededVersion() > GetLayout().version) needed = std::max(needed, column.GetNeededVersion());
  m_isHeaderChanged = m_isHeaderChanged || needed != m_header.version;
  m_header.version = needed;
}

// Flat tables come before the table that they belong to, so that it never names what is not there.
CDaoResult CEmbeddedFile::AddTable(SNewTable table) {
  if (CDaoResult result = CheckNewName(table.name); !result.IsOk()) return result;
  for (SColumnDefinition& column : table.definition.columns)
    if (column.order == STextOrder{})
      column.order.version = column.HasTexts() ? m_header.order.version : uint8_t{0};
  std::vector<SComplexPlace> places;
  if (CDaoResult result = CreateFlatTables(table, places); !result.IsOk()) return result;
  std::vector<uint32_t> pages;
  if (!table.link || table.link->isOdbc)
    if (CDaoResult result = CreateTable(m_file, table.definition, pages); !result.IsOk()) return result;
  const uint32_t page = pages.empty() ? 0 : pages.front();
  if (CDaoResult result = m_catalogue.AddTable(table, page, m_identity->GetDate()); !result.IsOk())
    return result;
  for (size_t i = 0; i < places.size(); i++) {
    places[i].table = page;
    if (CDaoResult result = m_catalogue.AddComplexColumn(table.complexColumns[i].column, places[i]);
        !result.IsOk())
      return result;
  }
  NeedVersionOf(table.definition);
  return CDaoResult::Ok();
}

CDaoResult CEmbeddedFile::CreateFlatTables(SNewTable& table, std::vector<SComplexPlace>& places) {
  for (const SNewComplexColumn& complex : table.complexColumns) {
    SComplexPlace& place = places.emplace_back();
    place.id = m_catalogue.GetLastComplexId() + static_cast<uint32_t>(places.size());
    place.kind = complex.kind;
    place.field = complex.IsHistory() ? complex.memo : complex.column;
    for (SColumnDefinition& column : table.definition.columns)
      if (column.name == complex.column) column.complexId = place.id;
    if (complex.IsHistory()) {
      SNamedDefinition kind = MakeHistoryKind(*m_identity, GetLayout(), m_header.order, complex.memo);
      if (CDaoResult result = AddHiddenTable(kind, kComplexKindFlags, {}, place.kind); !result.IsOk())
        return result;
    }
    SNamedDefinition flat = MakeFlatTable(*m_identity, GetLayout(), m_header.order, complex, table.name);
    CPropertyList properties(GetLayout());
    if (CDaoResult result = properties.AddToColumn(flat.valueColumn, complex.valueProperties); !result.IsOk())
      return result;
    if (CDaoResult result = AddHiddenTable(flat, kFlatTableFlags, properties.MakeBlob(), place.flatTable);
        !result.IsOk())
      return result;
  }
  return CDaoResult::Ok();
}

CDaoResult CEmbeddedFile::AddHiddenTable(SNamedDefinition& hidden, uint32_t flags,
                                         std::span<const uint8_t> properties, uint32_t& page) {
  std::vector<uint32_t> pages;
  if (CDaoResult result = CreateTable(m_file, hidden.definition, pages); !result.IsOk()) return result;
  page = pages.front();
  return m_catalogue.AddHiddenTable(hidden.name, page, flags, properties, m_identity->GetDate());
}

CDaoResult CEmbeddedFile::SetProperties(std::u16string_view document,
                                        std::span<const CDaoProperty> properties) {
  if (CDaoResult result = CheckWritable(); !result.IsOk()) return result;
  CPropertyList list(GetLayout());
  if (CDaoResult result = list.AddToObject(properties); !result.IsOk()) return result;
  return m_catalogue.SetProperties(document, list.MakeBlob(), m_identity->GetDate());
}

CDaoResult CEmbeddedFile::AddQuery(const SSavedQuery& query) {
  if (CDaoResult result = CheckNewName(query.name); !result.IsOk()) return result;
  STextLoss loss;
  CPropertyList properties(GetLayout());
  const std::u16string change = properties.AddBlob(query.properties).text;
  CDaoResult result = m_catalogue.AddQuery(query, properties.MakeBlob(), m_identity->GetDate(), loss);
  if (!result.IsOk()) return result;
  result.text = DescribeReplaced(loss.replaced, u"the query");
  if (loss.mark) result.text.append(result.text.empty() ? u"" : u". ").append(kMarkLeftOut);
  if (!change.empty()) result.text += (result.text.empty() ? u"" : u". ") + change;
  return result;
}

CDaoResult CEmbeddedFile::AddRelation(const CDaoRelationInfo& relation) {
  if (CDaoResult result = CheckWritable(); !result.IsOk()) return result;
  if (m_catalogue.HasRelation(relation.name))
    return {EDaoError::RelationExists, u"A relation named \"" + relation.name + u"\" exists already."};
  if (IsLink(relation.table) || IsLink(relation.foreignTable)) return AddRelationOfLink(relation);
  uint32_t primaryPage = 0, foreignPage = 0;
  if (CDaoResult result = FindClosedTable(relation.table, primaryPage); !result.IsOk()) return result;
  if (CDaoResult result = FindClosedTable(relation.foreignTable, foreignPage); !result.IsOk()) return result;
  CTableStore primary(m_file, primaryPage), other(m_file, foreignPage);
  CTableStore& foreign = primaryPage == foreignPage ? primary : other;
  for (CTableStore* table : {&primary, &other})
    if (CDaoResult result = table->Load(); !result.IsOk()) return result;
  SRelationColumns columns;
  if (CDaoResult result = FindRelationColumns(GetLayout(), relation, primary.GetDefinition(),
                                              foreign.GetDefinition(), columns);
      !result.IsOk())
    return result;
  CDaoResult enforced;
  if ((relation.attributes & kRelationDontEnforce) == 0)
    enforced = EnforceRelation(m_file, relation, columns, primary, foreign);
  if (!enforced.IsOk()) return enforced;
  const CDaoResult added = m_catalogue.AddRelation(relation, m_identity->GetDate());
  return added.IsOk() ? enforced : added;
}

bool CEmbeddedFile::IsLink(std::u16string_view name) const {
  const SCatalogueObject* object = m_catalogue.Find(name);
  return object != nullptr && (object->type == kObjectLinkedAccess || object->type == kObjectLinkedOdbc);
}

// What tables elsewhere hold is not known here: the relation is only remembered.
CDaoResult CEmbeddedFile::AddRelationOfLink(const CDaoRelationInfo& relation) {
  for (const std::u16string& name : {relation.table, relation.foreignTable})
    if (m_catalogue.Find(name) == nullptr)
      return {EDaoError::ObjectNotFound, u"There is no table named \"" + name + u"\"."};
  if ((relation.attributes & kRelationDontEnforce) == 0)
    return {EDaoError::NotSupported, u"A relation with a linked table cannot be enforced."};
  return m_catalogue.AddRelation(relation, m_identity->GetDate());
}

CDaoResult CEmbeddedFile::FindClosedTable(std::u16string_view name, uint32_t& page) const {
  const SCatalogueObject* object = m_catalogue.Find(name);
  if (object == nullptr || object->type != kObjectTable)
    return {EDaoError::ObjectNotFound, u"There is no table named \"" + std::u16string(name) + u"\"."};
  if (IsSystemPage(GetLayout(), object->id))
    return {EDaoError::NotSupported, u"Only the database itself changes a system table."};
  if (IsTableOpen(object->id)) return AlreadyOpen();
  page = object->id;
  return CDaoResult::Ok();
}

CDaoResult CEmbeddedFile::OpenTable(std::u16string_view name, std::shared_ptr<CTableStore>& table) {
  table.reset();
  if (CDaoResult result = CheckWritable(); !result.IsOk()) return result;
  uint32_t page = 0;
  if (CDaoResult result = FindClosedTable(name, page); !result.IsOk()) return result;
  return OpenPage(page, table);
}

CDaoResult CEmbeddedFile::OpenFlatTable(std::u16string_view name, std::u16string_view field,
                                        std::shared_ptr<CTableStore>& table) {
  table.reset();
  if (CDaoResult result = CheckWritable(); !result.IsOk()) return result;
  const SCatalogueObject* object = m_catalogue.Find(name);
  const SComplexPlace* place = object == nullptr ? nullptr : m_catalogue.FindComplexColumn(object->id, field);
  if (place == nullptr)
    return {EDaoError::ItemNotFound, u"Table \"" + std::u16string(name) + u"\" has no complex field \"" +
                                         std::u16string(field) + u"\"."};
  if (IsTableOpen(place->flatTable)) return AlreadyOpen();
  return OpenPage(place->flatTable, table);
}

bool CEmbeddedFile::IsTableOpen(uint32_t page) const {
  return std::ranges::any_of(m_openTables, [page](const auto& open) { return open->GetPage() == page; });
}

CDaoResult CEmbeddedFile::OpenPage(uint32_t page, std::shared_ptr<CTableStore>& table) {
  auto store = std::make_shared<CTableStore>(m_file, page);
  if (CDaoResult result = store->Load(); !result.IsOk()) return result;
  m_openTables.push_back(store);
  table = std::move(store);
  return CDaoResult::Ok();
}

CDaoResult CEmbeddedFile::CloseTable(const std::shared_ptr<CTableStore>& table) {
  if (!m_isOpen) return CDaoResult::Ok();
  table->DiscardRow();
  CDaoResult result = table->Store();
  if (result.IsOk()) {
    for (const std::u16string& note : table->GetIndexChanges().notes) {
      if (!result.text.empty()) result.text += u' ';
      result.text += note;
    }
  }
  std::erase(m_openTables, table);
  return result;
}

}  // namespace tolvane
