// Property NameMap of tables, from Access 2000 on: the names that a table and its columns had when somebody
// saved it last.
//
// clang-format off
//   0 mark, version, u128 GUID of the table, zeros, f64 date, zeros | 44 name of the table, NUL, u32 0
//   for each column:  u128 GUID, u32 7, u128 GUID of the table, name, NUL, u32 0
// clang-format on
#pragma once

#include <cstddef>
#include <cstdint>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "format/Bytes.h"

namespace tolvane {

inline constexpr std::u16string_view kNameMap = u"NameMap";

struct SNameMap {
  std::u16string table;
  std::vector<std::u16string> columns;
};

// Takes what is there.
inline SNameMap DecodeNameMap(std::span<const uint8_t> map) {
  constexpr size_t kTable = 44;
  constexpr size_t kColumnHead = 36, kColumnKind = 16;
  constexpr uint32_t kColumn = 7;
  size_t at = kTable;
  const auto takeName = [&] {
    std::u16string name;
    for (; at + sizeof(char16_t) <= map.size(); at += sizeof(char16_t)) {
      const auto unit = static_cast<char16_t>(GetLittle<uint16_t>(map, at));
      if (unit == 0) break;
      name += unit;
    }
    at += sizeof(char16_t) + sizeof(uint32_t);
    return name;
  };
  SNameMap names;
  names.table = takeName();
  while (at + kColumnHead <= map.size() && GetLittle<uint32_t>(map, at + kColumnKind) == kColumn) {
    at += kColumnHead;
    names.columns.push_back(takeName());
  }
  return names;
}

}  // namespace tolvane
