#include "store/ObjectPlace.h"

#include "format/Bytes.h"

namespace tolvane {

ObjectReference MakeObjectReference(uint64_t offset, uint64_t length) {
  ObjectReference reference{};
  PutLittle(std::span<uint8_t>(reference), 0, offset);
  PutLittle(std::span<uint8_t>(reference), 8, length);
  return reference;
}

bool TakeObjectReference(std::span<const uint8_t> bytes, SObjectPlace& place) {
  if (bytes.size() != ObjectReference{}.size()) return false;
  place.offset = GetLittle<uint64_t>(bytes, 0);
  place.length = GetLittle<uint64_t>(bytes, 8);
  return true;
}

}  // namespace tolvane
