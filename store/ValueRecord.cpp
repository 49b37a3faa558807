#include "store/ValueRecord.h"

#include <algorithm>

namespace tolvane {

bool TakeValue(const SValueKind& kind, std::span<const uint8_t> record, SValue& value) {
  value = {.type = kind.type, .scale = kind.scale, .isResult = kind.isResult, .bytes = {}};
  if (record.empty()) return true;
  std::span<const uint8_t> bytes = record.first(record.size() - 1);
  if (kind.isResult) {
    if (bytes.size() < kResultHead) return false;
    value.type = bytes[0];
    value.scale = bytes[1];
    bytes = bytes.subspan(kResultHead);
  }
  if (bytes.size() < LengthOfType(value.type)) return false;
  value.isNull = false;
  value.bytes = bytes;
  return true;
}

void AppendValue(const SValue& value, CRecordBuffer& records) {
  if (value.isNull) {
    records.AddNull();
  } else if (value.isResult) {
    const std::span<uint8_t> record = records.AddRecord(kResultHead + value.bytes.size());
    record[0] = value.type;
    record[1] = value.scale;
    std::ranges::copy(value.bytes, record.begin() + kResultHead);
  } else {
    records.AddRecord(value.bytes);
  }
}

}  // namespace tolvane
