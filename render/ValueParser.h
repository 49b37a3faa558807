// Texts back to values, as a database engine would read them.
//
//   boolean               "True" "Yes" "On" / "False" "No" "Off" in any case; a number, true unless 0
//   byte, integer, long   a number, rounded to the nearest whole one, halves to the even one
//   currency              a number, kept exactly to ten-thousandths, further digits rounded in the same way
//   single, double        a number
//   date                  "MM/DD/YYYY", "MM/DD/YYYY HH:MM:SS AM", "YYYY-MM-DD HH:MM:SS", a time alone = day 0
//   GUID                  32 hex digits, with or without hyphens and braces
//   text, memo            anything
//   OLE object            anything: its bytes in the system's code page
//
// A number is decimal, with an optional sign, point and exponent. Blanks around anything but text are
// ignored.
#pragma once

#include <cstdint>
#include <string_view>
#include <vector>

#include "format/Value.h"

namespace tolvane {

class CValueParser {
 public:
  // The value stays until the next call. False, and null, when the text is no value of the type or out of its
  // range.
  bool Parse(uint8_t type, std::u16string_view text, SValue& value);

 private:
  std::vector<uint8_t> m_storage;  // of the value made last
};

}  // namespace tolvane
