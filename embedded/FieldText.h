// Turns the text that a field is given into the bytes that a row stores, as the database engine would.
//
//   boolean               "True" "Yes" "On" / "False" "No" "Off" in any case; a number, true unless 0
//   byte, integer, long   a number, rounded to the nearest whole one, halves to the even one
//   currency              a number, kept exactly to ten-thousandths, further digits rounded in the same way
//   single, double        a number
//   date                  "MM/DD/YYYY", "MM/DD/YYYY HH:MM:SS AM", "YYYY-MM-DD HH:MM:SS", a time alone = day 0
//   GUID                  32 hex digits, with or without hyphens and braces
//   text, memo            anything; plain UTF-16LE
//
// A number is decimal, with an optional sign, point and exponent. Blanks around anything but text are
// ignored.
#pragma once

#include <cstdint>
#include <string_view>
#include <vector>

#include "dao/dao.h"

namespace tolvane {

// Replaces the content of `storage`; a boolean becomes one byte 0 or 1. On failure `storage` is empty:
// DataConversion when the text is no value of the type or out of its range, InvalidDataType for types that
// take no text.
EDaoError ConvertFieldText(int16_t daoType, std::u16string_view text, std::vector<uint8_t>& storage);

}  // namespace tolvane
