// A saved query as the format keeps it: the flags of its object row and its rows of MSysQueries.
//
// clang-format off
//   Attribute       Flag               Name1             Name2            Expression
//     0 start       0
//     1 kind        EQueryKind         target table,     its database     statement of a data definition
//                                      or connection                      or of a pass-through query
//     2 parameter   type code          name                               (length of a text: LvExtra)
//     3 options     bits, see below    number of TOP
//     4 database                       path              connect type
//     5 source                         table or query    alias            path of its database; a statement
//     6 column      0; see below       alias             target column    expression
//     7 join        1, 2, 3            left source       right source     condition
//     8 WHERE                                                             condition
//     9 GROUP BY    0; see below                                          expression
//    10 HAVING                                                            condition
//    11 ORDER BY                       D = descending                     expression
//   255 end
// clang-format on
//
// A union has two sources without Name1, told apart by the marks in Name2. Parentheses of joins are not
// stored; each condition is a row. The column Order numbers the rows of a query and attribute from 1,
// big-endian.
#pragma once

#include <cstdint>
#include <iterator>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace tolvane {

// Values of Attribute.
enum EQueryAttribute : uint8_t {
  kQueryStart = 0,
  kQueryKind = 1,
  kQueryParameter = 2,
  kQueryOptions = 3,
  kQueryDatabase = 4,
  kQuerySource = 5,
  kQueryColumn = 6,
  kQueryJoin = 7,
  kQueryCriteria = 8,
  kQueryGrouping = 9,
  kQueryHaving = 10,
  kQuerySortKey = 11,
  kQueryEnd = 255,
};

// Flag of the kind row.
enum EQueryKind : int16_t {
  kKindSelect = 1,
  kKindMakeTable = 2,
  kKindAppend = 3,
  kKindUpdate = 4,
  kKindDelete = 5,
  kKindCrosstab = 6,
  kKindDataDefinition = 7,
  kKindPassThrough = 8,
  kKindUnion = 9,
};

// The kind by bits 4 to 7 of the object row's flags; the lower bits say who may see the query.
inline constexpr EQueryKind kQueryKinds[] = {kKindSelect,         kKindCrosstab,    kKindDelete,
                                             kKindUpdate,         kKindAppend,      kKindMakeTable,
                                             kKindDataDefinition, kKindPassThrough, kKindUnion};
inline constexpr uint32_t kQueryKindShift = 4;

// Empty for flags of no known kind.
constexpr std::optional<EQueryKind> QueryKindOf(uint32_t objectFlags) {
  const uint32_t digit = objectFlags >> kQueryKindShift;
  if (digit >= std::size(kQueryKinds)) return std::nullopt;
  return kQueryKinds[digit];
}
constexpr uint32_t QueryFlagsOf(EQueryKind kind) {
  uint32_t digit = 0;
  while (digit < std::size(kQueryKinds) && kQueryKinds[digit] != kind) ++digit;
  return digit << kQueryKindShift;
}
static_assert(QueryFlagsOf(kKindAppend) == 0x40 && QueryKindOf(0x83) == kKindUnion && !QueryKindOf(0x90));

// Flag of the options row. A union has kOptionDistinct for UNION and not for UNION ALL.
inline constexpr int16_t kOptionAllColumns = 1, kOptionDistinct = 2, kOptionOwnerAccess = 4,
                         kOptionDistinctRow = 8, kOptionTop = 0x10, kOptionPercent = 0x20;

// Flag of column and grouping rows: of a crosstab, or of a VALUES list.
inline constexpr int16_t kColumnPlain = 0, kColumnPivot = 1, kColumnHeading = 2,
                         kColumnValues = static_cast<int16_t>(0x8000);

// Flag of the join row.
inline constexpr int16_t kJoinInner = 1, kJoinLeft = 2, kJoinRight = 3;

inline constexpr std::u16string_view kUnionFirst = u"X7YZ_____1", kUnionSecond = u"X7YZ_____2";

struct SQueryRow {
  uint8_t attribute = 0;
  std::optional<int16_t> flag;
  std::optional<std::u16string> name1;
  std::optional<std::u16string> name2;
  std::optional<std::u16string> expression;
  std::optional<int32_t> extra;
};

struct SSavedQuery {
  std::u16string name;
  uint32_t flags = 0;               // of its object row
  std::vector<SQueryRow> rows;      // in the order in which they are stored, start and end included
  std::vector<uint8_t> properties;  // of its object row, as Jet 4 keeps them; may be empty
  std::u16string sql = {};          // the text that the rows were made from; empty where they came first
};

}  // namespace tolvane
