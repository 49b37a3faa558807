// Where the bytes of an OLE value are: a file of its own, or a piece of the file that holds all of a table's.
//
//   reference in a record of values   0  u64  offset in the table's object file    8  u64  length
//   reference in a record of texts    the path of the value's file
#pragma once

#include <array>
#include <cstdint>
#include <span>
#include <string>
#include <vector>

namespace tolvane {

struct SObjectPlace {
  static constexpr uint64_t kToTheEnd = ~uint64_t{0};
  std::u16string path;
  uint64_t offset = 0;
  uint64_t length = kToTheEnd;
};

using ObjectReference = std::array<uint8_t, 16>;
ObjectReference MakeObjectReference(uint64_t offset, uint64_t length);
// The object stands so much further on; the bytes begin with its reference.
void MoveObjectReference(std::span<uint8_t> bytes, uint64_t distance);
// False when the bytes are no reference.
bool TakeObjectReference(std::span<const uint8_t> bytes, SObjectPlace& place);

// The bytes of an object of at most `most` bytes. False, with what there is, when it is longer or cannot be
// read to its end.
bool ReadObject(const SObjectPlace& place, uint64_t most, std::vector<uint8_t>& bytes);

}  // namespace tolvane
