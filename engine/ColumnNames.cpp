#include "engine/ColumnNames.h"

#include <algorithm>
#include <map>
#include <string>
#include <vector>

#include "format/Bytes.h"
#include "format/Layout.h"
#include "format/PropertyBlob.h"
#include "platform/CodePage.h"
#include "platform/Text.h"
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

// Property NameMap:
//   0 mark, version, u128 GUID of the table, zeros, f64 date, zeros | 44 name of the table, zero unit, u32 0
//   then for each column:  u128 GUID, u32 7, u128 GUID of the table, name, zero unit, u32 0
constexpr std::string_view kNameMap{"N\0a\0m\0e\0M\0a\0p\0", 14};
constexpr size_t kNameMapName = 44;
constexpr size_t kNameMapHead = 36;
constexpr size_t kNameMapKind = 16;
constexpr uint32_t kNameMapColumn = 7;

// Moves on behind the name and the zeros that follow it.
std::u16string TakeMapName(std::span<const uint8_t> map, size_t& at) {
  std::u16string name;
  for (; at + 2 <= map.size(); at += 2) {
    const auto unit = static_cast<char16_t>(GetLittle<uint16_t>(map, at));
    if (unit == 0) break;
    name += unit;
  }
  at += 2 + sizeof(uint32_t);
  return name;
}

Names NamesOfMap(std::span<const uint8_t> map) {
  Names names;
  size_t at = kNameMapName;
  TakeMapName(map, at);
  while (at + kNameMapHead <= map.size() && GetLittle<uint32_t>(map, at + kNameMapKind) == kNameMapColumn) {
    at += kNameMapHead;
    names.push_back({TakeMapName(map, at)});
  }
  return names;
}

std::u16string StoredText(const std::string& stored, const SSourceFacts& source) {
  const std::span bytes(reinterpret_cast<const uint8_t*>(stored.data()), stored.size());
  if (!source.isJet3) return UnitsOf(bytes);
  std::u16string text;
  DecodeCodePage(source.codePage, bytes, text);
  return text;
}

// Only texts may be empty, and only GUIDs are made.
ENameKind NameKindOf(const SPropertyOwner& column, const SSourceFacts& source) {
  for (const SStoredProperty& property : column.properties) {
    const std::u16string name = StoredText(property.name, source);
    if (name == u"AllowZeroLength" || name == u"UnicodeCompression") return ENameKind::Text;
    const std::string value(property.value.begin(), property.value.end());
    if (name == u"DefaultValue" && StoredText(value, source) == u"GenGUID()") return ENameKind::Guid;
  }
  return ENameKind::Any;
}

ENameKind NameKindOf(const CAccessColumn& column) {
  if (column.type == kTypeText || column.type == kTypeMemo) return ENameKind::Text;
  return column.type == kTypeGuid ? ENameKind::Guid : ENameKind::Any;
}

// The columns' names that the properties tell, of those lists of them the one that is as long as the table.
Names NamesOfBlob(const Blob& blob, const SSourceFacts& source, size_t count) {
  std::vector<SPropertyOwner> owners;
  DecodePropertyBlob(source.isJet3, blob, owners);
  Names names;
  for (const SPropertyOwner& owner : owners) {
    if (owner.kind == kPropertiesOfColumn)
      names.push_back({StoredText(owner.name, source), NameKindOf(owner, source)});
    if (owner.kind != kPropertiesOfObject) continue;
    for (const SStoredProperty& property : owner.properties) {
      if (property.name != kNameMap) continue;
      Names mapped = NamesOfMap(property.value);
      if (mapped.size() == count) return mapped;
    }
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
