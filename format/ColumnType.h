// Type codes and flags of columns as every version of the format stores them.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>

#include "format/HeaderLayout.h"

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
  kTypeUnknown14 = 14,
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

// What values of a type are to other programs.
enum class EFamily : uint8_t { Bytes, Boolean, Number, Date, Text, Guid };

// What there is to know of a type, for all that reads, plans, makes and checks columns.
struct SColumnType {
  uint8_t type;
  // Bytes of a value; 0: the column or the value itself tells. In rows a boolean takes none: it lives in the
  // null mask.
  uint8_t length = 0;
  int16_t field = 0;    // the number that users of database engines know such a field by; 0: they make none
  bool isFixed = true;  // stored in the row's fixed area, unless a column says otherwise, ...
  bool mayChoose = false;  // ... as it may
  uint8_t since = 0;       // version byte of the first engine that knows it
  EFamily family = EFamily::Bytes;
};
// clang-format off
inline constexpr std::array<SColumnType, 21> kColumnTypes{{
    //                length field  fixed  choice since family
    {kTypeNone},
    {kTypeBoolean,         1,    1,  true, false, 0, EFamily::Boolean},
    {kTypeByte,            1,    2,  true,  true, 0, EFamily::Number},
    {kTypeInteger,         2,    3,  true,  true, 0, EFamily::Number},
    {kTypeLong,            4,    4,  true,  true, 0, EFamily::Number},
    {kTypeCurrency,        8,    5,  true,  true, 0, EFamily::Number},
    {kTypeSingle,          4,    6,  true,  true, 0, EFamily::Number},
    {kTypeDouble,          8,    7,  true,  true, 0, EFamily::Number},
    {kTypeDate,            8,    8,  true,  true, 0, EFamily::Date},
    {kTypeBinary,          0,    9, false,  true, 0},
    {kTypeText,            0,   10, false,  true, 0, EFamily::Text},
    {kTypeOle,             0,   11, false, false, 0},
    {kTypeMemo,            0,   12, false, false, 0, EFamily::Text},
    {kTypeUnknown13},
    {kTypeUnknown14},
    {kTypeGuid,           16,   15,  true,  true, 0, EFamily::Guid},
    {kTypeDecimal,        17,   20,  true,  true, kVersionJet4, EFamily::Number},
    {17},
    {kTypeComplex,         4,    0,  true, false, kVersionAce12, EFamily::Number},
    {kTypeBigInt,          8,   16,  true,  true, kVersionAce16, EFamily::Number},
    {kTypeExtendedDate,   42,   26,  true,  true, kVersionAce17, EFamily::Date},
}};
// clang-format on
static_assert([] {
  for (size_t i = 0; i < kColumnTypes.size(); i++)
    if (kColumnTypes[i].type != i) return false;
  return true;
}());

// A type that no format has is known as kTypeNone.
constexpr const SColumnType& ColumnTypeOf(uint8_t type) {
  return kColumnTypes[type < kColumnTypes.size() ? type : size_t{kTypeNone}];
}
constexpr EFamily FamilyOf(uint8_t type) {
  return ColumnTypeOf(type).family;
}
constexpr uint16_t LengthOfType(uint8_t type) {
  return ColumnTypeOf(type).length;
}
constexpr int16_t FieldTypeOf(uint8_t type) {
  return ColumnTypeOf(type).field;
}
// The type of the column that a field becomes; kTypeNone for fields that are no single column.
constexpr uint8_t ColumnTypeOfField(int16_t field) {
  for (const SColumnType& column : kColumnTypes)
    if (column.field == field) return column.type;  // 0 is kTypeNone's own
  return kTypeNone;
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
inline constexpr uint8_t kVersionOfCalculated = kVersionAce14;
constexpr bool IsCalculated(uint8_t extendedFlags) {
  return (extendedFlags & kColumnCalculated) == kColumnCalculated;
}

}  // namespace tolvane
