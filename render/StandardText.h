// Values as the documented texts of the standard rules.
//
//   type            text
//   1               "True" or "False"
//   2, 3, 4, 18     decimal number
//   5               four decimals
//   6, 7            fixed number of decimals
//   8               date and time
//   9               bytes as text of the system's code page
//   10, 12          the text itself
//   11              the reference to the object: the path of the file that holds it
//   13              "Unknown"
//   15              GUID in braces
//   16              decimal digits with the scale
//   others          "Default " and the type code
#pragma once

#include <string>

#include "format/Value.h"
#include "model/RecoveryRules.h"

namespace tolvane {

// Replaces `text`, whose memory is used again; null is empty. False, with an empty text, for a date outside
// the calendar.
bool MakeStandardText(const SValue& value, const SRecoveryRules& rules, std::u16string& text);

}  // namespace tolvane
