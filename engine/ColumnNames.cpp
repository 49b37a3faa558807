#include "engine/ColumnNames.h"

#include <algorithm>
#include <map>
#include <string>
#include <vector>

#include "format/Layout.h"
#include "format/NameMap.h"
#include "format/PropertyBlob.h"
#include "platform/Text.h"
#include "render/ObjectProperties.h"
#include "render/RecordText.h"
#include "store/ObjectPlace.h"

namespace tolvane {

namespace {

// What a column's properties tell of its type.
enum class ENameKind : uint8_t { Any, Text, Guid };

struct SName {
  std::u16string name;
  ENameKind kind = ENameKind::Any;
};
using Names = std::vector<SName>;
using Blob = std::vector<uint8_t>;

// Only texts may be empty, and only GUIDs are made.
ENameKind NameKindOf(const SOwnedProperties& column) {
  if (FindProperty(column.properties, u"AllowZeroLength") != nullptr ||
      FindProperty(column.properties, u"UnicodeCompression") != nullptr)
    return ENameKind::Text;
  return TextOf(FindProperty(column.properties, u"DefaultValue")) == u"GenGUID()" ? ENameKind::Guid
                                                                                  : ENameKind::Any;
}

ENameKind NameKindOf(const CAccessColumn& column) {
  if (column.type == kTypeText || column.type == kTypeMemo) return ENameKind::Text;
  return column.type == kTypeGuid ? ENameKind::Guid : ENameKind::Any;
}

// The columns' names that the properties tell, of those lists of them the one that is as long as the table.
Names NamesOfBlob(const Blob& blob, const SSourceFacts& source, size_t count) {
  std::vector<SOwnedProperties> owners;
  TakeObjectProperties(source, blob, owners);
  Names names;
  for (const SOwnedProperties& owner : owners) {
    if (owner.kind == kPropertiesOfColumn) names.push_back({owner.column, NameKindOf(owner)});
    const SProperty* const map =
        owner.kind == kPropertiesOfObject ? FindProperty(owner.properties, kNameMap) : nullptr;
    if (map == nullptr) continue;
    Names mapped;
    for (const std::u16string& name : DecodeNameMap(map->value).columns) mapped.push_back({name});
    if (mapped.size() == count) return mapped;
  }
  return names.size() == count ? names : Names{};
}

// Gives names to columns that have none of them, by place in the definition. Properties stand in the order in
// which they were set, which is mostly that of the columns; where as many names are of a kind as columns, the
// kind tells.
void Rename(CAccessTable& table, Names names) {
  std::map<uint16_t, CAccessColumn*> columns;  // without a name, by place
  for (size_t i = 0; i < table.columns.GetCount(); i++) {
    CAccessColumn* const column = table.columns.GetAt(i);
    if (column->descriptor < names.size()) columns.emplace(column->descriptor, column);
  }
  std::erase_if(columns, [&names](const auto& entry) {
    const auto own = std::ranges::find(names, entry.second->GetName(), &SName::name);
    if (own == names.end()) return false;
    names.erase(own);
    return true;
  });
  for (const ENameKind kind : {ENameKind::Text, ENameKind::Guid, ENameKind::Any}) {
    const auto isOfKind = [kind](ENameKind other) { return kind == ENameKind::Any || other == kind; };
    const auto count = [&](const auto& list, const auto& kindOf) {
      return std::ranges::count_if(list, [&](const auto& item) { return isOfKind(kindOf(item)); });
    };
    if (count(names, [](const SName& name) { return name.kind; }) !=
        count(columns, [](const auto& entry) { return NameKindOf(*entry.second); }))
      continue;
    auto name = names.begin();
    for (auto at = columns.begin(); at != columns.end();) {
      if (!isOfKind(NameKindOf(*at->second))) {
        ++at;
        continue;
      }
      name = std::find_if(name, names.end(), [&](const SName& other) { return isOfKind(other.kind); });
      if (!name->name.empty()) at->second->SetName(name->name);
      name = names.erase(name);
      at = columns.erase(at);
    }
  }
}

}  // namespace

void RestoreColumnNames(CAccessData& data, uint32_t pageSize) {
  std::map<std::u16string, CAccessTable*> nameless;  // by the catalogue's id
  for (const auto& table : data.GetTables())
    if (table->hasMendedNames) nameless[table->GetPageText(pageSize)] = table.get();
  const CAccessTable* const catalogue = data.GetTables().FindTable(uint64_t{kObjectsPage} * pageSize);
  if (nameless.empty() || catalogue == nullptr) return;
  size_t id = catalogue->columns.GetCount(), properties = id;
  for (size_t i = 0; i < catalogue->columns.GetCount(); i++) {
    if (catalogue->columns.GetAt(i)->GetName() == u"Id") id = i;
    if (catalogue->columns.GetAt(i)->GetName() == u"LvProp") properties = i;
  }
  CTableTextReader reader(*catalogue, data.GetRules());
  if (std::max(id, properties) >= catalogue->columns.GetCount() || !reader.Open()) return;
  for (std::vector<std::u16string> cells; reader.ReadRow(cells);) {
    const auto found = nameless.find(cells[id]);
    if (found == nameless.end() || cells[properties].empty()) continue;
    Blob blob;
    static_cast<void>(ReadObject(reader.GetObjectPlace(properties), kLongestPropertyBlob, blob));
    Rename(*found->second, NamesOfBlob(blob, data.source, found->second->columns.GetCount()));
  }
}

}  // namespace tolvane
