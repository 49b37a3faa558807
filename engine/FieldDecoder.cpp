#include "engine/FieldDecoder.h"

#include <algorithm>
#include <cstring>
#include <new>

#include "engine/RowProfile.h"
#include "platform/CodePage.h"
#include "store/ValueRecord.h"

namespace tolvane {

namespace {

constexpr size_t kDecimalLowWords = 8;
constexpr size_t kUnitsOfPiece = size_t{32} << 10;
constexpr size_t kUnitsKept = size_t{1} << 20;  // a longer text's memory is given back after its row

// How many bytes a value of a type has; 0 where the column or the value itself tells, or the text of the
// value does not depend on them.
size_t WidthOf(uint8_t type) {
  return type == kTypeBoolean || type > kTypeComplex ? 0 : LengthOfType(type);
}

class CMemoSink : public CLongValueSink {
 public:
  // `units` is what the decoder appends to.
  CMemoSink(CTextDecoder& decoder, std::u16string& units, CLongValueSink* pieces)
      : m_decoder(decoder), m_units(units), m_pieces(pieces) {}
  void Take(std::span<const uint8_t> bytes) override {
    m_decoder.Append(bytes);
    if (m_pieces == nullptr || m_units.size() < kUnitsOfPiece) return;
    m_pieces->Take(UnitBytes(m_units));
    m_units.clear();
  }

 private:
  CTextDecoder& m_decoder;
  std::u16string& m_units;
  CLongValueSink* m_pieces;
};

class CCalculatedMemoSink : public CLongValueSink {
 public:
  explicit CCalculatedMemoSink(CTextDecoder& decoder) : m_decoder(decoder) {}
  void Take(std::span<const uint8_t> bytes) override { m_decoder.Append(m_unwrapper.Take(bytes)); }
  [[nodiscard]] const CCalculatedUnwrapper& GetUnwrapper() const { return m_unwrapper; }

