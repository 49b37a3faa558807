// One row of MSysComplexColumns: what hides behind a complex column.
#pragma once

#include <string>
#include <utility>

namespace tolvane {

class CMSysComplexColumnsData {
 public:
  CMSysComplexColumnsData() = default;
  CMSysComplexColumnsData(std::u16string columnName, std::u16string complexType, std::u16string flatTable,
                          std::u16string conceptualTable, std::u16string complexId)
      : columnName(std::move(columnName)),
        complexType(std::move(complexType)),
        flatTable(std::move(flatTable)),
        conceptualTable(std::move(conceptualTable)),
        complexId(std::move(complexId)) {}
  virtual ~CMSysComplexColumnsData() = default;

  // In the order in which the table's values are stored; numbers as decimal text.
  std::u16string columnName;
  std::u16string complexType;      // definition page of the template table: the kind of values
  std::u16string flatTable;        // definition page of the table that holds the values
  std::u16string conceptualTable;  // definition page of the table with the column
  std::u16string complexId;        // the id in the column's descriptor
};

}  // namespace tolvane
