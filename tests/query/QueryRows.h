// Rows of queries as texts.
#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "format/SavedQuery.h"
#include "platform/Text.h"

namespace tolvane {

// The fields of a row that stands as "attribute|flag|name1|name2|expression".
inline std::vector<std::u16string> SplitRow(std::u16string_view text) {
  std::vector<std::u16string> fields(1);
  for (const char16_t unit : text) {
    if (unit == u'|' && fields.size() < 5)
      fields.emplace_back();
    else
      fields.back() += unit;
  }
  fields.resize(5);
  return fields;
}

// What is empty is null.
inline SQueryRow Row(std::u16string_view text) {
  const std::vector<std::u16string> fields = SplitRow(text);
  SQueryRow row;
  row.attribute = static_cast<uint8_t>(LeadingInteger(fields[0]));
  if (!fields[1].empty()) row.flag = static_cast<int16_t>(LeadingInteger(fields[1]));
  if (!fields[2].empty()) row.name1 = fields[2];
  if (!fields[3].empty()) row.name2 = fields[3];
  if (!fields[4].empty()) row.expression = fields[4];
  return row;
}

}  // namespace tolvane
