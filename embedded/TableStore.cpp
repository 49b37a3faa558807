#include "embedded/TableStore.h"

#include <algorithm>
#include <optional>
#include <utility>

#include "embedded/ObjectName.h"
#include "embedded/TableIndexes.h"
#include "embedded/UsageMap.h"

namespace tolvane {
namespace {

void AssignMaps(STableDefinition& definition, const std::vector<uint32_t>& pointers) {
  auto next = pointers.begin();
  definition.ownedMap = *next++;
  definition.freeMap = *next++;
  for (uint16_t number = 0; number < definition.columnsEver; number++) {
    for (SColumnDefinition& column : definition.columns) {
      if (column.number != number || !column.HoldsLongValues()) continue;
      column.ownedMap = *next++;
      column.freeMap = *next++;
    }
  }
  for (SRealIndex& index : definition.realIndexes)
    if (next != pointers.end()) index.map = *next++;
}

CDaoResult AllocateAndStore(CPageFile& file, STableDefinition& definition, std::vector<uint32_t>& pages,
                            SMapPlaces maps) {
  const size_t size = EncodeDefinition(file.GetLayout(), definition).size();
  while (pages.size() < CountDefinitionPages(file.GetLayout(), size)) {
    uint32_t page = 0;
    if (CDaoResult result = file.Allocate(EPageUse::Structure, page); !result.IsOk()) return result;
    pages.push_back(page);
  }
  const size_t apart = maps.isEachIndexApart ? definition.realIndexes.size() : 0;
  if (maps.given.empty())
    if (CDaoResult result = CreateUsageMaps(file, CountUsageMaps(definition) - apart, maps.given);
        !result.IsOk())
      return result;
  AssignMaps(definition, maps.given);
  for (SRealIndex& index : definition.realIndexes) {
    if (maps.isEachIndexApart) {
      maps.given.clear();
      if (CDaoResult result = CreateUsageMaps(file, 1, maps.given); !result.IsOk()) return result;
      index.map = maps.given.front();
    }
    if (CDaoResult result = CreateIndex(file, pages.front(), index); !result.IsOk()) return result;
  }
  return StoreDefinition(file, definition, pages);
}

}  // namespace

size_t CountUsageMaps(const STableDefinition& definition) {
  size_t count = 2 + definition.realIndexes.size();
  for (const SColumnDefinition& column : definition.columns) count += column.HoldsLongValues() ? 2 : 0;
  return count;
}

CDaoResult CreateTable(CPageFile& file, STableDefinition& definition, std::vector<uint32_t>& pages,
                       SMapPlaces maps) {
  CPageSet allocated;
  file.RecordAllocations(&allocated);
  CDaoResult result = AllocateAndStore(file, definition, pages, std::move(maps));
  file.RecordAllocations(nullptr);
  if (!result.IsOk()) allocated.ForEach([&](uint32_t page) { file.Release(page); });
  return result;
}

CTableStore::CTableStore(CPageFile& file, uint32_t definitionPage)
    : m_file(file),
      m_page(definitionPage),
      m_data(file, definitionPage,
             IsSystemPage(file.GetLayout(), definitionPage) ? EPageUse::Structure : EPageUse::Content,
             m_owned, m_free),
      m_readPage(file.GetLayout()) {}

CDaoResult CTableStore::Load() {
  if (CDaoResult result = LoadDefinition(m_file, m_page, m_definition, m_definitionPages); !result.IsOk())
    return result;
  if (CDaoResult result = LoadUsageMap(m_file, m_definition.ownedMap, m_owned); !result.IsOk()) return result;
  if (CDaoResult result = LoadUsageMap(m_file, m_definition.freeMap, m_free); !result.IsOk()) return result;
  for (const SColumnDefinition& column : m_definition.columns) {
    m_longValues.emplace_back();
    if (!column.HoldsLongValues()) continue;
    m_longValues.back() = std::make_unique<CLongValueWriter>(m_file, column);
    if (CDaoResult result = m_longValues.back()->Load(); !result.IsOk()) return result;
  }
  m_row = std::make_unique<CRowEncoder>(m_file.GetLayout(), m_definition);
  return CDaoResult::Ok();
}

CDaoResult CTableStore::Store() {
  if (!m_isChanged) return CDaoResult::Ok();
  if (CDaoResult result = m_data.Flush(); !result.IsOk()) return result;
  for (const auto& longValues : m_longValues)
    if (longValues)
      if (CDaoResult result = longValues->Store(); !result.IsOk()) return result;
  if (CDaoResult result = StoreUsageMap(m_file, m_definition.ownedMap, m_owned); !result.IsOk())
    return result;
  if (CDaoResult result = StoreUsageMap(m_file, m_definition.freeMap, m_free); !result.IsOk()) return result;
  const std::unique_ptr<CIndexFeed> feed = std::move(m_feed);
  DropFeed();
  if (CDaoResult result = RebuildIndexes(m_file, *this, m_definition, m_indexChanges, 0, feed.get());
      !result.IsOk())
    return result;
  if (CDaoResult result = StoreDefinition(m_file, m_definition, m_definitionPages); !result.IsOk())
    return result;
  m_isChanged = false;
  return CDaoResult::Ok();
}

void CTableStore::RaiseAutoNumber(int32_t value) {
  if (value > GetAutoNumber()) m_definition.autoNumber = static_cast<uint32_t>(value);
}

void CTableStore::BeginRow() {
  DiscardRow();
  m_row->Begin();
}

// Moves inline long values out of a row that is too long, the largest first, as long as that helps.
CDaoResult CTableStore::ShortenRow() {
  while (m_row->IsTooLong()) {
    CLongValueWriter* largest = nullptr;
    size_t size = 0;
    for (const auto& longValues : m_longValues) {
      const size_t inlineSize = longValues ? longValues->GetInlineSize(*m_row) : 0;
      if (inlineSize <= size) continue;
      largest = longValues.get();
      size = inlineSize;
    }
    if (largest == nullptr)
      return {EDaoError::RecordTooLarge, u"The record is too large: its fields do not fit in one page."};
    largest->MoveOut(*m_row);
  }
  return CDaoResult::Ok();
}

CDaoResult CTableStore::PlaceLongValues() {
  if (CDaoResult result = ShortenRow(); !result.IsOk()) return result;
  for (const auto& longValues : m_longValues)
    if (longValues)
      if (CDaoResult result = longValues->Commit(*m_row); !result.IsOk()) return result;
  return CDaoResult::Ok();
}

void CTableStore::ForgetLongValues() {
  for (const auto& longValues : m_longValues)
    if (longValues) longValues->Forget();
}

CDaoResult CTableStore::StoreRow() {
  uint32_t pointer = 0;
  return StoreRow(pointer);
}

CDaoResult CTableStore::StoreRow(uint32_t& pointer) {
  if (CDaoResult result = PlaceLongValues(); !result.IsOk()) return result;
  std::span<uint8_t> row;
  if (CDaoResult result = AddRow(m_row->GetRowSize(), row, pointer); !result.IsOk()) return result;
  m_row->Write(row);
  ForgetLongValues();
  return CDaoResult::Ok();
}

CDaoResult CTableStore::StoreRow(std::span<const uint8_t> bytes) {
  DiscardRow();
  std::span<uint8_t> row;
  uint32_t pointer = 0;
  if (CDaoResult result = AddRow(bytes.size(), row, pointer); !result.IsOk()) return result;
  std::ranges::copy(bytes, row.begin());
  return CDaoResult::Ok();
}

// Room for one more row.
CDaoResult CTableStore::AddRow(size_t size, std::span<uint8_t>& row, uint32_t& pointer) {
  if (!m_isChanged) StartFeed();
  if (CDaoResult result = m_data.AddRow(size, row, pointer); !result.IsOk()) return result;
  m_definition.rowCount++;
  m_isChanged = true;
  return CDaoResult::Ok();
}

void CTableStore::StartFeed() {
  if (!m_owned.IsEmpty() || !CIndexFeed::IsPossible(m_definition)) return;
  m_feed = std::make_unique<CIndexFeed>(m_file, m_definition);
  m_data.SetObserver([this](uint32_t number, std::span<const uint8_t> page) {
    if (m_feed && !m_feed->TakePage(number, page)) m_feed.reset();
  });
}

// The rows are read again when their indexes are built.
void CTableStore::DropFeed() {
  m_data.SetObserver({});
  m_feed.reset();
}

void CTableStore::DiscardRow() {
  for (const auto& longValues : m_longValues)
    if (longValues) longValues->Discard();
}

CDaoResult CTableStore::AddIndex(SRealIndex index) {
  DropFeed();
  const size_t position = m_definition.realIndexes.size();
  CPageSet allocated;
  m_file.RecordAllocations(&allocated);
  CDaoResult result = BuildIndex(std::move(index));
  m_file.RecordAllocations(nullptr);
  if (result.IsOk() && m_definition.realIndexes.size() == position)
    result = {EDaoError::NotSupported,
              u"The foreign fields hold characters whose place in the sort order is not known."};
  if (result.IsOk()) return result;
  m_definition.realIndexes.resize(position);
  allocated.ForEach([this](uint32_t page) { m_file.Release(page); });
  // Its texts may have got another order, and the other indexes with them.
  const CDaoResult stored = StoreIndexes();
  return stored.IsOk() ? result : stored;
}

// The map gets a page of its own, so that dropping the index leaves nothing behind.
CDaoResult CTableStore::BuildIndex(SRealIndex index) {
  std::vector<uint32_t> pointers;
  if (CDaoResult result = CreateUsageMaps(m_file, 1, pointers); !result.IsOk()) return result;
  index.map = pointers.front();
  if (CDaoResult result = CreateIndex(m_file, m_page, index); !result.IsOk()) return result;
  m_definition.realIndexes.push_back(std::move(index));
  SIndexChanges changes;
  return RebuildIndexes(m_file, *this, m_definition, changes, m_definition.realIndexes.size() - 1);
}

CDaoResult CTableStore::DropLastIndex() {
  DropFeed();
  const uint32_t map = m_definition.realIndexes.back().map;
  CDaoResult result = DropIndex(m_file, m_definition, m_definition.realIndexes.size() - 1);
  if (result.IsOk()) m_file.Release(PageOfPointer(map));
  return result;
}

void CTableStore::AddLogicalIndex(SLogicalIndex index) {
  std::vector<SLogicalIndex>& indexes = m_definition.logicalIndexes;
  const auto at = std::ranges::find_if(
      indexes, [&](const SLogicalIndex& other) { return IsNameBefore(GetLayout(), index.name, other.name); });
  indexes.insert(at, std::move(index));
}

void CTableStore::RemoveLogicalIndex(std::u16string_view name) {
  std::erase_if(m_definition.logicalIndexes, [name](const auto& index) { return index.name == name; });
}

CDaoResult CTableStore::StoreIndexes() {
  return StoreDefinition(m_file, m_definition, m_definitionPages);
}

CDaoResult CTableStore::UseGeneralLegacy() {
  std::vector<uint16_t> numbers;
  for (const SColumnDefinition& column : m_definition.columns) numbers.push_back(column.number);
  return UseGeneralLegacy(numbers);
}

CDaoResult CTableStore::UseGeneralLegacy(std::span<const uint16_t> numbers) {
  bool isChanged = false;
  DropFeed();
  for (SColumnDefinition& column : m_definition.columns) {
    const bool isMeant = std::ranges::find(numbers, column.number) != numbers.end();
    if (!isMeant || column.order == STextOrder{} || column.order.language == 0) continue;
    column.order = {};
    isChanged = true;
  }
  if (!isChanged) return CDaoResult::Ok();
  if (CDaoResult result = RebuildIndexes(m_file, *this, m_definition, m_indexChanges); !result.IsOk())
    return result;
  return StoreIndexes();
}

CDaoResult CTableStore::ForEachRow(const RowVisitor& visit) {
  CSlottedPage page(m_file.GetLayout());
  std::vector<uint8_t> bytes(m_file.GetLayout().pageSize);
  for (uint32_t number = m_owned.GetFirst(); number != CPageSet::kNone;
       number = m_owned.FindFrom(number + 1)) {
    if (CDaoResult result = m_file.Read(number, bytes); !result.IsOk()) return result;
    if (!page.Load(bytes) || page.GetOwner() != m_page)
      return {EDaoError::NotSupported,
              u"The database holds rows that only the program that made it can change."};
    for (uint32_t row = 0; row < page.GetRowCount(); row++)
      if (!visit(page.GetRow(row), MakeRowPointer(number, row))) return CDaoResult::Ok();
  }
  return CDaoResult::Ok();
}

CDaoResult CTableStore::EditRow(uint32_t pointer, const std::function<CDaoResult()>& edit) {
  DropFeed();
  if (CDaoResult result = m_data.Close(); !result.IsOk()) return result;
  const std::span<const uint8_t> found = ReadRow(pointer);
  const std::vector<uint8_t> old(found.begin(), found.end());
  BeginRow();
  for (const SColumnDefinition& column : m_definition.columns) {
    std::optional<std::span<const uint8_t>> value;
    if (!ReadRowColumn(GetLayout(), m_definition, old, column, value))
      return {EDaoError::NotADatabase, u"A record that is to be changed cannot be read."};
    if (column.type == kTypeBoolean)
      m_row->SetBoolean(column, value && value->front() != 0);
    else if (value)
      m_row->Set(column, *value);
  }
  CDaoResult result = edit();
  if (result.IsOk()) result = PlaceLongValues();
  if (!result.IsOk()) return result;
  std::vector<uint8_t> row(m_row->GetRowSize());
  m_row->Write(row);
  std::vector<uint8_t> bytes(GetLayout().pageSize);
  if (result = m_file.Read(PageOfPointer(pointer), bytes); !result.IsOk()) return result;
  if (!m_readPage.Load(bytes) || !m_readPage.ReplaceRow(RowOfPointer(pointer), row))
    return {EDaoError::RecordTooLarge, u"There is no room left beside the record that is to be changed."};
  if (result = m_file.Write(PageOfPointer(pointer), m_readPage.Finish()); !result.IsOk()) return result;
  ForgetLongValues();
  m_isChanged = true;
  return result;
}

std::span<const uint8_t> CTableStore::ReadRow(uint32_t pointer) {
  std::vector<uint8_t> bytes(m_file.GetLayout().pageSize);
  const uint32_t page = PageOfPointer(pointer);
  if (page >= m_file.GetPageCount() || !m_file.Read(page, bytes).IsOk() || !m_readPage.Load(bytes)) return {};
  return m_readPage.GetRow(RowOfPointer(pointer));
}

}  // namespace tolvane
