// One row of MSysComplexColumns: what hides behind a complex column.
#pragma once

#include <cstdint>
#include <string>
#include <utility>

#include "platform/Text.h"

namespace tolvane {

class CMSysComplexColumnsData {
 public:
  CMSysComplexColumnsData() = default;
  // The row's five values in their order.
  CMSysComplexColumnsData(std::u16string name, std::u16string type, std::u16string flat,
                          std::u16string conceptual, std::u16string id)
      : columnName(std::move(name)),
        complexType(std::move(type)),
        flatTable(std::move(flat)),
        conceptualTable(std::move(conceptual)),
        complexId(std::move(id)) {}
  // As the descriptor of a complex column holds them: numbers where the row's values are texts.
  CMSysComplexColumnsData(std::u16string name, int32_t type, int32_t flat, int32_t conceptual, int32_t id)
      : CMSysComplexColumnsData(std::move(name), ToDecimal(int64_t{type}), ToDecimal(int64_t{flat}),
                                ToDecimal(int64_t{conceptual}), ToDecimal(int64_t{id})) {}
  virtual ~CMSysComplexColumnsData() = default;

  // In the order in which the table's values are stored; numbers as decimal text.
  std::u16string columnName;
  std::u16string complexType;      // definition page of the template table: the kind of values
  std::u16string flatTable;        // definition page of the table that holds the values
  std::u16string conceptualTable;  // definition page of the table with the column
  std::u16string complexId;        // the id in the column's descriptor
};

}  // namespace tolvane
