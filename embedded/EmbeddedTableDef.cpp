#include "embedded/EmbeddedTableDef.h"

#include <algorithm>
#include <utility>

#include "embedded/ObjectName.h"
#include "platform/Text.h"

namespace tolvane {
namespace {

constexpr std::u16string_view kRandomGuid = u"GenGUID()";
constexpr uint8_t kMaxPrecision = 28;

CDaoResult Invalid(std::u16string text) {
  return {EDaoError::InvalidArgument, std::move(text)};
}

// What a field of some type is as a column.
struct SFieldType {
  int16_t daoType;
  uint8_t type;
  uint8_t flags;          // unless other ones are asked for
  uint8_t since = 0;      // version of the format
  bool hasChoice = true;  // between fixed and variable
};
constexpr uint8_t kFixedFlags = kColumnFixed | kColumnUpdatable;
constexpr uint8_t kJet4Version = 1, kAceVersion = 2;
constexpr SFieldType kFieldTypes[] = {{kDaoBoolean, kTypeBoolean, kFixedFlags, 0, false},
                                      {kDaoByte, kTypeByte, kFixedFlags},
                                      {kDaoInteger, kTypeInteger, kFixedFlags},
                                      {kDaoLong, kTypeLong, kFixedFlags},
                                      {kDaoCurrency, kTypeCurrency, kFixedFlags},
                                      {kDaoSingle, kTypeSingle, kFixedFlags},
                                      {kDaoDouble, kTypeDouble, kFixedFlags},
                                      {kDaoDate, kTypeDate, kFixedFlags},
                                      {kDaoGuid, kTypeGuid, kFixedFlags},
                                      {kDaoBinary, kTypeBinary, kColumnUpdatable},
                                      {kDaoText, kTypeText, kColumnUpdatable},
                                      {kDaoMemo, kTypeMemo, kColumnUpdatable, 0, false},
                                      {kDaoLongBinary, kTypeOle, kColumnUpdatable, 0, false},
                                      {kDaoDecimal, kTypeDecimal, kFixedFlags, kJet4Version},
                                      {kDaoBigInt, kTypeBigInt, kFixedFlags, kAceVersion},
                                      {kDaoExtendedDate, kTypeExtendedDate, kFixedFlags, kAceVersion}};

const SFieldType* FindFieldType(const SLayout& layout, int16_t daoType) {
  for (const SFieldType& type : kFieldTypes)
    if (type.daoType == daoType && type.since <= layout.version) return &type;
  return nullptr;
}

uint8_t ChooseFlags(const SFieldType& type, const CDaoFieldInfo& field) {
  uint8_t flags = type.flags;
  if (type.hasChoice && (field.attributes & kDaoFixedField) != 0) flags |= kColumnFixed;
  if (type.hasChoice && (field.attributes & kDaoVariableField) != 0)
    flags = static_cast<uint8_t>(flags & ~kColumnFixed);
  if (field.type == kDaoMemo && (field.attributes & kDaoHyperlinkField) != 0) flags |= kColumnHyperlink;
  return flags;
}

// What a variable decimal column states; its values take as much as those of a fixed one.
uint16_t LengthOfDecimal(uint8_t precision) {
  return precision <= 9 ? 5 : precision <= 19 ? 9 : 13;
}

// Bytes of the longest value: of texts, of binary fields, of the others.
CDaoResult ChooseLength(const SLayout& layout, const CDaoFieldInfo& field, const SColumnDefinition& column,
                        uint16_t& length) {
  length = LengthOfType(column.type);
  if (field.type == kDaoDecimal && !column.IsFixed()) length = LengthOfDecimal(field.precision);
  if (field.type == kDaoDecimal &&
      (field.precision < 1 || field.precision > kMaxPrecision || field.scale > field.precision))
    return Invalid(u"A decimal field has 1 to 28 digits, and no more of them behind the point.");
  if (field.type != kDaoText && field.type != kDaoBinary) return CDaoResult::Ok();
  const bool isText = field.type == kDaoText;
  const size_t most = isText ? kMaxTextLength : kMaxTextLength * layout.text.unitSize;
  if (field.size < 0 || field.size > static_cast<int32_t>(most))
    return Invalid(isText ? u"A text field holds 1 to 255 characters."
                          : u"A binary field holds 1 to 510 bytes, 255 in the format of Access 97.");
  const size_t units = field.size == 0 ? most : static_cast<size_t>(field.size);
  length = static_cast<uint16_t>(isText ? units * layout.text.unitSize : units);
  return CDaoResult::Ok();
}

CDaoResult MakeColumn(const SLayout& layout, const CDaoFieldInfo& field, SColumnDefinition& column) {
  const SFieldType* type = FindFieldType(layout, field.type);
  if (type == nullptr)
    return {EDaoError::InvalidDataType, u"The field has a type that the format does not know."};
  column.name = field.name;
  column.type = type->type;
  column.flags = ChooseFlags(*type, field);
  if (CDaoResult result = ChooseLength(layout, field, column, column.length); !result.IsOk()) return result;
  column.precision = field.precision;
  column.scale = field.scale;
  const bool isText = field.type == kDaoText || field.type == kDaoMemo;
  if (isText && !layout.text.IsCodePage() && field.isCompressed.value_or(field.type == kDaoText))
    column.extendedFlags = kColumnCompressed;
  if ((field.attributes & kDaoAutoIncrement) != 0) {
    if (field.type != kDaoLong)
      return {EDaoError::InvalidDataType, u"Only a long field can count its records by itself."};
    column.flags |= kColumnAutoNumber;
  }
  if (field.type == kDaoGuid && (field.attributes & kDaoSystemField) != 0 &&
      EqualsIgnoreCase(field.defaultValue, kRandomGuid))
    column.flags |= kColumnAutoGuid;
  return CDaoResult::Ok();
}

// Jet 3 indexes no long values, the later formats memos.
bool CanBeIndexed(const SLayout& layout, uint8_t type) {
  return !IsLongValueType(type) || (type == kTypeMemo && layout.keys != EIndexVersion::Jet3);
}

}  // namespace

CEmbeddedTableDef::CEmbeddedTableDef(std::shared_ptr<CEmbeddedFile> file, std::u16string_view name)
    : m_file(std::move(file)), m_name(name) {}

CDaoResult CEmbeddedTableDef::CheckOpen() const {
  if (m_file == nullptr || !m_file->IsOpen())
    return {EDaoError::CannotOpenFile, u"The table definition or its database is closed."};
  if (m_isAppended) return Invalid(u"The table exists already; its definition can no longer be changed.");
  return CDaoResult::Ok();
}

bool CEmbeddedTableDef::HasAutoNumber(uint8_t flag) const {
  for (const SColumnDefinition& column : m_definition.columns)
    if ((column.flags & flag) != 0) return true;
  return false;
}

CDaoResult CEmbeddedTableDef::CreateField(std::u16string_view name, int16_t type, int32_t size,
                                          int32_t attributes) {
  CDaoFieldInfo field;
  field.name = name;
  field.type = type;
  field.size = size;
  field.attributes = attributes;
  return CreateField(field);
}

CDaoResult CEmbeddedTableDef::CreateField(const CDaoFieldInfo& field) {
  if (CDaoResult result = CheckOpen(); !result.IsOk()) return result;
  if (CDaoResult result = CheckObjectName(m_file->GetLayout(), u"field", field.name); !result.IsOk())
    return result;
  if (m_definition.columns.size() == kMaxFields)
    return {EDaoError::TooManyFields, u"A table has at most 255 fields."};
  SColumnDefinition column;
  if (CDaoResult result = MakeColumn(m_file->GetLayout(), field, column); !result.IsOk()) return result;
  if ((column.flags & kColumnAutoNumber) != 0 && HasAutoNumber(kColumnAutoNumber))
    return Invalid(u"A table has at most one field that counts its records.");
  if (!m_fieldKeys.insert(MakeNameKey(m_file->GetLayout(), field.name)).second)
    return {EDaoError::DuplicateField, u"The table has a field named \"" + field.name + u"\" already."};
  column.displayNumber = static_cast<uint16_t>(m_definition.columns.size());
  if ((column.flags & kColumnAutoNumber) != 0)
    m_definition.autoNumber = static_cast<uint32_t>(field.lastNumber);
  m_definition.columns.push_back(std::move(column));
  return CDaoResult::Ok();
}

CDaoResult CEmbeddedTableDef::CreateIndex(const CDaoIndexInfo& index) {
  if (CDaoResult result = CheckOpen(); !result.IsOk()) return result;
  if (CDaoResult result = CheckObjectName(m_file->GetLayout(), u"index", index.name); !result.IsOk())
    return result;
  if (m_indexes.size() == kMaxIndexes) return Invalid(u"A table has at most 32 indexes.");
  if (CDaoResult result = CheckIndexFields(index); !result.IsOk()) return result;
  if (!m_indexKeys.insert(MakeNameKey(m_file->GetLayout(), index.name)).second)
    return Invalid(u"The table has an index named \"" + index.name + u"\" already.");
  m_indexes.push_back(index);
  return CDaoResult::Ok();
}

CDaoResult CEmbeddedTableDef::CheckIndexFields(const CDaoIndexInfo& index) const {
  if (index.fields.empty() || index.fields.size() > kMaxIndexFields)
    return Invalid(u"An index has 1 to 10 fields.");
  for (const CDaoIndexFieldInfo& field : index.fields) {
    const SColumnDefinition* column = FindField(field.name);
    if (column == nullptr)
      return {EDaoError::ItemNotFound,
              u"The index names a field \"" + field.name + u"\" that the table does not have."};
    if (!CanBeIndexed(m_file->GetLayout(), column->type))
      return {EDaoError::InvalidDataType,
              u"The memo or OLE field \"" + field.name + u"\" cannot be indexed."};
  }
  return CDaoResult::Ok();
}

const SColumnDefinition* CEmbeddedTableDef::FindField(std::u16string_view name) const {
  const std::string key = MakeNameKey(m_file->GetLayout(), name);
  for (const SColumnDefinition& column : m_definition.columns)
    if (MakeNameKey(m_file->GetLayout(), column.name) == key) return &column;
  return nullptr;
}

// Real indexes in the order of creation; of several primary keys the first is one.
void CEmbeddedTableDef::LayOutIndexes() {
  bool hasPrimary = false;
  for (const CDaoIndexInfo& index : m_indexes) {
    const bool isPrimary = index.primary && !hasPrimary;
    hasPrimary = hasPrimary || isPrimary;
    SRealIndex real;
    for (const CDaoIndexFieldInfo& field : index.fields)
      real.columns.push_back({FindField(field.name)->number, !field.descending});
    if (index.unique || isPrimary) real.flags |= kIndexUnique;
    if (index.required || isPrimary) real.flags |= kIndexRequired;
    if (index.ignoreNulls) real.flags |= kIndexIgnoreNulls;
    SLogicalIndex logical;
    logical.name = index.name;
    logical.number = logical.realIndex = static_cast<uint32_t>(m_definition.realIndexes.size());
    logical.kind = isPrimary ? kIndexKindPrimary : uint8_t{0};
    m_definition.realIndexes.push_back(std::move(real));
    m_definition.logicalIndexes.push_back(std::move(logical));
  }
  std::sort(
      m_definition.logicalIndexes.begin(), m_definition.logicalIndexes.end(),
      [this](const auto& a, const auto& b) { return IsNameBefore(m_file->GetLayout(), a.name, b.name); });
}

CDaoResult CEmbeddedTableDef::Append() {
  if (CDaoResult result = CheckOpen(); !result.IsOk()) return result;
  if (m_definition.columns.empty()) return Invalid(u"The table has no fields.");
  m_definition.LayOutColumns();
  m_definition.realIndexes.clear();
  m_definition.logicalIndexes.clear();
  LayOutIndexes();
  if (CRowEncoder(m_file->GetLayout(), m_definition).IsTooLong())
    return {EDaoError::RecordTooLarge, u"The table's fields of fixed length do not fit in one record."};
  if (CDaoResult result = m_file->AddTable(m_name, m_definition); !result.IsOk()) return result;
  m_isAppended = true;
  return CDaoResult::Ok();
}

void CEmbeddedTableDef::Close() {
  m_file.reset();
}

}  // namespace tolvane
