#include "store/ValueRecord.h"

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

}  // namespace tolvane
