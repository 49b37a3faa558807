#include "writer/QueryProperties.h"

#include <algorithm>
#include <span>
#include <string>
#include <string_view>
#include <unordered_map>
#include <utility>
#include <vector>

#include "format/PropertyBlob.h"
#include "format/SystemObjects.h"
#include "format/Value.h"
#include "render/CatalogueRow.h"
#include "render/ObjectProperties.h"
#include "store/ObjectPlace.h"
#include "store/RowReader.h"

namespace tolvane {
namespace {

// Ids of objects, and where they occur: an object of another database has ids of its own.
constexpr std::u16string_view kIdsOfTheirDatabase[] = {u"GUID", u"NameMap"};

using Blob = std::vector<uint8_t>;

// UTF-16LE, as Jet 4 keeps names.
std::string WideBytes(std::u16string_view text) {
  const std::span<const uint8_t> bytes = UnitBytes(text);
  return {bytes.begin(), bytes.end()};
}

bool IsOfItsDatabase(const SProperty& property) {
  return std::ranges::find(kIdsOfTheirDatabase, property.name) != std::end(kIdsOfTheirDatabase);
}

// A text of a code page may be once it is wide.
bool IsTooLong(const SProperty& property) {
  return property.value.size() > kLongestProperty;
}

// False when the blob cannot be followed to its end; what is whole is taken.
bool TakeProperties(const SSourceFacts& source, const Blob& blob, Blob& properties) {
  std::vector<SOwnedProperties> taken;
  bool isWhole = TakeObjectProperties(source, blob, taken);
  std::vector<SPropertyOwner> owners;
  for (SOwnedProperties& from : taken) {
    std::erase_if(from.properties, IsOfItsDatabase);
    if (std::erase_if(from.properties, IsTooLong) > 0) isWhole = false;
    if (from.properties.empty()) continue;
    SPropertyOwner& owner = owners.emplace_back();
    owner.kind = from.kind;
    owner.name = WideBytes(from.column);
    for (SProperty& property : from.properties)
      owner.properties.push_back(
          {WideBytes(property.name), property.flags, property.type, std::move(property.value)});
  }
  properties = owners.empty() ? Blob() : EncodePropertyBlob(false, owners);
  return isWhole;
}

}  // namespace

void ReadQueryProperties(const CAccessData& data, CTList<CQuery>& queries) {
  const CAccessTable* catalogue = nullptr;
  for (const auto& table : data.GetTables())
    if (table->name == kMSysObjects) catalogue = table.get();
  if (catalogue == nullptr || data.GetRules().recordsHoldTexts) return;
  std::unordered_map<uint32_t, CQuery*> byId;
  for (CQuery* query = queries.GetHead(); query != nullptr; query = query->GetNext())
    byId.emplace(static_cast<uint32_t>(ParseQueryNumber(query->rows.GetHead()->ObjectId)), query);
  CTableRowReader rows(catalogue->columns.GetCount());
  if (byId.empty() || !rows.Open(catalogue->GetRecords())) return;
  Blob record, blob;
  while (rows.BeginRow()) {
    const SCatalogueRow row = ReadCatalogueRow(*catalogue, rows, record);
    if (row.type != kObjectQuery || !row.id || !row.properties) continue;
    const auto query = byId.find(*row.id);
    if (query == byId.end() || row.properties->length == 0) continue;
    const bool isRead = ReadObject(*row.properties, kLongestPropertyBlob, blob);
    query->second->arePropertiesLost =
        !TakeProperties(data.source, blob, query->second->properties) || !isRead;
  }
}

}  // namespace tolvane
