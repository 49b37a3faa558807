// Values as texts that say all of them, in one form each.
//
//   yes/no                True, False
//   whole numbers         all digits
//   single, double        the shortest digits that read back as the same number
//   currency, decimal     all digits up to the scale
//   date                  YYYY-MM-DD, then HH:MM:SS and a fraction where there are any; a number that is no
//                         day of the years 1 to 9999 as itself
//   extended date         YYYY-MM-DD HH:MM:SS.fffffff
//   GUID                  in braces
//   text, memo            the text itself
//   binary, unknown       hexadecimal digits
#pragma once

#include <string>
#include <string_view>

#include "format/Value.h"

namespace tolvane {

// What a null shows as where texts alone are shown. No value of another type than text reads so.
inline constexpr std::u16string_view kNullText = u"(null)";

// Replaces `text`, whose memory is used again. Null is empty: who shows both tells them apart. An object's
// bytes are not here; its text is empty.
void MakeExactText(const SValue& value, std::u16string& text);

// The days and the time of day of a date value, as a text that reads back as the same number where its time
// is a whole number of nanoseconds.
void AppendExactDate(double value, std::u16string& text);

}  // namespace tolvane
