// The locale string of a create call: ";LANGID=0x0409;CP=1252;COUNTRY=0".
#pragma once

#include <string_view>

#include "dao/dao.h"
#include "embedded/TableDefinition.h"

namespace tolvane {

// Index keys of texts, the catalogue's own ones first, are only known for the general sort order: language
// 0x0409 with code page 1252. Any other, which would make a database in which nothing is found, is refused
// with NotSupported, a string that is no locale with InvalidArgument. What is left out has the value of the
// general sort order; the country says nothing about sorting. ACE files may have its version 1,
// LANGID=0x01000409.
CDaoResult TakeLocale(const SLayout& layout, std::u16string_view locale, STextOrder& order);

}  // namespace tolvane
