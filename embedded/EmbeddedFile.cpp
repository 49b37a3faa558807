#include "embedded/EmbeddedFile.h"

#include <algorithm>
#include <array>

#include "embedded/RelationStore.h"
#include "embedded/StoredText.h"
#include "embedded/UsageMap.h"
#include "platform/ErrorHandler.h"
#include "platform/FileCust.h"
#include "platform/Process.h"

namespace tolvane {
namespace {

CDaoResult Refuse(EHeaderVerdict verdict) {
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
  CErrorHandler handler;
  std::array<uint8_t, kLayoutProbe> bytes{};
  if (!file.Open(path, EFileAccess::Read, EFileShare::ReadWrite, EFileCreation::OpenExisting))
    return kLayoutJet4;
  return ProbeLayout(std::span(bytes).first(file.Read(bytes, handler)));
}

CEmbeddedFile::CEmbeddedFile(const SLayout& layout, uint32_t maxPages)
    : m_file(layout, LimitPages(layout, maxPages)), m_catalogue(m_file) {}

CEmbeddedFile::~CEmbeddedFile() {
  static_cast<void>(Close());
}

CDaoResult CEmbeddedFile::Create(std::u16string_view path, STextOrder order) {
  if (CDaoResult result = m_file.Create(path); !result.IsOk()) return result;
  m_isOpen = true;
  m_header.creationDate = GetLocalDate();
  m_header.order = order;
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
    return Refuse(verdict);
  if (CDaoResult result = LoadGlobalMap(m_file); !result.IsOk()) return result;
  return m_catalogue.Load(m_header);
}

CDaoResult CEmbeddedFile::Close() {
  if (!m_isOpen) return CDaoResult::Ok();
  m_isOpen = false;
  CDaoResult result = m_isReadOnly ? CDaoResult::Ok() : StoreAll();
  m_openTables.clear();
  CDaoResult closed = m_file.Close();
  return result.IsOk() ? closed : result;
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
  note(m_catalogue.Store());
  note(StoreGlobalMap(m_file));
  return first;
}

CDaoResult CEmbeddedFile::CheckNewName(std::u16string_view name) const {
  if (!m_isOpen) return Closed();
  if (m_isReadOnly) return ReadOnly();
  const SCatalogueObject* object = m_catalogue.Find(name);
  if (object == nullptr) return CDaoResult::Ok();
  std::u16string text = object->type == kObjectQuery ? u"A query named \"" : u"A table named \"";
  text.append(name).append(u"\" exists already.");
  return {object->type == kObjectQuery ? EDaoError::QueryExists : EDaoError::TableExists, std::move(text)};
}

CDaoResult CEmbeddedFile::AddTable(std::u16string_view name, STableDefinition definition) {
  if (CDaoResult result = CheckNewName(name); !result.IsOk()) return result;
  std::vector<uint32_t> pages;
  if (CDaoResult result = CreateTable(m_file, definition, pages); !result.IsOk()) return result;
  return m_catalogue.AddTable(name, pages.front(), GetLocalDate());
}

CDaoResult CEmbeddedFile::AddQuery(const SSavedQuery& query) {
  if (CDaoResult result = CheckNewName(query.name); !result.IsOk()) return result;
  size_t replaced = 0;
  CDaoResult result = m_catalogue.AddQuery(query, GetLocalDate(), replaced);
  if (result.IsOk()) result.text = DescribeReplaced(replaced, u"the query");
  return result;
}

CDaoResult CEmbeddedFile::AddRelation(const CDaoRelationInfo& relation) {
  if (!m_isOpen) return Closed();
  if (m_isReadOnly) return ReadOnly();
  if (m_catalogue.HasRelation(relation.name))
    return {EDaoError::RelationExists, u"A relation named \"" + relation.name + u"\" exists already."};
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
  if ((relation.attributes & kDaoRelationDontEnforce) == 0)
    enforced = EnforceRelation(m_file, relation, columns, primary, foreign);
  if (!enforced.IsOk()) return enforced;
  const CDaoResult added = m_catalogue.AddRelation(relation, GetLocalDate());
  return added.IsOk() ? enforced : added;
}

CDaoResult CEmbeddedFile::FindClosedTable(std::u16string_view name, uint32_t& page) const {
  const SCatalogueObject* object = m_catalogue.Find(name);
  if (object == nullptr || object->type != kObjectTable)
    return {EDaoError::ObjectNotFound, u"There is no table named \"" + std::u16string(name) + u"\"."};
  if (object->id < kFirstFreePage)
    return {EDaoError::NotSupported, u"Only the database itself changes a system table."};
  const auto isSame = [&](const auto& open) { return open->GetPage() == object->id; };
  if (std::any_of(m_openTables.begin(), m_openTables.end(), isSame))
    return {EDaoError::NotSupported, u"The table is open already."};
  page = object->id;
  return CDaoResult::Ok();
}

CDaoResult CEmbeddedFile::OpenTable(std::u16string_view name, std::shared_ptr<CTableStore>& table) {
  table.reset();
  if (!m_isOpen) return Closed();
  if (m_isReadOnly) return ReadOnly();
  uint32_t page = 0;
  if (CDaoResult result = FindClosedTable(name, page); !result.IsOk()) return result;
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
