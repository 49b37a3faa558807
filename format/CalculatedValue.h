// Values of calculated columns. The stored result is wrapped; the column's type is only a storage class, and
// the result's own type shows in its length.
//
// clang-format off
//   0   16 bytes, 0
//   16  u32 length
//   20  the result, then 3 bytes, 0
//
//   length   result
//   1        yes/no (FF or 00) or byte
//   2, 4     number; 4 bytes in a column of a floating or decimal class are a single
//   8        currency, date or double; a currency in a double column shows as a double that no calculation gives,
//            since its high bits are all equal
//   16       decimal (u16 0, u8 scale, u8 sign, u32 high, u64 low: its high word last) or GUID
//   texts and binary data have any length; memos are wrapped inside their long value
// clang-format on
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>
#include <vector>

#include "format/Value.h"

namespace tolvane {

// The result without its wrapper, empty for null; nothing when the wrapper does not fit.
std::optional<std::span<const uint8_t>> UnwrapCalculated(std::span<const uint8_t> field);

// Room for a result whose stored form is not a value's own.
using ResultBytes = std::array<uint8_t, kDecimalBytes>;

// The value of a result that is neither text nor binary, in a column of the type `type`; its bytes lie in
// `result` or in `room`. Nothing: no result of any known type.
std::optional<SValue> MakeResult(uint8_t type, std::span<const uint8_t> result, ResultBytes& room);

// Takes a wrapped value that comes in pieces.
class CCalculatedUnwrapper {
 public:
  // The part of the result that lies in the next piece.
  std::span<const uint8_t> Take(std::span<const uint8_t> bytes);
  // The result was there as a whole.
  [[nodiscard]] bool IsWhole() const { return m_headBytes == 0 || (m_headBytes == kHead && m_left == 0); }
  // Nothing was there, or a result of no length: null.
  [[nodiscard]] bool IsEmpty() const { return m_headBytes == 0 || !m_hasResult; }

 private:
  static constexpr size_t kHead = 20;
  std::array<uint8_t, kHead> m_head{};
  size_t m_headBytes = 0;
  size_t m_left = 0;
  bool m_hasResult = false;  // the stated length is not 0
};

std::vector<uint8_t> WrapCalculated(std::span<const uint8_t> result);
// The stored result for a value that is not null: its bytes, or another form of them. Nothing for a decimal
// that has too many digits.
std::optional<std::vector<uint8_t>> StoreResult(const SValue& value);

}  // namespace tolvane
