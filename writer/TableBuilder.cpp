#include "writer/TableBuilder.h"

#include <algorithm>
#include <utility>

#include "format/Layout.h"
#include "format/SystemObjects.h"
#include "platform/Text.h"
#include "writer/LinkSaver.h"
#include "writer/ResultTypes.h"

namespace tolvane {

namespace {

bool IsNameRefusal(EDaoError code) {
  return NeedsOtherName(code) || code == EDaoError::InvalidArgument || code == EDaoError::DuplicateField;
}

CDaoResult CreateField(const SFieldPlan& plan, CDaoTableDef& tableDef) {
  const CDaoFieldInfo& info = plan.info;
  return plan.form == EFieldForm::Described
             ? tableDef.CreateField(info)
             : tableDef.CreateField(info.name, info.type, info.size, info.attributes);
}

// A name that is refused although it is safe has characters that the format's code page does not hold.
bool NeedsNarrowName(const CDaoResult& refusal, std::u16string_view name) {
  return refusal.code == EDaoError::InvalidName && IsSafeName(name);
}

int32_t AttributesOf(const SSavedTable& saved) {
  const auto& flags = saved.table->catalogueFlags;
  const bool isHidden = flags && (*flags & kHiddenObjectFlag) != 0;
  return kDaoTableAttributes | (isHidden ? kDaoHiddenObject : 0) |
         (saved.hasSystemMark ? kDaoSystemObject : 0);
}

}  // namespace

ESaveStep CTableBuilder::Build(SSavedTable& saved) {
  saved.name = saved.wantedName;
  std::u16string wanted = saved.name;
  EIndexes indexes = EIndexes::Create;
  CDaoResult refusal;
  for (int attempt = 0; attempt < kNameAttempts; ++attempt) {
    const SAttempt tried = TryBuild(saved, indexes);
    if (tried.isStopped) return ESaveStep::Stopped;
    if (!EndsSave(tried.result.code)) m_tableNames.Take(saved.name);
    if (tried.result.IsOk()) {
      saved.isCreated = true;
      if (m_rules.changesAreLosses && saved.name != saved.table->name) ++m_summary.tablesChanged;
      if (saved.rows == ERows::Loose)
        m_notes.push_back(u"Table " + Quoted(saved.name) +
                          u" holds values of a column of that name that fit no record");
      else if (saved.wantedName != saved.table->name)
        m_notes.push_back(u"Table " + Quoted(saved.name) +
                          u" holds the values of a column, which stood in the hidden table " +
                          Quoted(saved.table->name));
      else if (saved.name != saved.table->name)
        m_notes.push_back(u"Table " + Quoted(saved.table->name) + u" was saved as " + Quoted(saved.name) +
                          u": " + refusal.text);
      if (saved.hasSystemMark)
        m_notes.push_back(u"Table " + Quoted(saved.name) + u" is shown among the system tables only");
      KeepNotes(saved);
      return ESaveStep::Done;
    }
    refusal = tried.result;
    if (EndsSave(refusal.code)) break;
    if (IsNameRefusal(refusal.code)) {
      if (NeedsNarrowName(refusal, saved.name)) wanted = NarrowName(saved.name);
      saved.name = m_tableNames.MakeVariation(wanted, u"Table");
    } else if (indexes == EIndexes::Create && saved.table->indexes.GetCount() > 0) {
      indexes = EIndexes::LeaveOut;
    } else {
      break;
    }
  }
  return EndWithoutTable(saved, refusal);
}

ESaveStep CTableBuilder::EndWithoutTable(SSavedTable& saved, const CDaoResult& result) {
  saved.name.clear();
  if (EndsSave(result.code)) return FailSave(m_summary, result);
  LoseRecords(saved, saved.table->header.rowCount, result.text);
  Remark(m_summary, m_job, u"Table " + Quoted(saved.table->name) + u" could not be created: " + result.text);
  if (saved.table->link)
    ++m_summary.linksLost;
  else
    m_summary.columnsLost += saved.table->columns.GetCount();
  return ESaveStep::Done;
}

CTableBuilder::SAttempt CTableBuilder::TryBuild(SSavedTable& saved, EIndexes indexes) {
  SAttempt attempt;
  m_notes.clear();
  m_columnsLost = m_columnsChanged = m_propertiesLost = m_indexesLost = m_namesUnfolded = 0;
  std::unique_ptr<CDaoTableDef> tableDef;
  attempt.result = m_database.CreateTableDef(saved.name, AttributesOf(saved), {}, {}, tableDef);
  if (!attempt.result.IsOk()) return attempt;
  attempt.result = AddOwnProperties(*saved.table, *tableDef);
  if (attempt.result.IsOk()) attempt.result = AddFields(saved, *tableDef, attempt.isStopped);
  if (attempt.result.IsOk() && !attempt.isStopped) {
    if (indexes == EIndexes::Create) {
      if (saved.rows == ERows::All) attempt.result = AddIndexes(saved, *tableDef);
    } else {
      m_indexesLost = saved.table->indexes.GetCount();
      m_notes.push_back(u"Table " + Quoted(saved.table->name) + u" was saved without its indexes");
    }
    if (attempt.result.IsOk()) attempt.result = tableDef->Append();
  }
  tableDef->Close();
  return attempt;
}

// An engine that stores no properties makes the table all the same.
CDaoResult CTableBuilder::AddOwnProperties(const CAccessTable& table, CDaoTableDef& tableDef) {
  if (table.link)
    if (CDaoResult result = tableDef.SetLink(*table.link); !result.IsOk()) return result;
  const std::vector<CDaoProperty> properties = m_keptProperties.OfTable(table.properties);
  TellLostProperties(u"Table", table.name);
  if (properties.empty() || tableDef.SetProperties(properties).IsOk()) return CDaoResult::Ok();
  m_propertiesLost += properties.size();
  m_notes.push_back(u"Table " + Quoted(table.name) + u" was saved without its properties");
  return CDaoResult::Ok();
}

void CTableBuilder::TellLostProperties(std::u16string_view what, std::u16string_view name) {
  for (const std::u16string& property : m_keptProperties.GetLost()) {
    ++m_propertiesLost;
    Note(what, name, DescribeLostProperty(property));
  }
}

CDaoResult CTableBuilder::AddFields(SSavedTable& saved, CDaoTableDef& tableDef, bool& isStopped) {
  const CAccessColumnList& columns = saved.table->columns;
  CFieldPlanner planner(m_rules, m_version, saved.table->header.nextAutoNumber);
  m_resultTypes =
      m_rules.recordsHoldTexts ? std::vector<SValueKind>(columns.GetCount()) : FindResultTypes(*saved.table);
  m_positions = FindPositions(columns, saved.complex);
  m_fieldNames = {};
  m_columnByNumber.clear();
  saved.fieldNames.assign(columns.GetCount(), {});
  saved.fieldTypes.assign(columns.GetCount(), {});
  saved.fields.assign(columns.GetCount(), SSavedTable::kNoField);
  saved.textFields.assign(saved.complex.size(), SSavedTable::kNoField);
  m_fieldCount = 0;
  CDaoResult refusal{EDaoError::InvalidArgument, u"It has no column that could be created."};
  for (size_t i = 0; i < columns.GetCount(); ++i) {
    isStopped = !m_job.saving.IsSaving();
    if (isStopped) return CDaoResult::Ok();
    const CAccessColumn& column = *columns.GetAt(i);
    m_columnByNumber.try_emplace(column.number, i);
    const size_t notesBefore = m_notes.size();
    const CDaoResult result = AddColumn(saved, i, planner, tableDef);
    if (result.IsOk()) {
      if (m_notes.size() > notesBefore) ++m_columnsChanged;
      continue;
    }
    if (EndsSave(result.code)) return result;
    ++m_columnsLost;
    Note(u"Column", column.GetName(), u" could not be created: " + result.text);
    if (refusal.code == EDaoError::InvalidArgument) refusal = {EDaoError::InvalidDataType, result.text};
  }
  return m_fieldCount > 0 ? CDaoResult::Ok() : refusal;
}

CDaoResult CTableBuilder::AddColumn(SSavedTable& saved, size_t column, CFieldPlanner& planner,
                                    CDaoTableDef& tableDef) {
  for (size_t i = 0; i < saved.complex.size(); ++i)
    if (saved.complex[i].column == column)
      return saved.complex[i].type != 0 ? AddComplexColumn(saved, i, tableDef)
                                        : AddKeyColumn(saved, i, tableDef);
  SFieldPlan plan = planner.Plan(*saved.table->columns.GetAt(column), m_resultTypes[column]);
  if (!saved.columnNames.empty()) plan.info.name = saved.columnNames[column];
  return AddPlanned(saved, column, plan, tableDef);
}

CDaoResult CTableBuilder::AddPlanned(SSavedTable& saved, size_t column, SFieldPlan& plan,
                                     CDaoTableDef& tableDef) {
  if (m_fieldCount == kMaxFields) return {EDaoError::TooManyFields, u"A table holds at most 255 fields."};
  if (!m_rules.reduceFields) plan.info.position = m_positions[column];
  CDaoResult result = AddField(*saved.table->columns.GetAt(column), plan, tableDef);
  if (!result.IsOk()) return result;
  saved.fields[column] = m_fieldCount++;
  saved.fieldTypes[column] = {plan.info.type, plan.info.scale, !plan.info.expression.empty()};
  saved.fieldNames[column] = std::exchange(result.text, {});
  return result;
}

CDaoResult CTableBuilder::AddComplexColumn(SSavedTable& saved, size_t entry, CDaoTableDef& tableDef) {
  const SComplexField& complex = saved.complex[entry];
  const CAccessTable& table = *saved.table;
  SFieldPlan plan;
  plan.form = EFieldForm::Described;
  plan.info.name = table.columns.GetAt(complex.column)->GetName();
  plan.info.type = complex.type;
  plan.info.lastNumber = complex.lastKey;
  if (!complex.HasValues())
    Note(u"Column", plan.info.name, u" has no values: the table that held them is lost");
  if (complex.type == kDaoVersions) plan.info.versionsOf = table.columns.GetAt(complex.memo)->GetName();
  if (complex.type == kDaoComplexDecimal && complex.HasValues()) {
    const CAccessColumn& item = *complex.flat.table->columns.GetAt(complex.flat.item);
    plan.info.precision = static_cast<uint8_t>(item.misc);
    plan.info.scale = item.GetScale();
  }
  if (const CAccessColumn* const item = ItemColumnOf(complex)) {
    plan.info.valueProperties = m_keptProperties.OfField(item->properties, plan.info);
    TellLostProperties(u"Column", plan.info.name);
  }
  return AddPlanned(saved, complex.column, plan, tableDef);
}

// The number of a record's group of values, and but for versions the values themselves as one text.
CDaoResult CTableBuilder::AddKeyColumn(SSavedTable& saved, size_t entry, CDaoTableDef& tableDef) {
  const SComplexField& complex = saved.complex[entry];
  const CAccessColumn& column = *saved.table->columns.GetAt(complex.column);
  SFieldPlan text;
  text.form = EFieldForm::Described;
  text.info.name = column.GetName();
  text.info.type = kDaoMemo;
  text.info.attributes = kDaoUpdatable | kDaoVariableField;
  SFieldPlan key = text;
  key.info.type = kDaoLong;
  key.info.attributes = kDaoUpdatable | kDaoFixedField;
  if (!complex.HasValues()) {
    if (complex.IsOfVersions()) return {EDaoError::ItemNotFound, u"The versions that it kept are lost."};
    Note(u"Column", column.GetName(), u" was saved as numbers: its values are lost");
    return AddPlanned(saved, complex.column, key, tableDef);
  }
  key.info.name = KeyNameOf(complex, *saved.table);
  const CDaoResult result = AddPlanned(saved, complex.column, key, tableDef);
  if (!result.IsOk() || complex.IsOfVersions()) return result;
  text.info.position = static_cast<uint16_t>(m_positions[complex.column] + 1);
  if (m_fieldCount < kMaxFields && AddField(column, text, tableDef).IsOk())
    saved.textFields[entry] = m_fieldCount++;
  Note(u"Column", column.GetName(),
       u" was saved as text; its " + ToDecimal(complex.values->CountAll()) +
           u" values stand in a table of their own, by the numbers in column " +
           Quoted(saved.fieldNames[complex.column]));
  return result;
}

// On success the result's text is the name that the field got.
CDaoResult CTableBuilder::AddField(const CAccessColumn& column, SFieldPlan& plan, CDaoTableDef& tableDef) {
  if (m_byteNames.isSpeltAtOnce && column.storedNameBytes != 0)
    plan.info.name = UnfoldName(column.GetName(), column.storedNameBytes, m_byteNames.codePage);
  plan.info.properties = m_keptProperties.OfField(column.properties, plan.info);
  CDaoResult result = CreateField(plan, tableDef);
  if (!result.IsOk()) result = RetryField(std::move(result), column, plan, tableDef);
  if (!result.IsOk()) return result;
  if (plan.isTypeUnknown)
    Note(u"Column", column.GetName(),
         u" has the unknown type " + ToDecimal(column.type) + u" and was saved as text");
  TellLostProperties(u"Column", column.GetName());
  if (!plan.instead.empty())
    Note(u"Column", column.GetName(), u" was saved as " + std::u16string(plan.instead));
  m_fieldNames.Take(plan.info.name);
  result.text = std::move(plan.info.name);
  return result;
}

CDaoResult CTableBuilder::RetryField(CDaoResult refusal, const CAccessColumn& column, SFieldPlan& plan,
                                     CDaoTableDef& tableDef) {
  bool isText = false;
  const std::u16string unfolded = UnfoldName(column.GetName(), column.storedNameBytes, m_byteNames.codePage);
  std::u16string wanted(column.GetName());
  for (int attempt = 0; attempt < kNameAttempts && !refusal.IsOk(); ++attempt) {
    if (IsNameRefusal(refusal.code)) {
      m_fieldNames.Take(plan.info.name);
      if (column.storedNameBytes != 0 && wanted == column.GetName())
        wanted = unfolded;
      else if (NeedsNarrowName(refusal, plan.info.name))
        wanted = NarrowName(plan.info.name);
      plan.info.name = m_fieldNames.MakeVariation(wanted, u"Field");
    } else if (!isText && !EndsSave(refusal.code) && refusal.code != EDaoError::TooManyFields) {
      isText = true;
      MakeTextField(plan.info);
      plan.form = EFieldForm::Plain;
      plan.info.defaultValue.clear();
      Note(u"Column", column.GetName(), u" was saved as text: " + refusal.text);
    } else {
      return refusal;
    }
    const std::u16string reason = refusal.text;
    refusal = CreateField(plan, tableDef);
    if (refusal.IsOk() && plan.info.name == unfolded)
      ++m_namesUnfolded;
    else if (refusal.IsOk() && plan.info.name != column.GetName())
      Note(u"Column", column.GetName(), u" was saved as " + Quoted(plan.info.name) + u": " + reason);
  }
  return refusal;
}

CDaoResult CTableBuilder::AddIndexes(const SSavedTable& saved, CDaoTableDef& tableDef) {
  size_t left = saved.table->indexes.GetCount();
  for (const CAccessTableIndex& index : saved.table->indexes) {
    if (index.columnCount == 0) {
      m_indexesLost += left;
      Note(u"Index", index.name, u" and those behind it were left out: its columns cannot be read");
      break;
    }
    --left;
    if (IsOfComplexField(saved, index)) continue;
    CDaoIndexInfo info;
    CDaoResult result{EDaoError::ItemNotFound, u"A column of it is not there."};
    if (DescribeIndex(saved, index, info)) result = tableDef.CreateIndex(info);
    if (result.IsOk()) continue;
    if (EndsSave(result.code)) return result;
    ++m_indexesLost;
    Note(u"Index", index.name, u" could not be created: " + result.text);
  }
  return CDaoResult::Ok();
}

// The database engine makes these by itself.
bool CTableBuilder::IsOfComplexField(const SSavedTable& saved, const CAccessTableIndex& index) const {
  const auto column = m_columnByNumber.find(index.columns[0].columnNumber);
  if (index.columnCount != 1 || column == m_columnByNumber.end()) return false;
  return std::ranges::any_of(saved.complex, [&](const SComplexField& complex) {
    return complex.column == column->second && complex.type != 0;
  });
}

// False when a column is unknown or has no field.
bool CTableBuilder::DescribeIndex(const SSavedTable& saved, const CAccessTableIndex& index,
                                  CDaoIndexInfo& info) const {
  for (size_t i = 0; i < index.columnCount && i < index.columns.size(); ++i) {
    const auto column = m_columnByNumber.find(index.columns[i].columnNumber);
    if (column == m_columnByNumber.end()) return false;
    if (saved.fields[column->second] == SSavedTable::kNoField) return false;
    info.fields.push_back({saved.fieldNames[column->second], !index.columns[i].isAscending});
  }
  info.name = index.name;
  info.primary = index.primary != 0;
  info.unique = index.unique != 0;
  info.clustered = true;
  info.ignoreNulls = index.ignoreNulls != 0;
  info.required = index.required != 0;
  info.foreign = index.foreign != 0;
  info.distinctCount = 1;
  return true;
}

// The table's name is added when the attempt turns out to be the one that counts.
void CTableBuilder::Note(std::u16string_view what, std::u16string_view name, std::u16string text) {
  m_notes.push_back(std::u16string(what) + u" " + Quoted(name) + std::move(text));
}

void CTableBuilder::KeepNotes(const SSavedTable& saved) {
  m_summary.columnsLost += m_columnsLost;
  if (m_rules.changesAreLosses) m_summary.columnsChanged += m_columnsChanged;
  m_summary.propertiesLost += m_propertiesLost;
  m_summary.indexesLost += m_indexesLost;
  for (std::u16string& note : m_notes) {
    if (!note.starts_with(u"Table ")) note = u"Table " + Quoted(saved.table->name) + u": " + note;
    Remark(m_summary, m_job, std::move(note));
  }
  // In a Jet 3 file it is nearly every column.
  if (m_namesUnfolded > 0)
    m_job.log.Append(u"Table " + Quoted(saved.table->name) + u": " + ToDecimal(m_namesUnfolded) +
                     (m_namesUnfolded == 1 ? u" column was saved under the name that its bytes spell"
                                           : u" columns were saved under the names that their bytes spell"));
}

}  // namespace tolvane
