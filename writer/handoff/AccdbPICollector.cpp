#include "writer/handoff/AccdbPICollector.h"

#include "store/FileNameManager.h"

namespace tolvane {

namespace {

// The engine finds a data file by the low half of the table's key, taken as a signed number. Beyond 2 GiB,
// larger than any such file gets, it would be another file.
uint64_t DataFileKey(uint64_t definitionOffset) {
  return static_cast<uint64_t>(int64_t{static_cast<int32_t>(static_cast<uint32_t>(definitionOffset))});
}

CAccdbColInfo CollectColumn(const CAccessColumn& column) {
  CAccdbColInfo info;
  info.name = column.GetName();
  info.size = column.length;
  info.type = column.type;
  info.flags = column.flags;
  if (const CMSysComplexColumnsData* data = column.GetComplexData()) info.complexData = *data;
  return info;
}

CAccdbIndexInfo CollectIndex(const CAccessTableIndex& index) {
  CAccdbIndexInfo info;
  info.isPrimary = index.primary;
  info.name = index.name;
  for (size_t i = 0; i < index.columnCount; i++) {
    const CAccessIndexColumnInfo& column = index.columns[i];
    info.columns.push_back({int32_t{column.columnNumber}, static_cast<uint8_t>(column.isAscending)});
  }
  return info;
}

CAccdbTblInfo CollectTable(const CAccessTable& table, const CFileNameManager& names) {
  CAccdbTblInfo info;
  info.name = table.name;
  info.dataFilePath = names.GetDataFilePath(DataFileKey(table.GetDefinitionOffset()));
  info.rowCount = table.header.rowCount;
  for (const CAccessColumn& column : table.columns) info.columns.Add(CollectColumn(column));
  for (const CAccessTableIndex& index : table.indexes) info.indexes.Add(CollectIndex(index));
  return info;
}

}  // namespace

void CAccdbPICollector::Collect(const CAccessData& parseData, CAccdbParsedInfo& parsedInfo) const {
  parsedInfo = {};
  parsedInfo.database.path = parseData.sourcePath;
  const CFileNameManager names(parseData.GetWorkFolder());
  for (const auto& table : parseData.GetTables()) parsedInfo.tables.push_back(CollectTable(*table, names));
}

}  // namespace tolvane
