// The records of a data file that holds values: what stands in front of the zero byte.
//
//   plain column         the value's bytes
//   calculated column    0  u8  type of the result    1  u8  scale    2  the result's bytes
#pragma once

#include <cstdint>
#include <span>

#include "format/Value.h"
#include "store/RecordBuffer.h"

namespace tolvane {

// What a column tells of each of its values.
struct SValueKind {
  uint8_t type = kTypeNone;
  uint8_t scale = 0;
  bool isResult = false;
};

inline constexpr size_t kResultHead = 2;

// The value of a record as it stands in the file, its last byte included; without bytes it is null. False,
// and null, when the bytes are no value of the type.
bool TakeValue(const SValueKind& kind, std::span<const uint8_t> record, SValue& value);

// Appends the record of a value.
void AppendValue(const SValue& value, CRecordBuffer& records);

}  // namespace tolvane
