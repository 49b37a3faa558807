#include "embedded/EmbeddedTableDef.h"

#include <algorithm>
#include <utility>

#include "embedded/ObjectName.h"
#include "platform/Text.h"

namespace tolvane {
namespace {

constexpr std::u16string_view kRandomGuid = u"GenGUID()";

CDaoResult Invalid(std::u16string text) {
  return {EDaoError::InvalidArgument, std::move(text)};
}

struct SFieldType {
  int16_t daoType;
  uint8_t length;  // 0: text, memo and long binary have their own
  uint8_t flags;
};
constexpr uint8_t kFixedFlags = kColumnFixed | kColumnUpdatable;
constexpr SFieldType kFieldTypes[] = {
    {kDaoBoolean, 1, kFixedFlags},   {kDaoByte, 1, kFixedFlags},      {kDaoInteger, 2, kFixedFlags},
    {kDaoLong, 4, kFixedFlags},      {kDaoCurrency, 8, kFixedFlags},  {kDaoSingle, 4, kFixedFlags},
    {kDaoDouble, 8, kFixedFlags},    {kDaoDate, 8, kFixedFlags},      {kDaoGuid, 16, kFixedFlags},
    {kDaoText, 0, kColumnUpdatable}, {kDaoMemo, 0, kColumnUpdatable}, {kDaoLongBinary, 0, kColumnUpdatable}};

const SFieldType* FindFieldType(int16_t daoType) {
  for (const SFieldType& type : kFieldTypes)
    if (type.daoType == daoType) return &type;
  return nullptr;
}

// Field types have the same numbers in a definition.
CDaoResult MakeColumn(const SEmbeddedLayout& layout, const CDaoFieldInfo& field, SColumnDefinition& column) {
  const SFieldType* type = FindFieldType(field.type);
  if (type == nullptr)
    return {EDaoError::InvalidDataType, u"The field has a type that the format does not know."};
  column.name = field.name;
  column.type = static_cast<uint8_t>(field.type);
  column.flags = type->flags;
  column.length = type->length;
  if (field.type == kDaoText) {
    if (field.size < 0 || field.size > static_cast<int32_t>(kMaxTextLength))
      return Invalid(u"A text field holds 1 to 255 characters.");
    const size_t characters = field.size == 0 ? kMaxTextLength : static_cast<size_t>(field.size);
    column.length = static_cast<uint16_t>(layout.text.unitSize * characters);
    if (!layout.text.IsCodePage()) column.extendedFlags = kColumnCompressed;
  }
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
bool CanBeIndexed(const SEmbeddedLayout& layout, uint8_t type) {
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
    logical.kind = isPrimary ? kKindPrimary : uint8_t{0};
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
