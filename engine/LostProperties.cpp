#include "engine/LostProperties.h"

#include <algorithm>
#include <map>
#include <optional>
#include <string_view>
#include <unordered_set>
#include <utility>

#include "engine/CatalogueObjects.h"
#include "format/LongValue.h"
#include "format/NameMap.h"
#include "format/PageHead.h"
#include "format/PageSlots.h"
#include "format/PropertyBlob.h"
#include "render/ObjectProperties.h"

namespace tolvane {

namespace {

using Bytes = std::span<const uint8_t>;

// Names of columns in the order of their letters.
using ColumnNames = std::vector<std::u16string>;

ColumnNames ColumnNamesOf(const CAccessTable& table) {
  ColumnNames names;
  for (const CAccessColumn& column : table.columns) names.emplace_back(column.GetName());
  std::ranges::sort(names);
  return names;
}

struct SPropertyNames {
  std::u16string table;
  ColumnNames columns;
};

SPropertyNames NamesOf(std::span<const SOwnedProperties> owners) {
  SPropertyNames names;
  for (const SOwnedProperties& owner : owners) {
    if (owner.kind == kPropertiesOfColumn) names.columns.push_back(owner.column);
    const SProperty* const map =
        owner.kind == kPropertiesOfObject ? FindProperty(owner.properties, kNameMap) : nullptr;
    if (map != nullptr) names.table = DecodeNameMap(map->value).table;
  }
  std::ranges::sort(names.columns);
  return names;
}

// The values on pages of long values that are properties, one after the other.
class CPropertyBlobs {
 public:
  CPropertyBlobs(CSource& source, const CJobContext& job)
      : m_source(source),
        m_layout(source.GetLayout()),
        m_job(job),
        m_page(m_layout.pageSize),
        m_next(m_page) {}

  // `take` gets each one.
  template <class F>
  void ForEach(const F& take) {
    for (uint64_t number = 0; number < m_source.GetPageCount() && m_job.repairing.IsRunning(); number++) {
      if (!ReadValues(number, m_page)) continue;
      ForEachLiveSlot(m_page, m_layout, [&](uint32_t slot, uint16_t word) {
        const auto row = FindRow(m_page, m_layout, slot, kSlotStart);
        if (!row || (word & kSlotPointer) != 0) return;
        if (IsBlob(*row)) take(*row);
        const auto piece = DecodeChainPiece(*row);
        if (piece && IsBlob(piece->data)) take(Follow(*piece));
      });
    }
  }

 private:
  [[nodiscard]] bool IsBlob(Bytes value) const { return HasPropertyMark(m_layout.isJet3, value); }
  bool ReadValues(uint64_t number, std::span<uint8_t> page) {
    return m_source.GetPages().ReadPage(number * m_layout.pageSize, page) && IsPageOf(page, kPageData) &&
           OwnerOf(page) == kOwnerLongValues && AreSlotsSound(page, m_layout);
  }

  // No piece belongs to two values, so that all of them together are no longer than the file.
  Bytes Follow(const SChainPiece& first) {
    m_blob.assign(first.data.begin(), first.data.end());
    for (uint32_t next = first.next; next != 0 && m_blob.size() < kLongestPropertyBlob;) {
      const SRowPointer pointer = SRowPointer::FromWord(next);
      if (!m_visited.insert(next).second || !ReadValues(pointer.page, m_next)) break;
      const auto row = FindRow(m_next, m_layout, pointer.slot, kSlotStart);
      const auto piece = row ? DecodeChainPiece(*row) : std::nullopt;
      if (!piece) break;
      m_blob.insert(m_blob.end(), piece->data.begin(), piece->data.end());
      next = piece->next;
    }
    return m_blob;
  }

  CSource& m_source;
  const SLayout& m_layout;
  const CJobContext& m_job;
  std::vector<uint8_t> m_page, m_next, m_blob;
  std::unordered_set<uint32_t> m_visited;
};

// A table that waits for its properties.
struct SWaiting {
  CAccessTable* table = nullptr;  // null: several have these columns
  size_t found = 0;               // that fit
  std::u16string name = {};
  std::vector<SOwnedProperties> properties = {};
};

}  // namespace

std::vector<SFoundProperties> RestoreLostProperties(CAccessData& data, CSource& source,
                                                    std::span<CAccessTable* const> tables,
                                                    const CJobContext& job) {
  std::map<ColumnNames, SWaiting> waiting;
  for (CAccessTable* const table : tables)
    if (const auto [entry, isFirst] = waiting.try_emplace(ColumnNamesOf(*table), SWaiting{.table = table});
        !isFirst)
      entry->second.table = nullptr;
  for (const auto& table : data.GetTables())
    if (const auto entry = waiting.find(ColumnNamesOf(*table));
        entry != waiting.end() && entry->second.table != table.get())
      entry->second.table = nullptr;
  std::erase_if(waiting, [](const auto& entry) { return entry.second.table == nullptr; });
  if (waiting.empty()) return {};

  CPropertyBlobs(source, job).ForEach([&](Bytes blob) {
    std::vector<SOwnedProperties> owners;
    if (!TakeObjectProperties(data.source, blob, owners)) return;
    SPropertyNames names = NamesOf(owners);
    const auto entry = waiting.find(names.columns);
    if (entry == waiting.end()) return;
    SWaiting& table = entry->second;
    if (table.found++ == 0) {
      table.name = std::move(names.table);
      table.properties = std::move(owners);
    } else if (table.name != names.table) {
      table.name.clear();
    }
  });

  std::vector<SFoundProperties> found;
  for (auto& [columns, entry] : waiting) {
    if (entry.found == 1) PutProperties(std::move(entry.properties), *entry.table);
    if (entry.found > 0) found.push_back({entry.table, std::move(entry.name)});
  }
  return found;
}

}  // namespace tolvane
