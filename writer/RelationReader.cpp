#include "writer/RelationReader.h"

#include <algorithm>
#include <array>
#include <cstddef>
#include <optional>
#include <unordered_map>
#include <utility>

#include "format/SystemObjects.h"
#include "platform/Text.h"
#include "render/RecordText.h"
#include "writer/SafeName.h"

namespace tolvane {

namespace {

// An index has no more columns, and without one nothing can be enforced.
constexpr size_t kMostPairs = 10;
constexpr int32_t kKnownAttributes = kRelationUnique | kRelationDontEnforce | kRelationInherited |
                                     kRelationUpdateCascade | kRelationDeleteCascade | kRelationLeft |
                                     kRelationRight;

using Cells = std::array<std::u16string, kRelationshipsColumnCount>;

// The rows of one relationship while they are collected.
class CRelationRows {
 public:
  CRelationRows(const Cells& first, int32_t knownAttributes) {
    m_relation.name = first[kRelationshipsName];
    m_relation.table = first[kRelationshipsTable];
    m_relation.referencedTable = first[kRelationshipsReferencedTable];
    const int64_t bits = LeadingInteger(first[kRelationshipsFlags]);
    m_relation.hasAttributes = !first[kRelationshipsFlags].empty() && (bits & ~int64_t{knownAttributes}) == 0;
    m_relation.attributes = m_relation.hasAttributes ? static_cast<int32_t>(bits) : kRelationDontEnforce;
  }

  void Add(const Cells& row) {
    const int64_t count = LeadingInteger(row[kRelationshipsCount]);
    if (count >= 1 && count <= int64_t{kMostPairs}) m_count = std::max(m_count, static_cast<size_t>(count));
    const int64_t position = LeadingInteger(row[kRelationshipsPosition]);
    const bool isSame = EqualsIgnoreCase(row[kRelationshipsTable], m_relation.table) &&
                        EqualsIgnoreCase(row[kRelationshipsReferencedTable], m_relation.referencedTable);
    if (!isSame || row[kRelationshipsPosition].empty() || position < 0 || position >= int64_t{kMostPairs} ||
        row[kRelationshipsColumn].empty() || row[kRelationshipsReferencedColumn].empty())
      return;
    auto& pair = m_pairs[static_cast<size_t>(position)];
    if (!pair) pair = {row[kRelationshipsColumn], row[kRelationshipsReferencedColumn]};
  }

  SRecoveredRelation Finish() {
    size_t wanted = std::max<size_t>(m_count, 1), found = 0;
    for (size_t i = 0; i < kMostPairs; ++i)
      if (m_pairs[i]) wanted = std::max(wanted, i + 1);
    for (const auto& pair : m_pairs) {
      if (!pair) continue;
      ++found;
      m_relation.pairs.push_back(*pair);
    }
    if (m_relation.table.empty() || m_relation.referencedTable.empty())
      m_relation.problem = u"The name of a table is lost.";
    else if (found < wanted)
      m_relation.problem = ToDecimal(wanted - found) + u" of its " + ToDecimal(wanted) +
                           u" pairs of columns " + (wanted - found == 1 ? u"is lost." : u"are lost.");
    return std::move(m_relation);
  }

 private:
  SRecoveredRelation m_relation;
  size_t m_count = 0;
  std::array<std::optional<SRelationPair>, kMostPairs> m_pairs;
};

// Rows without a name belong together when they join the same tables.
std::u16string MakeKey(const Cells& row) {
  if (!row[kRelationshipsName].empty()) return CNameSet::Fold(row[kRelationshipsName]);
  std::u16string key(1, u'\0');
  key += CNameSet::Fold(row[kRelationshipsTable]);
  key += u'\0';
  return key + CNameSet::Fold(row[kRelationshipsReferencedTable]);
}

class CRelationCollector {
 public:
  explicit CRelationCollector(const SRecoveryRules& rules)
      : m_knownAttributes(kKnownAttributes | (rules.nullCascadeIsUnknown ? 0 : kRelationNullCascade)) {}
  void Add(const Cells& row) {
    if (row[kRelationshipsName].empty() && row[kRelationshipsTable].empty() &&
        row[kRelationshipsReferencedTable].empty())
      return;
    const auto [found, isNew] = m_byKey.try_emplace(MakeKey(row), m_relations.size());
    if (isNew) m_relations.emplace_back(row, m_knownAttributes);
    m_relations[found->second].Add(row);
  }
  void Finish(std::vector<SRecoveredRelation>& relations) {
    for (CRelationRows& rows : m_relations) relations.push_back(rows.Finish());
  }

