#include "format/CalculatedValue.h"

#include <algorithm>

#include "format/Bytes.h"

namespace tolvane {

namespace {

constexpr size_t kLengthOffset = 16;
constexpr size_t kResultOffset = 20;
constexpr size_t kTail = 3;
constexpr uint8_t kTrue = 0xFF;

// A decimal result.
constexpr size_t kDecimalResult = 16;
constexpr size_t kDecimalScale = 2;
constexpr size_t kDecimalSign = 3;
constexpr size_t kDecimalHigh = 4;
constexpr size_t kDecimalLow = 8;

// Between the smallest and the largest 11 leading bits a double is a plain number. Zero is one too.
bool IsPlainDouble(uint64_t bits) {
  const uint64_t exponent = bits >> 52 & 0x7FF;
  return bits << 1 == 0 || (exponent != 0 && exponent != 0x7FF);
}

uint8_t TypeOfFour(uint8_t type) {
  const bool isFraction = type == kTypeSingle || type == kTypeDouble || type == kTypeDecimal;
  return isFraction ? kTypeSingle : kTypeLong;
}

uint8_t TypeOfEight(uint8_t type, std::span<const uint8_t> result) {
  if (type == kTypeDate) return kTypeDate;
  const bool isCurrency = type == kTypeCurrency || !IsPlainDouble(GetLittle<uint64_t>(result, 0));
  return isCurrency ? kTypeCurrency : kTypeDouble;
}

// Sign and words as a decimal column stores them.
SValue MakeDecimal(std::span<const uint8_t> result, ResultBytes& room) {
  const std::span<uint8_t> bytes(room);
  room[0] = result[kDecimalSign];
  PutLittle(bytes, 1, uint32_t{0});
  PutLittle(bytes, 5, GetLittle<uint32_t>(result, kDecimalHigh));
  PutLittle(bytes, 9, GetLittle<uint32_t>(result, kDecimalLow + 4));
  PutLittle(bytes, 13, GetLittle<uint32_t>(result, kDecimalLow));
  return {.type = kTypeDecimal, .scale = std::min(result[kDecimalScale], kMostDecimalDigits), .bytes = bytes};
}

// A yes/no that stands in a column of another class is a number, and true is -1.
SValue MakeOneByte(uint8_t type, std::span<const uint8_t> result, ResultBytes& room) {
  if (type == kTypeByte) return {.type = type, .bytes = result};
  room[0] = result[0];
  room[1] = result[0] > 0x7F ? 0xFF : 0;
  if (type != kTypeBoolean) return {.type = kTypeInteger, .bytes = std::span(room).first(2)};
  room[0] = result[0] != 0 ? 1 : 0;
  return {.type = type, .bytes = std::span(room).first(1)};
}

}  // namespace

std::optional<std::span<const uint8_t>> UnwrapCalculated(std::span<const uint8_t> field) {
  if (field.empty()) return field;
  if (field.size() < kResultOffset) return std::nullopt;
  const size_t length = GetLittle<uint32_t>(field, kLengthOffset);
  if (length > field.size() - kResultOffset) return std::nullopt;
  return field.subspan(kResultOffset, length);
}

std::optional<SValue> MakeResult(uint8_t type, std::span<const uint8_t> result, ResultBytes& room) {
  SValue value{.bytes = result};
  switch (result.size()) {
    case 1:
      value = MakeOneByte(type, result, room);
      break;
    case 2:
      value.type = kTypeInteger;
      break;
    case 4:
      value.type = TypeOfFour(type);
      break;
    case 8:
      value.type = TypeOfEight(type, result);
      break;
    case kDecimalResult:
      if (type == kTypeGuid)
        value.type = kTypeGuid;
      else
        value = MakeDecimal(result, room);
      break;
    default:
      return std::nullopt;
  }
  value.isNull = false;
  value.isResult = true;
  return value;
}

std::span<const uint8_t> CCalculatedUnwrapper::Take(std::span<const uint8_t> bytes) {
  const size_t head = std::min(bytes.size(), kHead - m_headBytes);
  std::copy_n(bytes.begin(), head, m_head.begin() + static_cast<ptrdiff_t>(m_headBytes));
  m_headBytes += head;
  if (head != 0 && m_headBytes == kHead) {
    m_left = GetLittle<uint32_t>(m_head, kLengthOffset);
    m_hasResult = m_left != 0;
  }
  bytes = bytes.subspan(head);
  bytes = bytes.first(std::min(bytes.size(), m_left));
  m_left -= bytes.size();
  return bytes;
}

std::vector<uint8_t> WrapCalculated(std::span<const uint8_t> result) {
  std::vector<uint8_t> bytes(kResultOffset);
  PutLittle(std::span(bytes), kLengthOffset, static_cast<uint32_t>(result.size()));
  bytes.insert(bytes.end(), result.begin(), result.end());
  bytes.resize(bytes.size() + kTail);
  return bytes;
}

std::optional<std::vector<uint8_t>> StoreResult(const SValue& value) {
  if (value.type == kTypeBoolean) return std::vector<uint8_t>{value.bytes.front() != 0 ? kTrue : uint8_t{0}};
  if (value.type != kTypeDecimal) return std::vector<uint8_t>(value.bytes.begin(), value.bytes.end());
  const std::array<uint32_t, 4> words = DecimalWords(value.bytes);
  if (words[0] != 0) return std::nullopt;
  std::vector<uint8_t> bytes(kDecimalResult);
  bytes[kDecimalScale] = value.scale;
  bytes[kDecimalSign] = value.bytes[0];
  PutLittle(std::span(bytes), kDecimalHigh, words[1]);
  PutLittle(std::span(bytes), kDecimalLow, words[3]);
  PutLittle(std::span(bytes), kDecimalLow + 4, words[2]);
  return bytes;
}

}  // namespace tolvane
