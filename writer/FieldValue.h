// Recovered texts on their way into fields: what is changed, and what is left out, for each column type.
#pragma once

#include <cstdint>
#include <string>

#include "model/RecoveryRules.h"

namespace tolvane {

enum class EFieldValue : uint8_t {
  Text,     // the text, changed or not
  Number,   // a whole number
  File,     // the text is the path of a file that holds the value
  Dropped,  // out of the range that is stored
};

// Changes `text`, the value of a column with type code `columnType`, in place, or makes a number of it.
EFieldValue ConvertForField(uint8_t columnType, const SRecoveryRules& rules, std::u16string& text,
                            int64_t& number);

}  // namespace tolvane
