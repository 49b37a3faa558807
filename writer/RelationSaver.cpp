#include "writer/RelationSaver.h"

#include <algorithm>
#include <iterator>
#include <utility>

#include "format/SystemObjects.h"
#include "platform/Text.h"

namespace tolvane {

namespace {

// Refusals of one name before the relationship is given up.
constexpr int kAttempts = 12;
// Each needs an index, and a table has no more. Trying one costs a walk over the tables.
constexpr int kMostEnforced = 32;
// A table of nonsense must not fill the log.
constexpr uint64_t kMostNotes = 200;

// What the relation asks of the rows, in place of what it joins.
bool IsAboutEnforcing(EDaoError code) {
  constexpr EDaoError kAbout[] = {EDaoError::RelatedRecordMissing, EDaoError::FieldTypesDiffer,
                                  EDaoError::NoUniqueIndex,        EDaoError::TooManyIndexes,
                                  EDaoError::NotSupported,         EDaoError::DatabaseTooLarge};
  return std::ranges::find(kAbout, code) != std::end(kAbout);
}

// The field that a column became. Rows name columns as users know them; columns of Jet 3 files are recovered
// under names that only the new field spells right.
std::u16string_view FindField(const SSavedTable* table, std::u16string_view column) {
  if (table == nullptr) return column;
  for (size_t i = 0; i < table->fieldNames.size(); ++i)
    if (!table->fieldNames[i].empty() && EqualsIgnoreCase(table->table->columns.GetAt(i)->GetName(), column))
      return table->fieldNames[i];
  for (const std::u16string& field : table->fieldNames)
    if (EqualsIgnoreCase(field, column)) return field;
  return {};
}

// Nothing cascades where nothing is enforced. Answers the reason.
std::u16string GiveUpEnforcing(CDaoRelationInfo& info, std::u16string_view reason) {
  info.attributes |= kRelationDontEnforce;
  info.attributes &= ~(kRelationUpdateCascade | kRelationDeleteCascade | kRelationNullCascade);
  return std::u16string(reason);
}

std::u16string NameOf(const SRecoveredRelation& relation) {
  if (!relation.name.empty()) return u"Relationship " + Quoted(relation.name);
  return u"The relationship of tables " + Quoted(relation.referencedTable) + u" and " +
         Quoted(relation.table);
}

}  // namespace

bool CRelationSaver::Read() {
  m_relations.clear();
  const CAccessTable* table = FindRelationsTable(m_data);
  if (table == nullptr) return true;
  m_job.progress.Begin(table->header.rowCount);
  if (!m_job.saving.IsSaving()) return false;
  m_job.log.Append(u"Saving relations");
  uint32_t rowsRead = 0;
  const bool isRead = ReadRelations(m_data, &m_job, m_relations, rowsRead);
  if (!m_job.saving.IsSaving()) {
    m_relations.clear();
    return false;
  }
  if (!isRead) m_summary.notes.push_back(u"Error code : - 004");
  if (rowsRead < table->header.rowCount) m_summary.systemRowsLost += table->header.rowCount - rowsRead;
  return isRead;
}

ESaveStep CRelationSaver::Create(CDaoDatabase& database, const std::vector<SSavedTable>& tables,
                                 const LinkNames& links) {
  if (m_relations.empty()) return ESaveStep::Done;
  m_job.status.SetText(u"Saving relations");
  Tables byName;
  for (const SSavedTable& table : tables)
    if (table.isCreated) byName.emplace(CNameSet::Fold(table.table->name), SEnd{table.name, &table});
  for (const auto& [recovered, name] : links) byName.emplace(recovered, SEnd{name});
  for (const SRecoveredRelation& relation : m_relations) {
    if (!m_job.saving.IsSaving()) return ESaveStep::Stopped;
    if (relation.IsSystem()) continue;
    const ESaveStep step = CreateOne(database, relation, byName);
    if (step != ESaveStep::Done) return step;
  }
  if (m_notes > kMostNotes)
    m_job.log.Append(ToDecimal(m_notes - kMostNotes) + u" more relationships are like that");
  return ESaveStep::Done;
}

ESaveStep CRelationSaver::CreateOne(CDaoDatabase& database, const SRecoveredRelation& relation,
                                    const Tables& tables) {
  CDaoRelationInfo info;
  const std::u16string missing =
      relation.problem.empty() ? Describe(relation, tables, info) : relation.problem;
  if (!missing.empty()) {
    Lose(relation, missing);
    return ESaveStep::Done;
  }
  info.name = relation.name;
  if (info.name.empty())
    info.name = m_names.MakeVariation(relation.referencedTable + relation.table, u"Relation");
  std::u16string weakness = relation.hasAttributes ? u"" : u"Its properties are lost.";
  if (!MayEnforce(info)) weakness = GiveUpEnforcing(info, u"A table of it has 32 others already.");
  const CDaoResult result = TryCreate(database, info, weakness);
  m_names.Take(info.name);
  if (EndsSave(result.code)) return FailSave(m_summary, result);
  if (!result.IsOk()) {
    Lose(relation, result.text);
    return ESaveStep::Done;
  }
  ++m_summary.relationsSaved;
  TellChange(relation, info.name, result.text);
  if (weakness.empty()) return ESaveStep::Done;
  ++m_summary.relationsWeakened;
  Note(NameOf(relation) + u" was saved, but is not enforced: " + weakness);
  return ESaveStep::Done;
}

// The text says what became of an index that the relationship needs.
void CRelationSaver::TellChange(const SRecoveredRelation& relation, const std::u16string& name,
                                const std::u16string& text) {
  const bool isLoss = m_data.GetRules().changesAreLosses;
  if (isLoss && (name != relation.name || !text.empty() || relation.isRestored)) ++m_summary.relationsChanged;
  if (relation.isRestored)
    Note(NameOf(relation) +
         u" was put together from the definitions of its tables, which do not keep its join type");
  if (name != relation.name) Note(NameOf(relation) + u" was saved as " + Quoted(name));
  if (text.empty()) return;
  if (isLoss)
    Note(NameOf(relation) + u": " + text);
  else
    m_job.log.Append(NameOf(relation) + u": " + text);
}

// Varies a refused name, and gives up enforcing where the rows or the tables do not allow it: then `weakness`
// tells why.
CDaoResult CRelationSaver::TryCreate(CDaoDatabase& database, CDaoRelationInfo& info,
                                     std::u16string& weakness) {
  const std::u16string wanted = info.name;
  CDaoResult result = database.CreateRelation(info);
  for (int attempt = 1; attempt < kAttempts && !result.IsOk(); ++attempt) {
    if (result.code == EDaoError::InvalidName || result.code == EDaoError::RelationExists) {
      m_names.Take(info.name);
      const bool isNarrow = result.code == EDaoError::InvalidName && IsSafeName(info.name);
      info.name = m_names.MakeVariation(isNarrow ? NarrowName(wanted) : wanted, u"Relation");
    } else if ((info.attributes & kRelationDontEnforce) == 0 && IsAboutEnforcing(result.code)) {
      weakness = GiveUpEnforcing(info, result.text);
    } else {
      return result;
    }
    result = database.CreateRelation(info);
  }
  return result;
}

// False when it is to be enforced, but one of its tables has had its share.
bool CRelationSaver::MayEnforce(const CDaoRelationInfo& info) {
  if ((info.attributes & kRelationDontEnforce) != 0) return true;
  if (info.table != info.foreignTable && m_enforced[info.foreignTable]++ >= kMostEnforced) return false;
  return m_enforced[info.table]++ < kMostEnforced;
}

std::u16string CRelationSaver::Describe(const SRecoveredRelation& relation, const Tables& tables,
                                        CDaoRelationInfo& info) {
  const auto foreign = tables.find(CNameSet::Fold(relation.table));
  const auto primary = tables.find(CNameSet::Fold(relation.referencedTable));
  for (const auto& [found, name] :
       {std::pair(foreign, &relation.table), std::pair(primary, &relation.referencedTable)})
    if (found == tables.end()) return u"Table " + Quoted(*name) + u" is not in the new database.";
  info.table = primary->second.name;
  info.foreignTable = foreign->second.name;
  info.attributes = relation.attributes;
  for (const SRelationPair& pair : relation.pairs) {
    const std::u16string_view field = FindField(primary->second.table, pair.referencedColumn),
                              foreignField = FindField(foreign->second.table, pair.column);
    if (field.empty() || foreignField.empty())
      return u"Column " + Quoted(field.empty() ? pair.referencedColumn : pair.column) + u" of table " +
             Quoted(field.empty() ? relation.referencedTable : relation.table) +
             u" is not in the new database.";
    info.fields.push_back({std::u16string(field), std::u16string(foreignField)});
  }
  return {};
}

void CRelationSaver::Lose(const SRecoveredRelation& relation, std::u16string_view reason) {
  ++m_summary.relationsLost;
  Note(NameOf(relation) + u" could not be saved: " + std::u16string(reason));
}

void CRelationSaver::Note(std::u16string text) {
  if (m_notes++ >= kMostNotes) return;
  Remark(m_summary, m_job, std::move(text));
}

}  // namespace tolvane