 private:
  CTextDecoder& m_decoder;
  CCalculatedUnwrapper m_unwrapper;
};

}  // namespace

CFieldDecoder::CFieldDecoder(const STextLayout& layout, const SRecoveryRules& rules,
                             CLongValueReader& longValues, CObjectSink& objects)
    : m_layout(layout), m_rules(rules), m_longValues(longValues), m_objects(objects) {}

void CFieldDecoder::SetTable(const CAccessTable& table, uint32_t codePage) {
  m_shape = ShapeOf(table, m_rules.maximumStoredColumns);
  m_columns.clear();
  for (const CAccessColumn& column : table.columns) m_columns.push_back(MakeField(column, codePage));
}

CFieldDecoder::SField CFieldDecoder::MakeField(const CAccessColumn& column, uint32_t codePage) const {
  const size_t known = WidthOf(column.type);
  const size_t unit = column.type == kTypeText ? m_layout.unitSize : 1;
  const bool isNamed = column.codePage != 0 && IsCodePageKnown(column.codePage);
  SField field{};
  field.type = column.type;
  field.scale = column.GetScale();
  field.isFixed = column.IsFixed();
  field.isCalculated = IsCalculated(column.extendedFlags);
  // A calculated memo has the type of a text but, as a long value, no length.
  if (field.isCalculated && column.type == kTypeText && column.length == 0) field.type = kTypeMemo;
  field.number = column.number;
  field.place = column.IsFixed() ? column.fixedOffset : column.variableIndex;
  field.width = known != 0 ? known : column.length * unit;
  if (!field.isCalculated) field.needed = column.type == kTypeDecimal ? kDecimalLowWords : known;
  // These have no text of their own among the standard ones.
  if (!field.isCalculated && !m_rules.recordsHoldTexts && column.type > kTypeComplex)
    field.needed = LengthOfType(column.type);
  field.coding = {.isUtf16 = !m_layout.IsCodePage(), .codePage = isNamed ? column.codePage : codePage};
  const bool isSized = field.type == kTypeText || field.type == kTypeBinary;
  if (m_rules.rowsMatchDefinition && isSized && !field.isCalculated) field.most = column.length;
  field.form = FormOf(field);
  return field;
}

CFieldDecoder::EForm CFieldDecoder::FormOf(const SField& field) {
  if (field.isCalculated || IsLongValueType(field.type) || field.type == kTypeDecimal) return EForm::Other;
  if (field.type == kTypeBoolean) return EForm::Mask;
  if (field.type != kTypeText) return EForm::Bytes;
  return field.coding.isUtf16 ? EForm::Text : EForm::Other;
}

EFieldResult CFieldDecoder::Decode(const CRowFrame& frame, size_t column, SValue& value) {
  static constexpr uint8_t kFalse = 0, kTrue = 1;
  const SField& field = m_columns[column];
  value = {.type = field.type, .scale = field.scale, .isResult = field.isCalculated, .bytes = {}};
  const bool isPresent = frame.IsPresent(field.number);
  if (field.type == kTypeBoolean && !field.isCalculated) {
    value.isNull = false;
    value.bytes = std::span(isPresent ? &kTrue : &kFalse, 1);
    return EFieldResult::Decoded;
  }
  const bool isContradicted = !isPresent && IsContradicted(field, frame);
  if (!isPresent && !isContradicted) return EFieldResult::Decoded;
  const CRowFrame::Field bytes = BytesOf(field, frame);
  if (!bytes || bytes->size() < field.needed)
    return isContradicted ? EFieldResult::Contradicted : EFieldResult::Broken;
  const EFieldResult result =
      field.isCalculated ? DecodeCalculated(field, *bytes, value) : DecodeBytes(field, *bytes, value);
  const bool isUnfit = result == EFieldResult::Decoded && !Fits(field, *bytes);
  if (!isContradicted) return isUnfit ? EFieldResult::Unfit : result;
  if (result != EFieldResult::Decoded || isUnfit) value.isNull = true;
  return EFieldResult::Contradicted;
}

EFieldResult CFieldDecoder::AppendRecord(const CRowFrame& frame, size_t column, CRecordBuffer& records) {
  const SField& field = m_columns[column];
  if (field.form != EForm::Other) return AppendPlain(field, frame, records);
  SValue value;
  const EFieldResult result = Decode(frame, column, value);
  AppendValue(value, records);
  return result;
}

// What nearly all values are, without a way over a value.
EFieldResult CFieldDecoder::AppendPlain(const SField& field, const CRowFrame& frame, CRecordBuffer& records) {
  const bool isPresent = frame.IsPresent(field.number);
  if (field.form == EForm::Mask) {
    records.AddRecord(1)[0] = isPresent ? 1 : 0;
    return EFieldResult::Decoded;
  }
  const CRowFrame::Field bytes = isPresent ? BytesOf(field, frame) : std::nullopt;
  if (!bytes || bytes->size() < field.needed) {
    records.AddNull();
    if (isPresent) return EFieldResult::Broken;
    return IsContradicted(field, frame) ? EFieldResult::Contradicted : EFieldResult::Decoded;
  }
  if (!Fits(field, *bytes)) return EFieldResult::Unfit;
  if (field.form == EForm::Text)
    AppendUnpackedText(*bytes, records);
  else
    records.AddRecord(field.needed != 0 ? bytes->first(field.needed) : *bytes);
  return EFieldResult::Decoded;
}

void CFieldDecoder::AppendUnpackedText(std::span<const uint8_t> stored, CRecordBuffer& records) {
  if (!IsTextCompressed(stored)) {
    records.AddRecord(stored.first(stored.size() / 2 * 2));
    return;
  }
  const std::span<const uint8_t> narrow = stored.subspan(std::size(kCompressedMark));
  if (!narrow.empty() && std::memchr(narrow.data(), 0, narrow.size()) != nullptr) {
    m_units.clear();
    m_text.Decode({}, stored, m_units);
    records.AddRecord(UnitBytes(m_units));
    return;
  }
  const std::span<uint8_t> record = records.AddRecord(2 * narrow.size());
  for (size_t i = 0; i < narrow.size(); i++) PutLittle(record, 2 * i, uint16_t{narrow[i]});
}

bool CFieldDecoder::Fits(const SField& field, std::span<const uint8_t> bytes) {
  if (field.most == 0) return true;
  if (!field.coding.isUtf16 || field.type == kTypeBinary) return bytes.size() <= field.most;
  if (!IsTextCompressed(bytes)) return bytes.size() % 2 == 0 && bytes.size() / 2 <= field.most;
  const std::span<const uint8_t> narrow = bytes.subspan(std::size(kCompressedMark));
  // Behind a zero the letters may be wide ones.
  return narrow.size() <= field.most || std::ranges::find(narrow, 0) != narrow.end();
}

// A null of variable length has no bytes.
bool CFieldDecoder::IsContradicted(const SField& field, const CRowFrame& frame) const {
  if (!m_rules.rowsMatchDefinition || field.isFixed) return false;
  const CRowFrame::Field bytes = frame.FindVariable(field.place);
  return bytes && !bytes->empty();
}

void CFieldDecoder::NoteLongValues(const CRowFrame& frame) {
  for (const SField& field : m_columns) {
    if (!IsLongValueType(field.type) || !frame.IsPresent(field.number)) continue;
    if (const CRowFrame::Field bytes = BytesOf(field, frame)) m_longValues.Note(*bytes);
  }
}

EFieldResult CFieldDecoder::DecodeBytes(const SField& field, std::span<const uint8_t> bytes, SValue& value) {
  value.isNull = false;
  switch (field.type) {
    case kTypeText:
      DecodeText(field, bytes, value);
      break;
    case kTypeOle:
      return DecodeOle(bytes, value);
    case kTypeMemo:
      return DecodeMemo(field, bytes, value);
    case kTypeDecimal:
      DecodeDecimal(bytes, value);
      break;
    default:
      value.bytes = field.needed != 0 ? bytes.first(field.needed) : bytes;
      break;
  }
  return EFieldResult::Decoded;
}

EFieldResult CFieldDecoder::DecodeCalculated(const SField& field, std::span<const uint8_t> bytes,
                                             SValue& value) {
  if (field.type == kTypeMemo) return DecodeMemo(field, bytes, value);
  const auto result = UnwrapCalculated(bytes);
  if (!result) return EFieldResult::Broken;
  if (result->empty()) return EFieldResult::Decoded;
  if (field.type == kTypeText || field.type == kTypeBinary) return DecodeBytes(field, *result, value);
  const std::optional<SValue> made = MakeResult(field.type, *result, m_room);
  if (!made) return EFieldResult::Broken;
  value = *made;
  return EFieldResult::Decoded;
}

void CFieldDecoder::DecodeText(const SField& field, std::span<const uint8_t> bytes, SValue& value) {
  m_units.clear();
  m_text.Decode(field.coding, bytes, m_units);
  value.bytes = UnitBytes(m_units);
}

EFieldResult CFieldDecoder::DecodeMemo(const SField& field, std::span<const uint8_t> bytes, SValue& value) {
  m_units.clear();
  m_text.Begin(field.coding, m_units);
  CMemoSink sink(m_text, m_units, m_pieces);
  CCalculatedMemoSink calculated(m_text);
  bool isWhole = false;
  try {
    if (field.isCalculated)
      isWhole = m_longValues.Read(bytes, calculated) && calculated.GetUnwrapper().IsWhole();
    else
      isWhole = m_longValues.Read(bytes, sink);
    m_text.End();
  } catch (const std::bad_alloc&) {
    isWhole = false;  // what fitted into memory stays
  }
  value.type = kTypeMemo;
  value.isNull = field.isCalculated && calculated.GetUnwrapper().IsEmpty();
  if (!value.isNull) value.bytes = UnitBytes(m_units);
  return isWhole ? EFieldResult::Decoded : EFieldResult::CutShort;
}

EFieldResult CFieldDecoder::DecodeOle(std::span<const uint8_t> bytes, SValue& value) {
  m_objects.Begin();
  const bool isWhole = m_longValues.Read(bytes, m_objects);
  value.bytes = m_objects.End();
  return isWhole ? EFieldResult::Decoded : EFieldResult::CutShort;
}

// The sign and all words; a field that lacks the first of them has zeros there.
void CFieldDecoder::DecodeDecimal(std::span<const uint8_t> bytes, SValue& value) {
  if (bytes.size() < kDecimalBytes) {
    m_room.fill(0);
    std::copy_backward(bytes.begin(), bytes.end(), m_room.end());
    value.bytes = m_room;
  } else {
    value.bytes = bytes.last(kDecimalBytes);
  }
}

void CFieldDecoder::ReleaseMemory() {
  if (m_units.capacity() > kUnitsKept) std::u16string().swap(m_units);
}

}  // namespace tolvane
