// Values on their way into fields of another type, where the new database has none of their own or where the
// result of a calculation is of another type than its column. Nothing is rounded or cut: a value that does
// not fit is refused.
#pragma once

#include <array>
#include <cstdint>
#include <string>

#include "format/Value.h"
#include "writer/ResultTypes.h"
#include "writer/SavedTable.h"

namespace tolvane {

class CFieldConverter {
 public:
  // Changes `value` into one of the type `type`, decimals with `scale` digits behind the point; its bytes
  // then lie here until the next call. A text type takes the text of any value. False when something would be
  // lost.
  bool Convert(uint8_t type, uint8_t scale, SValue& value);
  // The same for a field, whose column has that type.
  bool ConvertForField(uint8_t type, const SFieldType& field, SValue& value) {
    TakeResultAs(type, value);
    return Convert(type, field.isCalculated ? value.scale : field.scale, value);
  }

 private:
  bool ConvertNumber(uint8_t type, uint8_t scale, SValue& value);
  bool ConvertWhole(uint8_t type, int64_t whole, SValue& value);
  bool ConvertDecimal(uint8_t scale, SValue& value);
  void SetDecimal(int64_t whole, uint8_t scale, SValue& value);
  void Set(uint8_t type, size_t size, SValue& value);

  std::array<uint8_t, kDecimalBytes> m_bytes{};
  std::u16string m_text;
};

}  // namespace tolvane
