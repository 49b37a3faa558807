#include "embedded/EmbeddedTableDef.h"

#include <algorithm>
#include <set>
#include <utility>

#include "dao/ComplexFields.h"
#include "embedded/ObjectName.h"
#include "embedded/PropertyStore.h"
#include "platform/Text.h"

namespace tolvane {
namespace {

constexpr std::u16string_view kRandomGuid = u"GenGUID()";

CDaoResult Invalid(std::u16string text) {
  return {EDaoError::InvalidArgument, std::move(text)};
}

uint8_t ChooseFlags(const SColumnType& type, const CDaoFieldInfo& field) {
  bool isFixed = type.isFixed;
  if (type.mayChoose && (field.attributes & kDaoFixedField) != 0) isFixed = true;
  if (type.mayChoose && (field.attributes & kDaoVariableField) != 0) isFixed = false;
  const bool isLink = type.type == kTypeMemo && (field.attributes & kDaoHyperlinkField) != 0;
  return static_cast<uint8_t>(kColumnUpdatable | (isFixed ? kColumnFixed : 0) |
                              (isLink ? kColumnHyperlink : 0));
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
      (field.precision < 1 || field.precision > kMostDecimalDigits || field.scale > field.precision))
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

// The value of a calculated column stands in a wrapper; the length leaves room for it. Yes and no are
// integers.
CDaoResult MakeCalculated(const SLayout& layout, uint8_t statedType, SColumnDefinition& column) {
  constexpr uint16_t kWrapped = 39, kWrappedText = 509;
  if (!layout.hasComplexColumns || column.type == kTypeOle || column.type == kTypeBinary)
    return {EDaoError::InvalidDataType, u"The format has no calculated field of this type."};
  column.flags = kColumnUpdatable;
  column.extendedFlags = kColumnCalculated;
  column.length = column.type == kTypeText ? kWrappedText : column.type == kTypeMemo ? uint16_t{0} : kWrapped;
  if (column.type == kTypeMemo) column.type = kTypeText;
  if (column.type == kTypeBoolean) column.type = kTypeInteger;
  if (!column.HasTexts() && LengthOfType(statedType) != 0 && statedType <= kTypeDecimal)
    column.type = statedType;
  return CDaoResult::Ok();
}

CDaoResult MakeColumn(const SLayout& layout, const CDaoFieldInfo& field, SColumnDefinition& column) {
  const SColumnType& type = ColumnTypeOf(ColumnTypeOfField(field.type));
  if (type.type == kTypeNone || (type.since > layout.version && !layout.hasComplexColumns))
    return {EDaoError::InvalidDataType, u"The field has a type that the format does not know."};
  column.name = field.name;
  column.type = type.type;
  if (field.sortOrder != 0)
    column.order = {static_cast<uint16_t>(field.sortOrder), static_cast<uint8_t>(field.sortOrder >> 24)};
  if (!field.expression.empty()) return MakeCalculated(layout, field.statedType, column);
  if (field.keepsHistory && (!layout.hasComplexColumns || field.type != kDaoMemo))
    return {EDaoError::InvalidDataType, u"Only memo fields of the newest format keep their versions."};
  column.flags = ChooseFlags(type, field);
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

CEmbeddedTableDef::CEmbeddedTableDef(std::shared_ptr<CEmbeddedFile> file, std::u16string_view name,
                                     int32_t attributes)
    : m_file(std::move(file)) {
  m_table.name = name;
  if ((attributes & kDaoHiddenObject) != 0) m_table.objectFlags |= kHiddenObjectFlag;
  if ((attributes & kDaoSystemObject) == kDaoSystemObject)
    m_table.objectFlags |= kSystemObjectFlag | kProgramObjectFlag;
}

CDaoResult CEmbeddedTableDef::CheckOpen() const {
  if (m_file == nullptr || !m_file->IsOpen())
    return {EDaoError::CannotOpenFile, u"The table definition or its database is closed."};
  if (m_isAppended) return Invalid(u"The table exists already; its definition can no longer be changed.");
  return CDaoResult::Ok();
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
  if (m_table.definition.columns.size() == kMaxFields)
    return {EDaoError::TooManyFields, u"A table has at most 255 fields."};
  const std::string key = MakeNameKey(m_file->GetLayout(), field.name);
  if (m_fieldKeys.count(key) != 0)
    return {EDaoError::DuplicateField, u"The table has a field named \"" + field.name + u"\" already."};
  if (CDaoResult result = AddColumn(field); !result.IsOk()) return result;
  m_fieldKeys.insert(key);
  m_fields.push_back(field);
  return CDaoResult::Ok();
}

CDaoResult CEmbeddedTableDef::AddColumn(const CDaoFieldInfo& field) {
  SColumnDefinition column;
  const bool hasComplex = m_file->GetLayout().hasComplexColumns;
  const SComplexFieldType* complex =
      hasComplex ? FindComplexField(&SComplexFieldType::field, field.type) : nullptr;
  const bool isHistory = hasComplex && field.type == kDaoVersions && !field.versionsOf.empty();
  if (complex != nullptr || isHistory) {
    column = MakeComplexColumn(field.name, isHistory);
    m_table.complexColumns.push_back({field.name, field.versionsOf,
                                      isHistory ? EComplexKind{} : complex->kind, field.valueProperties,
                                      field.precision, field.scale});
    m_table.definition.complexNumber =
        std::max(m_table.definition.complexNumber, static_cast<uint32_t>(field.lastNumber));
  } else if (CDaoResult result = MakeColumn(m_file->GetLayout(), field, column); !result.IsOk()) {
    return result;
  }
  if (CDaoResult result = CheckAutoNumber(column); !result.IsOk()) return result;
  column.displayNumber = field.position.value_or(static_cast<uint16_t>(m_table.definition.columns.size()));
  if (column.IsCounter()) m_table.definition.autoNumber = static_cast<uint32_t>(field.lastNumber);
  m_table.definition.columns.push_back(std::move(column));
  return CDaoResult::Ok();
}

CDaoResult CEmbeddedTableDef::CheckAutoNumber(const SColumnDefinition& column) const {
  if (!column.IsCounter()) return CDaoResult::Ok();
  if (std::ranges::none_of(m_table.definition.columns, &SColumnDefinition::IsCounter))
    return CDaoResult::Ok();
  return Invalid(u"A table has at most one field that counts its records.");
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
    if (column->IsCalculated() || column->type == kTypeComplex)
      return {EDaoError::InvalidDataType,
              u"The calculated or complex field \"" + field.name + u"\" cannot be indexed."};
    if (!CanBeIndexed(m_file->GetLayout(), column->type))
      return {EDaoError::InvalidDataType,
              u"The memo or OLE field \"" + field.name + u"\" cannot be indexed."};
  }
  return CDaoResult::Ok();
}

const SColumnDefinition* CEmbeddedTableDef::FindField(std::u16string_view name) const {
  const std::string key = MakeNameKey(m_file->GetLayout(), name);
  for (const SColumnDefinition& column : m_table.definition.columns)
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
    m_table.definition.AddIndex(index.name, std::move(real), isPrimary ? kIndexKindPrimary : kIndexKindPlain);
  }
  AddComplexIndexes();
  std::ranges::sort(m_table.definition.logicalIndexes, [this](const auto& a, const auto& b) {
    return IsNameBefore(m_file->GetLayout(), a.name, b.name);
  });
}

// Every complex column has an index of its own.
void CEmbeddedTableDef::AddComplexIndexes() {
  STableDefinition& definition = m_table.definition;
  for (const SNewComplexColumn& complex : m_table.complexColumns) {
    SRealIndex real{.flags = kIndexUnique | kIndexRequired, .isOfComplexColumn = true};
    for (const SColumnDefinition& column : definition.columns)
      if (column.name == complex.column) real.columns.push_back({column.number, true});
    definition.AddIndex(MakeComplexIndexName(m_file->GetIdentity(), complex.column), std::move(real));
  }
}

// The versions of a memo belong to a complex column that nobody sees: its display number is 0, and those of
// the others begin with 1.
CDaoResult CEmbeddedTableDef::AddHistories() {
  std::vector<SColumnDefinition>& columns = m_table.definition.columns;
  std::set<std::u16string> memos;
  for (const SNewComplexColumn& complex : m_table.complexColumns) {
    if (!complex.IsHistory()) continue;
    const auto memo = std::ranges::find(m_fields, complex.memo, &CDaoFieldInfo::name);
    if (memo == m_fields.end() || memo->type != kDaoMemo || !memos.insert(complex.memo).second)
      return Invalid(u"The field \"" + complex.column + u"\" keeps the versions of no memo of its own.");
    memo->keepsHistory = true;
  }
  for (const CDaoFieldInfo& field : m_fields) {
    if (!field.keepsHistory || memos.contains(field.name)) continue;
    memos.insert(field.name);
    columns.push_back(MakeComplexColumn(MakeHistoryName(m_file->GetIdentity()), true));
    m_table.complexColumns.push_back({columns.back().name, field.name, {}, field.valueProperties});
  }
  if (memos.empty()) return CDaoResult::Ok();
  for (SColumnDefinition& column : columns)
    column.displayNumber = (column.extendedFlags & kColumnOfHistory) != 0
                               ? uint16_t{0}
                               : static_cast<uint16_t>(column.displayNumber + 1);
  return CDaoResult::Ok();
}

// With what the engine looks for in them, if the caller does not have it.
CDaoResult CEmbeddedTableDef::CollectProperties() {
  CPropertyList list(m_file->GetLayout());
  const auto hasHistory = [](const CDaoFieldInfo& field) { return field.keepsHistory; };
  const bool keepsHistory = std::ranges::any_of(m_fields, hasHistory);
  const CDaoProperty appendOnly = MakeByteProperty(u"AppendOnly", kTypeBoolean, {1, 0, 0, 0});
  if (keepsHistory) AddIfMissing(m_properties, appendOnly);
  AddEngineVersions();
  if (CDaoResult result = list.AddToObject(m_properties); !result.IsOk()) return result;
  for (CDaoFieldInfo& field : m_fields) {
    if (!field.expression.empty()) {
      AddIfMissing(field.properties, MakeTextProperty(u"Expression", kTypeMemo, field.expression));
      AddIfMissing(field.properties,
                   MakeByteProperty(u"ResultType", kTypeByte, {ColumnTypeOfField(field.type)}));
    }
    if (field.keepsHistory) AddIfMissing(field.properties, appendOnly);
    if (CDaoResult result = list.AddToColumn(field.name, field.properties); !result.IsOk()) return result;
  }
  m_table.properties = list.MakeBlob();
  return CDaoResult::Ok();
}

// The lowest version of the engine that knows the table's columns.
void CEmbeddedTableDef::AddEngineVersions() {
  uint8_t needed = 0;
  for (const SColumnDefinition& column : m_table.definition.columns)
    needed = std::max(needed, column.GetNeededVersion());
  if (needed < kVersionAce14) return;
  const std::u16string_view version = needed >= kVersionAce17   ? u"16.0.12600.10000"
                                      : needed >= kVersionAce16 ? u"16.0.7124.1000"
                                                                : u"14.0.0000.0000";
  for (const std::u16string_view name : {u"FCMinReadVer", u"FCMinWriteVer", u"FCMinDesignVer"})
    AddIfMissing(m_properties, MakeTextProperty(name, kTypeText, version));
}

CDaoResult CEmbeddedTableDef::SetProperties(std::span<const CDaoProperty> properties) {
  if (CDaoResult result = CheckOpen(); !result.IsOk()) return result;
  m_properties.assign(properties.begin(), properties.end());
  return CDaoResult::Ok();
}

CDaoResult CEmbeddedTableDef::SetLink(const STableLink& link) {
  if (CDaoResult result = CheckOpen(); !result.IsOk()) return result;
  if (link.source.size() > kMaxTextLength ||
      link.shortInfo.size() > kMaxTextLength * m_file->GetLayout().text.unitSize)
    return {EDaoError::FieldTooSmall, u"The link's table name or short description is too long."};
  m_table.link = link;
  return CDaoResult::Ok();
}

CDaoResult CEmbeddedTableDef::Append() {
  if (CDaoResult result = CheckOpen(); !result.IsOk()) return result;
  STableDefinition& definition = m_table.definition;
  const bool isLinkToFile = m_table.link && !m_table.link->isOdbc;
  if (isLinkToFile ? !definition.columns.empty() : definition.columns.empty())
    return Invalid(isLinkToFile ? u"A table that is linked from a file has no fields of its own."
                                : u"The table has no fields.");
  SNewTable table = m_table;  // so that another attempt finds it as it was
  CDaoResult result = AddHistories();
  definition.LayOutColumns();
  definition.realIndexes.clear();
  definition.logicalIndexes.clear();
  LayOutIndexes();
  if (result.IsOk()) result = CollectProperties();
  if (result.IsOk() && definition.columns.size() > kMaxFields)
    result = {EDaoError::TooManyFields,
              u"A table has at most 255 fields, those for the versions of memos included."};
  if (result.IsOk() && definition.realIndexes.size() > kMaxIndexes)
    result = {EDaoError::TooManyIndexes,
              u"A table has at most 32 indexes, those of complex fields included."};
  if (result.IsOk() && CRowEncoder(m_file->GetLayout(), definition).IsTooLong())
    result = {EDaoError::RecordTooLarge, u"The table's fields of fixed length do not fit in one record."};
  SortColumns();
  if (result.IsOk()) result = m_file->AddTable(m_table);
  if (!result.IsOk()) {
    m_table = std::move(table);
    return result;
  }
  m_isAppended = true;
  return CDaoResult::Ok();
}

void CEmbeddedTableDef::SortColumns() {
  const SLayout& layout = m_file->GetLayout();
  if (!layout.definition.isSortedByDisplay) return;
  std::ranges::stable_sort(m_table.definition.columns,
                           [&](const SColumnDefinition& a, const SColumnDefinition& b) {
                             if (a.displayNumber != b.displayNumber) return a.displayNumber < b.displayNumber;
                             return IsNameBefore(layout, a.name, b.name);
                           });
}

void CEmbeddedTableDef::Close() {
  m_file.reset();
}

}  // namespace tolvane
