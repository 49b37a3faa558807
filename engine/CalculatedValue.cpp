#include "engine/CalculatedValue.h"

#include <algorithm>
#include <bit>

#include "engine/DataConversion.h"
#include "engine/DataReader.h"
#include "engine/NumberText.h"
#include "platform/Text.h"

namespace tolvane {

namespace {

constexpr size_t kLengthOffset = 16;
constexpr size_t kResultOffset = 20;

constexpr size_t kDecimalBytes = 16;
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

void AppendCurrency(std::span<const uint8_t> bytes, std::u16string& text) {
  std::u16string currency;
  CDataConversion::CurrencyToText(bytes.first<CDataConversion::kCurrencyBytes>(), currency);
  text += currency;
}

void AppendScaledDecimal(std::span<const uint8_t> bytes, std::u16string& text) {
  const auto word = [&](size_t at) { return CDataReader::ReadUInt32(&bytes[at]); };
  AppendWideDecimal(bytes[kDecimalSign] != 0,
                    {0, word(kDecimalHigh), word(kDecimalLow + 4), word(kDecimalLow)},
                    std::min(bytes[kDecimalScale], kMostScale), text);
}

bool AppendEightBytes(uint8_t type, std::span<const uint8_t> bytes, const SRecoveryRules& rules,
                      std::u16string& text) {
  if (type == kTypeDate) {
    const auto blank = rules.midnightKeepsBlank ? EMidnightBlank::Keep : EMidnightBlank::Drop;
    return CDataConversion::DateToText(bytes.first<CDataConversion::kDateBytes>(), blank, text);
  }
  const uint64_t bits =
      uint64_t{CDataReader::ReadUInt32(&bytes[4])} << 32 | CDataReader::ReadUInt32(&bytes[0]);
  if (type == kTypeCurrency || !IsPlainDouble(bits))
    AppendCurrency(bytes, text);
  else
    AppendDouble(std::bit_cast<double>(bits), rules.floatDecimals, text);
  return true;
}

}  // namespace

bool IsCalculated(const CAccessColumn& column) {
  return (column.extendedFlags & kColumnCalculated) == kColumnCalculated;
}

std::optional<std::span<const uint8_t>> UnwrapCalculated(std::span<const uint8_t> field) {
  if (field.empty()) return field;
  if (field.size() < kResultOffset) return std::nullopt;
  const size_t length = CDataReader::ReadUInt32(&field[kLengthOffset]);
  if (length > field.size() - kResultOffset) return std::nullopt;
  return field.subspan(kResultOffset, length);
}

bool AppendCalculated(uint8_t type, std::span<const uint8_t> result, const SRecoveryRules& rules,
                      std::u16string& text) {
  const bool isFraction = type == kTypeSingle || type == kTypeDouble || type == kTypeDecimal;
  switch (result.size()) {
    case 1:
      if (type == kTypeBoolean)
        text += result[0] != 0 ? u"True" : u"False";
      else
        AppendDecimal(type == kTypeByte ? result[0] : static_cast<int8_t>(result[0]), text);
      return true;
    case 2:
      AppendDecimal(static_cast<int16_t>(CDataReader::ReadUInt16(result.data())), text);
      return true;
    case 4: {
      const uint32_t bits = CDataReader::ReadUInt32(result.data());
      if (isFraction)
        AppendDouble(static_cast<double>(std::bit_cast<float>(bits)), rules.floatDecimals, text);
      else
        AppendDecimal(static_cast<int32_t>(bits), text);
      return true;
    }
    case 8:
      return AppendEightBytes(type, result, rules, text);
    case kDecimalBytes:
      if (type == kTypeGuid)
        CDataConversion::GuidToText(result.first<CDataConversion::kGuidBytes>(), text);
      else
        AppendScaledDecimal(result, text);
      return true;
    default:
      return false;
  }
}

void CUnwrappingSink::Take(std::span<const uint8_t> bytes) {
  const size_t head = std::min(bytes.size(), kHead - m_headBytes);
  std::copy_n(bytes.begin(), head, m_head.begin() + static_cast<ptrdiff_t>(m_headBytes));
  m_headBytes += head;
  if (head != 0 && m_headBytes == kHead) m_left = CDataReader::ReadUInt32(&m_head[kLengthOffset]);
  bytes = bytes.subspan(head);
  bytes = bytes.first(std::min(bytes.size(), m_left));
  m_left -= bytes.size();
  if (!bytes.empty()) m_next.Take(bytes);
}

bool CUnwrappingSink::IsWhole() const {
  return m_headBytes == 0 || (m_headBytes == kHead && m_left == 0);
}

}  // namespace tolvane
