#include "render/CatalogueRow.h"

#include <utility>

#include "format/SystemObjects.h"
#include "format/Value.h"
#include "render/RecordText.h"

namespace tolvane {
namespace {

void TakeCell(uint16_t column, const SValue& value, const std::u16string& objects, SCatalogueRow& row) {
  const auto takePlace = [&](std::optional<SObjectPlace>& to) {
    SObjectPlace place{.path = objects};
    if (TakeObjectReference(value.bytes, place)) to = std::move(place);
  };
  switch (column) {
    case kObjectsId:
      if (value.bytes.size() == sizeof(uint32_t)) row.id = GetLittle<uint32_t>(value.bytes, 0);
      break;
    case kObjectsType:
      if (value.bytes.size() == sizeof(int16_t)) row.type = GetLittle<int16_t>(value.bytes, 0);
      break;
    case kObjectsName:
      CopyUnits(value.bytes, row.name);
      break;
    case kObjectsDatabase:
      CopyUnits(value.bytes, row.database);
      break;
    case kObjectsConnect:
      CopyUnits(value.bytes, row.connect);
      break;
    case kObjectsForeignName:
      CopyUnits(value.bytes, row.foreignName);
      break;
    case kObjectsShortInfo:
      row.shortInfo.assign(value.bytes.begin(), value.bytes.end());
      break;
    case kObjectsLongInfo:
      takePlace(row.longInfo);
      break;
    case kObjectsProperties:
      takePlace(row.properties);
      break;
    default:
      break;
  }
}

}  // namespace

SCatalogueRow ReadCatalogueRow(const CAccessTable& catalogue, CTableRowReader& rows,
                               std::vector<uint8_t>& record) {
  SCatalogueRow row;
  const std::u16string objects = catalogue.GetObjectFilePath();
  for (const CAccessColumn& column : catalogue.columns) {
    rows.ReadRecord(record);
    SValue value;
    if (TakeValue(KindOf(column), record, value) && !value.isNull)
      TakeCell(column.number, value, objects, row);
  }
  return row;
}

}  // namespace tolvane
