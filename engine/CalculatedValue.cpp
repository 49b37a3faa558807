#include "engine/CalculatedValue.h"

#include <algorithm>

#include "format/Bytes.h"

namespace tolvane {

namespace {

constexpr size_t kLengthOffset = 16;
constexpr size_t kResultOffset = 20;

// A decimal result.
constexpr size_t kDecimalResult = 16;
constexpr size_t kDecimalScale = 2;
constexpr size_t kDecimalSign = 3;
constexpr size_t kDecimalHigh = 4;
constexpr size_t kDecimalLow = 8;
constexpr uint8_t kMostScale = 28;

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
  return {.type = kTypeDecimal, .scale = std::min(result[kDecimalScale], kMostScale), .bytes = bytes};
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

void CUnwrappingSink::Take(std::span<const uint8_t> bytes) {
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
  if (!bytes.empty()) m_next.Take(bytes);
}

bool CUnwrappingSink::IsWhole() const {
  return m_headBytes == 0 || (m_headBytes == kHead && m_left == 0);
}

}  // namespace tolvane
