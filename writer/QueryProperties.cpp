#include "writer/QueryProperties.h"

#include <algorithm>
#include <optional>
#include <string_view>
#include <unordered_map>
#include <vector>

#include "format/Bytes.h"
#include "format/PropertyBlob.h"
#include "format/SystemObjects.h"
#include "platform/CodePage.h"
#include "render/RecordText.h"
#include "store/ObjectPlace.h"
#include "store/RowReader.h"
#include "writer/SideFileSource.h"

namespace tolvane {
namespace {

constexpr std::u16string_view kCatalogue = u"MSysObjects";
// Ids of objects, and where they occur: an object of another database has ids of its own.
constexpr std::u16string_view kIdsOfTheirDatabase[] = {u"GUID", u"NameMap"};
// Blocks of properties have some kilobytes; a length of nonsense must not fill the memory.
constexpr uint64_t kMostBytes = 1U << 20;

using Blob = std::vector<uint8_t>;

struct SCatalogueCells {
  std::optional<uint32_t> id;
  std::optional<uint16_t> type;
  std::optional<SObjectPlace> properties;
};

SCatalogueCells ReadCells(const CAccessTable& catalogue, CTableRowReader& rows, Blob& record) {
  SCatalogueCells cells;
  for (const CAccessColumn& column : catalogue.columns) {
    rows.ReadRecord(record);
    SValue value;
    if (!TakeValue(KindOf(column), record, value) || value.isNull) continue;
    SObjectPlace place{.path = catalogue.GetObjectFilePath()};
    if (column.number == kObjectsId && value.bytes.size() == sizeof(uint32_t))
      cells.id = GetLittle<uint32_t>(value.bytes, 0);
    else if (column.number == kObjectsType && value.bytes.size() == sizeof(uint16_t))
      cells.type = GetLittle<uint16_t>(value.bytes, 0);
    else if (column.number == kObjectsProperties && TakeObjectReference(value.bytes, place))
      cells.properties = std::move(place);
  }
  return cells;
}

bool ReadBlob(const SObjectPlace& place, Blob& blob) {
  CSideFileSource source;
  if (place.length > kMostBytes || !source.Open(place)) return false;
  blob.resize(static_cast<size_t>(place.length));
  size_t done = 0, count = 0;
  do {
    if (!source.Read(std::span(blob).subspan(done), count)) return false;
    done += count;
  } while (count > 0 && done < blob.size());
  return done == blob.size();
}

// UTF-16LE instead of bytes of the code page.
template <typename T>
void Widen(uint32_t codePage, T& text) {
  std::u16string units;
  Blob wide;
  DecodeCodePage(codePage, {reinterpret_cast<const uint8_t*>(text.data()), text.size()}, units);
  AppendUnits(wide, units);
  text.assign(wide.begin(), wide.end());
}

void Widen(uint32_t codePage, SPropertyOwner& owner) {
  Widen(codePage, owner.name);
  for (SStoredProperty& property : owner.properties) {
    Widen(codePage, property.name);
    if (property.type == kTypeText || property.type == kTypeMemo) Widen(codePage, property.value);
  }
}

bool IsOfItsDatabase(const SStoredProperty& property) {
  const std::u16string name =
      UnitsOf({reinterpret_cast<const uint8_t*>(property.name.data()), property.name.size()});
  return std::ranges::find(kIdsOfTheirDatabase, name) != std::end(kIdsOfTheirDatabase);
}

// A text of a code page may be once it is wide.
bool IsTooLong(const SStoredProperty& property) {
  return property.value.size() > kLongestProperty;
}

// False when the blob cannot be followed to its end; what stands in front of the break is taken.
bool TakeProperties(const SSourceFacts& source, const Blob& blob, Blob& properties) {
  std::vector<SPropertyOwner> owners;
  bool isWhole = DecodePropertyBlob(source.isJet3, blob, owners);
  for (SPropertyOwner& owner : owners) {
    if (source.isJet3) Widen(source.codePage, owner);
    std::erase_if(owner.properties, IsOfItsDatabase);
    if (std::erase_if(owner.properties, IsTooLong) > 0) isWhole = false;
  }
  std::erase_if(owners, [](const SPropertyOwner& owner) { return owner.properties.empty(); });
  properties = owners.empty() ? Blob() : EncodePropertyBlob(false, owners);
  return isWhole;
}

}  // namespace

void ReadQueryProperties(const CAccessData& data, CTList<CQuery>& queries) {
  const CAccessTable* catalogue = nullptr;
  for (const auto& table : data.GetTables())
    if (table->name == kCatalogue) catalogue = table.get();
  if (catalogue == nullptr || data.GetRules().recordsHoldTexts) return;
  std::unordered_map<uint32_t, CQuery*> byId;
  for (CQuery* query = queries.GetHead(); query != nullptr; query = query->GetNext())
    byId.emplace(static_cast<uint32_t>(ParseQueryNumber(query->rows.GetHead()->ObjectId)), query);
  CTableRowReader rows(catalogue->columns.GetCount());
  if (byId.empty() || !rows.Open(catalogue->GetDataFilePath())) return;
  Blob record, blob;
  while (rows.BeginRow()) {
    const SCatalogueCells cells = ReadCells(*catalogue, rows, record);
    if (cells.type != uint16_t{kObjectQuery} || !cells.id || !cells.properties) continue;
    const auto query = byId.find(*cells.id);
    if (query == byId.end() || cells.properties->length == 0) continue;
    query->second->arePropertiesLost =
        !ReadBlob(*cells.properties, blob) || !TakeProperties(data.source, blob, query->second->properties);
  }
}

}  // namespace tolvane
