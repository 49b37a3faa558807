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

// Bytes of a value of the types that have one length; 0 for the others. In rows a boolean takes none: it
// lives in the null mask.
constexpr uint16_t LengthOfType(uint8_t type) {
  switch (type) {
    case kTypeBoolean:
    case kTypeByte:
      return 1;
    case kTypeInteger:
      return 2;
    case kTypeLong:
    case kTypeSingle:
    case kTypeComplex:
      return 4;
    case kTypeCurrency:
    case kTypeDouble:
    case kTypeDate:
    case kTypeBigInt:
      return 8;
    case kTypeGuid:
      return 16;
    case kTypeDecimal:
      return 17;
    case kTypeExtendedDate:
      return 42;
    default:
      return 0;
  }
}

// The flag byte.
inline constexpr uint8_t kColumnFixed = 0x01;  // stored in the row's fixed area
inline constexpr uint8_t kColumnUpdatable = 0x02;
inline constexpr uint8_t kColumnAutoNumber = 0x04;
inline constexpr uint8_t kColumnSystem = 0x10;
inline constexpr uint8_t kColumnSid = 0x20;
inline constexpr uint8_t kColumnAutoGuid = 0x40;
inline constexpr uint8_t kColumnHyperlink = 0x80;  // memo

// The byte of further flags (Jet 4 and later).
inline constexpr uint8_t kColumnCompressed = 0x01;
inline constexpr uint8_t kColumnFlatRowId = 0x04;   // flat table: its own row id
inline constexpr uint8_t kColumnFlatKey = 0x08;     // flat table: key that matches the parent row's value
inline constexpr uint8_t kColumnOfFile = 0x10;      // flat table of attachments
inline constexpr uint8_t kColumnOfHistory = 0x20;   // complex column that keeps the versions of a memo
inline constexpr uint8_t kColumnCalculated = 0xC0;  // both bits: the value stands in a wrapper
constexpr bool IsCalculated(uint8_t extendedFlags) {
  return (extendedFlags & kColumnCalculated) == kColumnCalculated;
}

}  // namespace tolvane
