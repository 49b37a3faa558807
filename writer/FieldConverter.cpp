#include "writer/FieldConverter.h"

#include <bit>
#include <limits>
#include <optional>
#include <span>

#include "render/ExactText.h"
#include "render/NumberText.h"

namespace tolvane {

namespace {

constexpr uint8_t kNegative = 0x80;
constexpr int64_t kCurrencyUnit = 10'000;
constexpr uint8_t kCurrencyScale = 4;

bool IsWhole(uint8_t type) {
  return type == kTypeBoolean || type == kTypeByte || type == kTypeInteger || type == kTypeLong ||
         type == kTypeComplex || type == kTypeBigInt;
}

int64_t WholeOf(const SValue& value) {
  switch (value.type) {
    case kTypeBoolean:
      return value.bytes[0] != 0 ? -1 : 0;
    case kTypeByte:
      return value.bytes[0];
    case kTypeInteger:
      return GetLittle<int16_t>(value.bytes, 0);
    case kTypeBigInt:
      return GetLittle<int64_t>(value.bytes, 0);
    default:
      return GetLittle<int32_t>(value.bytes, 0);
  }
}

// Doubles hold whole numbers of 53 bits.
std::optional<double> DoubleOf(const SValue& value) {
  if (value.type == kTypeSingle) return double{std::bit_cast<float>(GetLittle<uint32_t>(value.bytes, 0))};
  if (value.type == kTypeDate) return std::bit_cast<double>(GetLittle<uint64_t>(value.bytes, 0));
  if (!IsWhole(value.type)) return std::nullopt;
  constexpr int64_t kMost = int64_t{1} << 53;
  const int64_t whole = WholeOf(value);
  return whole >= -kMost && whole <= kMost ? std::optional<double>(static_cast<double>(whole)) : std::nullopt;
}

bool MultiplyByTen(std::array<uint32_t, 4>& words) {
  uint64_t carry = 0;
  for (size_t i = words.size(); i-- > 0;) {
    carry += uint64_t{words[i]} * 10;
    words[i] = static_cast<uint32_t>(carry);
    carry >>= 32;
  }
  return carry == 0;
}

template <class T>
bool Fits(int64_t value) {
  return value >= int64_t{std::numeric_limits<T>::min()} && value <= int64_t{std::numeric_limits<T>::max()};
}

}  // namespace

void CFieldConverter::Set(uint8_t type, size_t size, SValue& value) {
  value.type = type;
  value.bytes = std::span(m_bytes).first(size);
}

bool CFieldConverter::Convert(uint8_t type, uint8_t scale, SValue& value) {
  if (value.isNull) return true;
  if (value.type == type) return type != kTypeDecimal || value.scale == scale || ConvertDecimal(scale, value);
  if (IsTextType(type)) {
    if (IsTextType(value.type)) return true;
    MakeExactText(value, m_text);
    value.type = type;
    value.bytes = UnitBytes(m_text);
    return true;
  }
  // Any bytes may stand in a field for bytes.
  if (type == kTypeOle || type == kTypeBinary) {
    value.type = type;
    return true;
  }
  return ConvertNumber(type, scale, value);
}

bool CFieldConverter::ConvertNumber(uint8_t type, uint8_t scale, SValue& value) {
  const std::span<uint8_t> bytes(m_bytes);
  if (type == kTypeDouble || type == kTypeDate) {
    const std::optional<double> number = DoubleOf(value);
    if (!number) return false;
    PutLittle(bytes, 0, DoubleBits(*number));
    Set(type, 8, value);
    return true;
  }
  if (type == kTypeDecimal && value.type == kTypeCurrency) {
    SetDecimal(GetLittle<int64_t>(value.bytes, 0), kCurrencyScale, value);
    return value.scale == scale || ConvertDecimal(scale, value);
  }
  if (!IsWhole(value.type)) return false;
  if (type != kTypeDecimal) return ConvertWhole(type, WholeOf(value), value);
  SetDecimal(WholeOf(value), 0, value);
  return scale == 0 || ConvertDecimal(scale, value);
}

bool CFieldConverter::ConvertWhole(uint8_t type, int64_t whole, SValue& value) {
  const std::span<uint8_t> bytes(m_bytes);
  PutLittle(bytes, 0, whole);
  switch (type) {
    case kTypeBoolean:
      m_bytes[0] = whole != 0 ? 1 : 0;
      Set(type, 1, value);
      return whole == 0 || whole == -1 || whole == 1;
    case kTypeByte:
      Set(type, 1, value);
      return Fits<uint8_t>(whole);
    case kTypeInteger:
      Set(type, 2, value);
      return Fits<int16_t>(whole);
    case kTypeLong:
      Set(type, 4, value);
      return Fits<int32_t>(whole);
    case kTypeBigInt:
      Set(type, 8, value);
      return true;
    case kTypeCurrency:
      if (whole > std::numeric_limits<int64_t>::max() / kCurrencyUnit ||
          whole < std::numeric_limits<int64_t>::min() / kCurrencyUnit)
        return false;
      PutLittle(bytes, 0, whole * kCurrencyUnit);
      Set(type, 8, value);
      return true;
    default:
      return false;
  }
}

void CFieldConverter::SetDecimal(int64_t whole, uint8_t scale, SValue& value) {
  const std::span<uint8_t> bytes(m_bytes);
  const uint64_t magnitude = whole < 0 ? 0 - static_cast<uint64_t>(whole) : static_cast<uint64_t>(whole);
  m_bytes.fill(0);
  m_bytes[0] = whole < 0 ? kNegative : uint8_t{0};
  PutLittle(bytes, 9, static_cast<uint32_t>(magnitude >> 32));
  PutLittle(bytes, 13, static_cast<uint32_t>(magnitude));
  value.scale = scale;
  Set(kTypeDecimal, kDecimalBytes, value);
}

// Moves the point; digits that would fall off must be zeros.
bool CFieldConverter::ConvertDecimal(uint8_t scale, SValue& value) {
  std::array<uint32_t, 4> words = DecimalWords(value.bytes);
  for (; value.scale < scale; value.scale++)
    if (!MultiplyByTen(words)) return false;
  for (; value.scale > scale; value.scale--)
    if (DivideByTen(words) != 0) return false;
  m_bytes[0] = value.bytes[0];
  const std::span<uint8_t> bytes(m_bytes);
  for (size_t i = 0; i < words.size(); i++) PutLittle(bytes, 1 + 4 * i, words[i]);
  Set(kTypeDecimal, kDecimalBytes, value);
  return words[0] == 0;  // 28 digits take 96 bits
}

}  // namespace tolvane
