// Splits the SQL text of a saved query into the rows in which the format keeps it.
//
//   MSysQueries row: Attribute, Flag, Name1, Name2, Expression
//     0 start, 255 end           1 kind (Flag), target table (Name1), whole statement (Expression)
//     2 parameter                3 options (Flag), TOP number (Name1)
//     5 source (Name1, alias Name2; union member text in Expression)
//     6 column (Expression, alias Name1, target Name2)
//     7 join (left Name1, right Name2, condition Expression, kind Flag)
//     8 WHERE   9 GROUP BY   10 HAVING   11 ORDER BY (Name1 "D" = descending)
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace tolvane {

// Flags of the query's MSysObjects row.
inline constexpr uint32_t kQueryFlagsSelect = 0x00;
inline constexpr uint32_t kQueryFlagsCrosstab = 0x10;
inline constexpr uint32_t kQueryFlagsDelete = 0x20;
inline constexpr uint32_t kQueryFlagsUpdate = 0x30;
inline constexpr uint32_t kQueryFlagsAppend = 0x40;
inline constexpr uint32_t kQueryFlagsMakeTable = 0x50;
inline constexpr uint32_t kQueryFlagsDataDefinition = 0x60;
inline constexpr uint32_t kQueryFlagsUnion = 0x80;

struct SStoredQueryRow {
  uint8_t attribute = 0;
  std::optional<int16_t> flag;
  std::optional<std::u16string> name1;
  std::optional<std::u16string> name2;
  std::optional<std::u16string> expression;
};

struct SStoredQuery {
  uint32_t objectFlags = kQueryFlagsSelect;
  std::vector<SStoredQueryRow> rows;  // in the order in which they are stored, start and end included
  // The text could not be split and is stored whole, as a data definition statement.
  bool isWhole = false;
};

// False when the text cannot be stored at all; `reason` says why. Linear in the text's length.
bool SplitQueryText(std::u16string_view sql, SStoredQuery& query, std::u16string& reason);

}  // namespace tolvane
