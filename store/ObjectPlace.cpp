#include "store/ObjectPlace.h"

#include <algorithm>

#include "format/Bytes.h"
#include "platform/FileCust.h"

namespace tolvane {

ObjectReference MakeObjectReference(uint64_t offset, uint64_t length) {
  ObjectReference reference{};
  PutLittle(std::span<uint8_t>(reference), 0, offset);
  PutLittle(std::span<uint8_t>(reference), 8, length);
  return reference;
}

void MoveObjectReference(std::span<uint8_t> bytes, uint64_t distance) {
  PutLittle(bytes, 0, GetLittle<uint64_t>(bytes, 0) + distance);
}

bool TakeObjectReference(std::span<const uint8_t> bytes, SObjectPlace& place) {
  if (bytes.size() != ObjectReference{}.size()) return false;
  place.offset = GetLittle<uint64_t>(bytes, 0);
  place.length = GetLittle<uint64_t>(bytes, 8);
  return true;
}

bool ReadObject(const SObjectPlace& place, uint64_t most, std::vector<uint8_t>& bytes) {
  bytes.clear();
  CFileCust file;
  if (place.length == 0) return true;
  if (!file.Open(place.path, EFileAccess::Read, EFileShare::ReadWrite, EFileCreation::OpenExisting))
    return false;
  const uint64_t length = file.GetLength();
  const uint64_t there = length - std::min(place.offset, length);
  const uint64_t wanted = std::min(place.length, there);
  if (wanted > most) return false;
  bytes.resize(static_cast<size_t>(wanted));
  bytes.resize(file.ReadAt(place.offset, bytes));
  return bytes.size() == wanted && (place.length == SObjectPlace::kToTheEnd || wanted == place.length);
}

}  // namespace tolvane
