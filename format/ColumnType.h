// Type codes and flags of columns as every version of the format stores them.
#pragma once

#include <cstdint>

namespace tolvane {

enum EColumnType : uint8_t {
  kTypeNone = 0,
  kTypeBoolean = 1,
  kTypeByte = 2,
  kTypeInteger = 3,
  kTypeLong = 4,
  kTypeCurrency = 5,
  kTypeSingle = 6,
  kTypeDouble = 7,
  kTypeDate = 8,
  kTypeBinary = 9,
  kTypeText = 10,
  kTypeOle = 11,
  kTypeMemo = 12,
  kTypeUnknown13 = 13,
  kTypeGuid = 15,
  kTypeDecimal = 16,
  kTypeComplex = 18,
  kTypeBigInt = 19,
  kTypeExtendedDate = 20,
};

// Values of these types may lie outside their row.
constexpr bool IsLongValueType(uint8_t type) {
  return type == kTypeOle || type == kTypeMemo;
}

// The flag byte.
inline constexpr uint8_t kColumnFixed = 0x01;  // stored in the row's fixed area
inline constexpr uint8_t kColumnUpdatable = 0x02;
inline constexpr uint8_t kColumnAutoNumber = 0x04;
inline constexpr uint8_t kColumnSystem = 0x10;
inline constexpr uint8_t kColumnSid = 0x20;
inline constexpr uint8_t kColumnAutoGuid = 0x40;

// The byte of further flags (Jet 4 and later).
inline constexpr uint8_t kColumnCompressed = 0x01;
inline constexpr uint8_t kColumnFlatRowId = 0x04;   // flat table: its own row id
inline constexpr uint8_t kColumnFlatKey = 0x08;     // flat table: key that matches the parent row's value
inline constexpr uint8_t kColumnCalculated = 0xC0;  // both bits: the value stands in a wrapper

}  // namespace tolvane
