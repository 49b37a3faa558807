// References to long values and the rows of their chains (drawn in RowLayout.h): read, and written.
#pragma once

#include <cstdint>
#include <optional>
#include <span>

#include "format/Bytes.h"
#include "format/Layout.h"

namespace tolvane {

static_assert(kReferenceStamp + sizeof(uint32_t) == kReferenceSize &&
              kReferencePointer + 4 == kReferenceStamp);

struct SLongValue {
  uint32_t kind = kLongValueInline;  // of the kinds in RowLayout.h, or none of them
  uint32_t length = 0;
  uint32_t pointer = 0;  // of the value's (first) row
  uint32_t stamp = 0;
  std::span<const uint8_t> rest = {};  // what follows the reference: an inline value
};

// Nothing when the field is too short.
inline std::optional<SLongValue> DecodeLongValue(std::span<const uint8_t> field) {
  if (field.size() < kReferenceSize) return std::nullopt;
  const auto word = GetLittle<uint32_t>(field, 0);
  return SLongValue{.kind = word & ~kLongestLongValue,
                    .length = word & kLongestLongValue,
                    .pointer = GetLittle<uint32_t>(field, kReferencePointer),
                    .stamp = GetLittle<uint32_t>(field, kReferenceStamp),
                    .rest = field.subspan(kReferenceSize)};
}

// The reference alone.
inline void EncodeLongValue(const SLongValue& value, std::span<uint8_t> field) {
  PutLittle(field, 0, value.length | value.kind);
  PutLittle(field, kReferencePointer, value.pointer);
  PutLittle(field, kReferenceStamp, value.stamp);
}

struct SChainPiece {
  uint32_t next = 0;  // row pointer; 0 behind the last
  std::span<const uint8_t> data = {};
};

inline std::optional<SChainPiece> DecodeChainPiece(std::span<const uint8_t> row) {
  if (row.size() < kChainPointerSize) return std::nullopt;
  return SChainPiece{GetLittle<uint32_t>(row, 0), row.subspan(kChainPointerSize)};
}

// The value's bytes, as far as its first piece has them: pieces but the last are as long as a page. `findRow`
// gets a row pointer and answers the row, nothing where there is none.
template <class FindRow>
std::optional<std::span<const uint8_t>> FirstPieceOf(std::span<const uint8_t> field, FindRow findRow) {
  const std::optional<SLongValue> value = DecodeLongValue(field);
  if (!value) return std::nullopt;
  if (value->kind == kLongValueInline) return value->rest;
  const std::optional<std::span<const uint8_t>> row = findRow(value->pointer);
  if (!row || value->kind != kLongValueChain) return row;
  const std::optional<SChainPiece> piece = DecodeChainPiece(*row);
  return piece ? std::optional(piece->data) : std::nullopt;
}

}  // namespace tolvane
