// What becomes of the complex columns of a saved table: fields of the same kind where the new database has
// them, else the number of a group of values, with the values themselves in a table of their own.
#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "dao/dao.h"
#include "model/AccessData.h"
#include "model/FlatTable.h"
#include "render/ComplexValues.h"

namespace tolvane {

struct SComplexField {
  size_t column = SFlatTable::kNoColumn;  // in its table
  SFlatTable flat;                        // without a table where the values are lost
  int16_t type = 0;                       // EDaoType of the field; 0 where the new database has none for it
  size_t memo = SFlatTable::kNoColumn;    // column whose versions the values are
  int32_t lastKey = 0;                    // no record has a higher one
  std::unique_ptr<CComplexValues> values;

  [[nodiscard]] bool HasValues() const { return values != nullptr; }
  [[nodiscard]] bool IsOfVersions() const { return flat.kind == EFlatKind::Versions; }
};

// For the complex columns of a table, in their order. `hasFields` tells whether the new database's format has
// complex fields.
std::vector<SComplexField> PlanComplexFields(const CAccessData& data, const CAccessTable& table,
                                             bool hasFields);

// The column's name for people: of versions that of their memo.
std::u16string NameOf(const SComplexField& complex, const CAccessTable& table);
// The field with the number of a record's group of values, where the values have a table of their own.
std::u16string KeyNameOf(const SComplexField& complex, const CAccessTable& table);

// The column that holds the values themselves, or the files; null where there is none to speak of.
const CAccessColumn* ItemColumnOf(const SComplexField& complex);

// The places of a table's columns as users see them. Where a complex column becomes two fields there is room
// for the second; what leads to the versions of a memo is not seen.
std::vector<uint16_t> FindPositions(const CAccessColumnList& columns,
                                    const std::vector<SComplexField>& fields);

// Where the values of a flat table's column go in the records that OpenComplexRecordset answers.
size_t ComplexFieldIndex(const SFlatTable& flat, size_t column);

}  // namespace tolvane
