// Names of tables, fields and indexes: which ones the format takes, and which count as the same.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "dao/dao.h"
#include "format/Layout.h"

namespace tolvane {

// `kind` is what is named, for the message: "table", "field", "index".
CDaoResult CheckObjectName(const SLayout& layout, std::u16string_view kind, std::u16string_view name);

// The name's bytes. Names that the format cannot hold have been refused before.
std::vector<uint8_t> EncodeName(const SLayout& layout, std::u16string_view name);

// Two names with equal keys are the same name: the key is the one that the catalogue's index holds, so case
// and trailing blanks make no difference.
std::string MakeNameKey(const SLayout& layout, std::u16string_view name);

// Orders names as definitions store them, ignoring case.
bool IsNameBefore(const SLayout& layout, std::u16string_view a, std::u16string_view b);

}  // namespace tolvane