 private:
  int32_t m_knownAttributes;
  std::vector<CRelationRows> m_relations;
  std::unordered_map<std::u16string, size_t> m_byKey;
};

// Nothing where the definitions do not fit each other.
std::optional<SRecoveredRelation> ReadDefinitions(const CAccessData& data, const CAccessTable& table,
                                                  const SForeignKey& key) {
  const CAccessTable* const primary =
      data.GetTables().FindTable(uint64_t{key.primaryTable} * data.source.pageSize);
  if (primary == nullptr) return std::nullopt;
  const auto referred =
      std::ranges::find(primary->referredIndexes, key.primaryIndex, &SReferredIndex::number);
  if (referred == primary->referredIndexes.end()) return std::nullopt;
  const CAccessTableIndex &own = *table.indexes.GetAt(key.index),
                          &other = *primary->indexes.GetAt(referred->index);
  if (own.columnCount == 0 || own.columnCount != other.columnCount) return std::nullopt;
  SRecoveredRelation relation;
  relation.name = key.relationship;
  relation.table = table.name;
  relation.referencedTable = primary->name;
  relation.isRestored = true;
  if (own.unique != 0) relation.attributes |= kRelationUnique;
  if (key.cascadesUpdates) relation.attributes |= kRelationUpdateCascade;
  if (key.cascadesDeletes) relation.attributes |= kRelationDeleteCascade;
  for (size_t i = 0; i < own.columnCount; i++) {
    const CAccessColumn* const column = table.columns.FindByNumber(own.columns[i].columnNumber);
    const CAccessColumn* const referredColumn = primary->columns.FindByNumber(other.columns[i].columnNumber);
    if (column == nullptr || referredColumn == nullptr) return std::nullopt;
    relation.pairs.push_back({std::u16string(column->GetName()), std::u16string(referredColumn->GetName())});
  }
  return relation;
}

// Takes the place of one that is not whole. Rows that lost their name may be those of the relationship.
void AddRestored(const CAccessData& data, std::vector<SRecoveredRelation>& relations) {
  for (const auto& table : data.GetTables())
    for (const SForeignKey& key : table->foreignKeys) {
      const auto known = std::ranges::find_if(relations, [&](const SRecoveredRelation& relation) {
        return relation.name.empty() ? EqualsIgnoreCase(relation.table, table->name)
                                     : EqualsIgnoreCase(relation.name, key.relationship);
      });
      if (known != relations.end() && (known->isRestored || known->problem.empty())) continue;
      auto restored = ReadDefinitions(data, *table, key);
      if (restored && known != relations.end())
        *known = std::move(*restored);
      else if (restored)
        relations.push_back(std::move(*restored));
    }
}

}  // namespace

const CAccessTable* FindRelationsTable(const CAccessData& data) {
  const CAccessTable* const table = data.GetTables().FindTable(kMSysRelationships);
  return table && table->columns.GetCount() > 0 ? table : nullptr;
}

std::u16string SRecoveredRelation::DescribeSide(bool isReferenced) const {
  std::u16string columns;
  for (const SRelationPair& pair : pairs)
    columns += (columns.empty() ? u"" : u", ") + (isReferenced ? pair.referencedColumn : pair.column);
  return (isReferenced ? referencedTable : table) + u" (" + columns + u")";
}

std::u16string SRecoveredRelation::DescribeRules() const {
  constexpr std::pair<int32_t, std::u16string_view> kWords[] = {{kRelationUnique, u"one to one"},
                                                                {kRelationUpdateCascade, u"updates cascade"},
                                                                {kRelationDeleteCascade, u"deletes cascade"},
                                                                {kRelationLeft, u"left join"},
                                                                {kRelationRight, u"right join"},
                                                                {kRelationDontEnforce, u"not enforced"}};
  std::u16string text;
  for (const auto& [bit, words] : kWords)
    if ((attributes & bit) != 0) text += (text.empty() ? u"" : u", ") + std::u16string(words);
  return text;
}

bool SRecoveredRelation::IsSystem() const {
  return table.starts_with(kSystemTablePrefix) && referencedTable.starts_with(kSystemTablePrefix);
}

bool ReadRelations(const CAccessData& data, CJobContext* job, std::vector<SRecoveredRelation>& relations,
                   uint32_t& rowsRead) {
  relations.clear();
  rowsRead = 0;
  const CAccessTable* table = FindRelationsTable(data);
  if (table == nullptr || table->header.rowCount == 0) {
    AddRestored(data, relations);
    return true;
  }
  CTableTextReader reader(*table, data.GetRules());
  if (!reader.Open()) return false;
  CRelationCollector collector(data.GetRules());
  std::vector<std::u16string> values;
  while (reader.ReadRow(values)) {
    if (job != nullptr) job->progress.IncrementPos();
    Cells row;
    for (size_t i = 0; i < values.size(); ++i) {
      const uint16_t number = table->columns.GetAt(i)->number;
      if (number < row.size()) row[number] = values[i];
    }
    collector.Add(row);
    if (!reader.IsIncomplete()) ++rowsRead;
    if (job != nullptr && !job->saving.IsSaving()) return false;
  }
  collector.Finish(relations);
  AddRestored(data, relations);
  return true;
}

}  // namespace tolvane
