// Texts and values as JSON has them.
//
//   yes/no                      true, false
//   numbers                     a number with all its digits, however many: readers that take numbers for
//                               doubles must be told to keep them (Python: parse_float=decimal.Decimal)
//   what no number can be       "nan", "inf", "-inf"
//   date                        "YYYY-MM-DDTHH:MM:SS" with a fraction where there is one; one that is no day
//                               of the years 1 to 9999 is the number that it is stored as
//   text, memo, GUID            text
//   binary, unknown types       base64, or hexadecimal digits
#pragma once

#include <string>
#include <string_view>

#include "export/ExportOptions.h"
#include "format/Value.h"

namespace tolvane {

// A JSON string with its quotes. A lone surrogate becomes U+FFFD.
void AppendJsonString(std::u16string_view text, std::string& out);

// Any value but an object, whose bytes are elsewhere. Null is null.
void AppendJsonValue(const SValue& value, EOleForm form, std::string& out);

// "YYYY-MM-DD<separator>HH:MM:SS.fffffff" of a date value's exact text; false where that is none.
bool MakeIsoDate(std::u16string& exactText, char16_t separator);

// Of a number's exact text: false for "nan" and "inf".
bool IsNumberText(std::u16string_view exactText);

}  // namespace tolvane
