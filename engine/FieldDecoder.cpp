#include "engine/FieldDecoder.h"

#include <algorithm>
#include <array>
#include <bit>
#include <new>

#include "engine/CalculatedValue.h"
#include "engine/DataConversion.h"
#include "engine/DataReader.h"
#include "engine/NumberText.h"
#include "platform/CodePage.h"
#include "platform/Text.h"

namespace tolvane {

namespace {

constexpr size_t kDecimalBytes = 17;
constexpr size_t kDecimalLowWords = 8;

// How many bytes a value of a type has; 0 where the column or the value itself tells, or the text of the
// value does not depend on them.
size_t WidthOf(uint8_t type) {
  return type == kTypeBoolean || type > kTypeComplex ? 0 : LengthOfType(type);
}

class CMemoSink : public CLongValueSink {
 public:
  explicit CMemoSink(CTextDecoder& decoder) : m_decoder(decoder) {}
  void Take(std::span<const uint8_t> bytes) override { m_decoder.Append(bytes); }

 private:
  CTextDecoder& m_decoder;
};

}  // namespace

CFieldDecoder::CFieldDecoder(const STextLayout& layout, const SRecoveryRules& rules,
                             CLongValueReader& longValues, COleSideFile& sideFile)
    : m_layout(layout), m_rules(rules), m_longValues(longValues), m_sideFile(sideFile) {}

void CFieldDecoder::SetTable(const CAccessTable& table, uint32_t codePage) {
  m_shape = {.columnsEver = table.header.highestColumnNumber,
             .variableColumnsEver = table.header.variableColumnCount,
             .maximumStoredColumns = m_rules.maximumStoredColumns};
  m_columns.clear();
  for (const CAccessColumn& column : table.columns) {
    m_columns.push_back(MakeField(column, codePage));
    const bool isInMask = column.type == kTypeBoolean && !IsCalculated(column);
    if (!column.IsFixed() && !isInMask)
      m_shape.firstVariableNumber = std::min<uint32_t>(m_shape.firstVariableNumber, column.number);
  }
}

CFieldDecoder::SField CFieldDecoder::MakeField(const CAccessColumn& column, uint32_t codePage) const {
  const size_t known = WidthOf(column.type);
  const size_t unit = column.type == kTypeText ? m_layout.unitSize : 1;
  const bool isNamed = column.codePage != 0 && IsCodePageKnown(column.codePage);
  SField field{};
  field.type = column.type;
  field.scale = column.GetScale();
  field.isFixed = column.IsFixed();
  field.isCalculated = IsCalculated(column);
  // A calculated memo has the type of a text but, as a long value, no length.
  if (field.isCalculated && column.type == kTypeText && column.length == 0) field.type = kTypeMemo;
  field.number = column.number;
  field.place = column.IsFixed() ? column.fixedOffset : column.variableIndex;
  field.width = known != 0 ? known : column.length * unit;
  if (!field.isCalculated) field.needed = column.type == kTypeDecimal ? kDecimalLowWords : known;
  field.coding = {.isUtf16 = !m_layout.IsCodePage(), .codePage = isNamed ? column.codePage : codePage};
  return field;
}

EFieldResult CFieldDecoder::Decode(const CRowFrame& frame, size_t column, std::u16string& text) {
  text.clear();
  const SField& field = m_columns[column];
  const bool isPresent = frame.IsPresent(field.number);
  if (field.type == kTypeBoolean && !field.isCalculated) {
    text = isPresent ? u"True" : u"False";
    return EFieldResult::Decoded;
  }
  if (!isPresent) return EFieldResult::Decoded;
  const CRowFrame::Field bytes =
      field.isFixed ? frame.FindFixed(field.place, field.width) : frame.FindVariable(field.place);
  if (!bytes || bytes->size() < field.needed) return EFieldResult::Broken;
  return field.isCalculated ? DecodeCalculated(field, *bytes, text) : DecodeBytes(field, *bytes, text);
}

EFieldResult CFieldDecoder::DecodeBytes(const SField& field, std::span<const uint8_t> bytes,
                                        std::u16string& text) {
  const uint8_t* at = bytes.data();
  switch (field.type) {
    case kTypeByte:
      AppendDecimal(at[0], text);
      break;
    case kTypeInteger:
      AppendDecimal(static_cast<int16_t>(CDataReader::ReadUInt16(at)), text);
      break;
    case kTypeLong:
    case kTypeComplex:
      AppendDecimal(static_cast<int32_t>(CDataReader::ReadUInt32(at)), text);
      break;
    case kTypeCurrency:
      CDataConversion::CurrencyToText(bytes.first<8>(), text);
      break;
    case kTypeSingle:
      AppendDouble(static_cast<double>(std::bit_cast<float>(CDataReader::ReadUInt32(at))),
                   m_rules.floatDecimals, text);
      break;
    case kTypeDouble: {
      const uint64_t low = CDataReader::ReadUInt32(at);
      const uint64_t high = CDataReader::ReadUInt32(at + 4);
      AppendDouble(std::bit_cast<double>(high << 32 | low), m_rules.floatDecimals, text);
      break;
    }
    case kTypeDate: {
      const auto blank = m_rules.midnightKeepsBlank ? EMidnightBlank::Keep : EMidnightBlank::Drop;
      if (!CDataConversion::DateToText(bytes.first<8>(), blank, text)) return EFieldResult::Broken;
      break;
    }
    case kTypeBinary:
      CDataConversion::BytesToText(bytes, text);
      break;
    case kTypeText:
      m_text.Decode(field.coding, bytes, text);
      break;
    case kTypeOle:
      return DecodeOle(bytes, text);
    case kTypeMemo:
      return DecodeMemo(field, bytes, text);
    case kTypeUnknown13:
      text = u"Unknown";
      break;
    case kTypeGuid:
      CDataConversion::GuidToText(bytes.first<16>(), text);
      break;
    case kTypeDecimal:
      DecodeDecimal(field, bytes, text);
      break;
    default:
      text = u"Default ";
      AppendDecimal(field.type, text);
      break;
  }
  return EFieldResult::Decoded;
}

EFieldResult CFieldDecoder::DecodeCalculated(const SField& field, std::span<const uint8_t> bytes,
                                             std::u16string& text) {
  if (field.type == kTypeMemo) return DecodeMemo(field, bytes, text);
  const auto result = UnwrapCalculated(bytes);
  if (!result) return EFieldResult::Broken;
  if (field.type == kTypeText || field.type == kTypeBinary) return DecodeBytes(field, *result, text);
  if (result->empty() || AppendCalculated(field.type, *result, m_rules, text)) return EFieldResult::Decoded;
  return EFieldResult::Broken;
}

EFieldResult CFieldDecoder::DecodeMemo(const SField& field, std::span<const uint8_t> bytes,
                                       std::u16string& text) {
  m_text.Begin(field.coding, text);
  CMemoSink sink(m_text);
  CUnwrappingSink unwrap(sink);
  bool isWhole = false;
  try {
    if (field.isCalculated)
      isWhole = m_longValues.Read(bytes, unwrap) && unwrap.IsWhole();
    else
      isWhole = m_longValues.Read(bytes, sink);
    m_text.End();
  } catch (const std::bad_alloc&) {
    isWhole = false;  // what fitted into memory stays
  }
  return isWhole ? EFieldResult::Decoded : EFieldResult::CutShort;
}

EFieldResult CFieldDecoder::DecodeOle(std::span<const uint8_t> bytes, std::u16string& text) {
  m_sideFile.Begin();
  const bool isWhole = m_longValues.Read(bytes, m_sideFile);
  text = m_sideFile.End();
  return isWhole ? EFieldResult::Decoded : EFieldResult::CutShort;
}

void CFieldDecoder::DecodeDecimal(const SField& field, std::span<const uint8_t> bytes,
                                  std::u16string& text) const {
  const auto word = [&](size_t fromEnd) { return CDataReader::ReadUInt32(&bytes[bytes.size() - fromEnd]); };
  if (m_rules.decimalLowWordsOnly || bytes.size() < kDecimalBytes) {
    const uint64_t value = uint64_t{word(8)} << 32 | word(4);
    AppendSignedDigits(static_cast<int64_t>(value), text);
    if (field.scale != 0 && field.scale <= text.size()) text.insert(text.size() - field.scale, 1, u'.');
  } else {
    const bool isNegative = bytes[bytes.size() - kDecimalBytes] != 0;
    AppendWideDecimal(isNegative, {word(16), word(12), word(8), word(4)}, field.scale, text);
  }
}

}  // namespace tolvane
