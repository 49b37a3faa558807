#include "export/SqlSchema.h"

#include <algorithm>
#include <optional>
#include <unordered_map>
#include <unordered_set>
#include <utility>

#include "dao/dao.h"
#include "export/SqlDefaults.h"
#include "export/SqlNames.h"
#include "export/SqlRows.h"
#include "format/SystemObjects.h"
#include "model/FlatTable.h"
#include "platform/Text.h"
#include "render/ObjectProperties.h"
#include "writer/RelationReader.h"
#include "writer/ResultTypes.h"
#include "writer/SafeName.h"

namespace tolvane {

namespace {

constexpr std::u16string_view kRequired = u"Required", kDefaultValue = u"DefaultValue";

class CSchemaMaker {
 public:
  CSchemaMaker(const CAccessData& data, const CSqlDialect& dialect, const StopRequest& isStopped)
      : m_data(data), m_dialect(dialect), m_isStopped(isStopped), m_tableNames(dialect.Get()) {}

  SSqlSchema Make(const CAccessTable* only, bool withSystemTables);

 private:
  void AddTable(const CAccessTable& source);
  void AddValues(const CAccessTable& source, size_t column, const SFlatTable& flat);
  [[nodiscard]] std::u16string NameOf(const CAccessColumn& column) const;
  void AddColumns(SSqlTable& table, const std::vector<size_t>& sources);
  void AddIndexes(SSqlTable& table);
  void ChooseKey(SSqlTable& table, const CAccessTableIndex& index);
  [[nodiscard]] std::optional<SSqlIndex> DescribeIndex(const SSqlTable& table,
                                                       const CAccessTableIndex& index) const;
  void CheckRequired(SSqlTable& table) const;
  void NameIndexes();
  void AddReferences();
  std::u16string AddReference(const SRecoveredRelation& relation);
  [[nodiscard]] std::optional<size_t> FindTable(std::u16string_view name) const;
  [[nodiscard]] std::optional<size_t> FindColumn(const SSqlTable& table, std::u16string_view name) const;

  const CAccessData& m_data;
  const CSqlDialect& m_dialect;
  const StopRequest& m_isStopped;
  CSqlNames m_tableNames;
  SSqlSchema m_schema;
};

// Where the index has no such column any more it is no index.
std::optional<SSqlIndex> CSchemaMaker::DescribeIndex(const SSqlTable& table,
                                                     const CAccessTableIndex& index) const {
  SSqlIndex described;
  for (size_t i = 0; i < index.columnCount; ++i) {
    const auto found = std::ranges::find_if(table.columns, [&](const SSqlColumn& column) {
      return table.source->columns.GetAt(column.source)->number == index.columns[i].columnNumber;
    });
    if (found == table.columns.end()) return std::nullopt;
    described.columns.push_back(static_cast<size_t>(found - table.columns.begin()));
    described.isDescending.push_back(!index.columns[i].isAscending);
  }
  if (described.columns.empty()) return std::nullopt;
  described.isUnique = index.unique != 0 || index.primary != 0;
  return described;
}

// A column that nobody sees in Access is called by the memo that it serves.
std::u16string CSchemaMaker::NameOf(const CAccessColumn& column) const {
  if (IsVersionDate(column)) return u"Modified";
  const auto flat = IsVersionHistory(column)
                        ? FindFlatTable(m_data.GetTables(), column, m_data.source.pageSize)
                        : std::nullopt;
  if (!flat) return SpelledName(column, m_data.source);
  return SpelledName(*flat->table->columns.GetAt(flat->item), m_data.source) + u"_versions";
}

void CSchemaMaker::AddColumns(SSqlTable& table, const std::vector<size_t>& sources) {
  CSqlNames names(m_dialect.Get());
  const std::vector<SValueKind> results = FindResultTypes(*table.source);
  for (const size_t source : sources) {
    const CAccessColumn& recovered = *table.source->columns.GetAt(source);
    SSqlColumn& column = table.columns.emplace_back();
    column.name = names.Add(NameOf(recovered), "column");
    column.source = source;
    const bool isResult = results[source].type != kTypeNone;
    column.type = {isResult ? results[source].type : recovered.type,
                   isResult ? results[source].scale : recovered.GetScale()};
    column.isRequired =
        recovered.type == kTypeBoolean || IsYes(FindProperty(recovered.properties, kRequired));
    column.isCounter = recovered.IsCounter();
    column.isFile = (recovered.extendedFlags & kColumnOfFile) != 0 && FilePartOf(recovered) == kFilePartData;
  }
  const uint32_t last = table.source->header.nextAutoNumber;
  table.nextNumber = last < INT32_MAX ? int64_t{last} + 1 : 1;
}

void CSchemaMaker::AddIndexes(SSqlTable& table) {
  for (const CAccessTableIndex& index : table.source->indexes) {
    std::optional<SSqlIndex> described = DescribeIndex(table, index);
    if (!described) {
      m_schema.remarks.push_back(u"Index " + Quoted(index.name) + u" of table " + Quoted(table.source->name) +
                                 u" is left out: its columns are not there.");
      continue;
    }
    for (const size_t column : described->columns) table.columns[column].type.isInKey = true;
    // The index that Access keeps of a complex column has a number for its name.
    const SSqlColumn& first = table.columns[described->columns[0]];
    const bool isComplex = described->columns.size() == 1 && first.type.type == kTypeComplex;
    described->name = isComplex ? first.name : ToUtf8(index.name);
    const auto isSame = [&](const SSqlIndex& other) {
      return other.columns == described->columns && (other.isUnique || !described->isUnique);
    };
    if (index.primary != 0 && table.key.columns.empty())
      table.key = std::move(*described);
    else if (std::ranges::none_of(table.indexes, isSame))
      table.indexes.push_back(std::move(*described));
  }
  std::erase_if(table.indexes, [&](const SSqlIndex& index) { return index.columns == table.key.columns; });
}

// A column is required only if every record has a value that the database takes.
void CSchemaMaker::CheckRequired(SSqlTable& table) const {
  std::vector<bool> isAsked(table.columns.size());
  for (size_t i = 0; i < isAsked.size(); ++i)
    isAsked[i] = table.columns[i].isRequired && table.columns[i].type.type != kTypeBoolean;
  for (const size_t column : table.key.columns) isAsked[column] = true;
  for (size_t i = 0; i < isAsked.size(); ++i)
    if (isAsked[i]) table.columns[i].isRequired = true;
  if (std::ranges::find(isAsked, true) == isAsked.end()) return;
  CSqlRows rows(table);
  if (!rows.Open()) return;
  std::string literal;
  while (!m_isStopped() && rows.ReadRow())
    for (size_t i = 0; i < isAsked.size(); ++i) {
      if (!isAsked[i] || !table.columns[i].isRequired) continue;
      const SValue& value = rows.GetValue(i);
      literal.clear();
      const bool isPlain = IsTextType(value.type) || FamilyOf(value.type) == EFamily::Bytes;
      if (value.isNull ||
          (!isPlain && m_dialect.AppendLiteral(table.columns[i].type, value, literal) == ESqlFate::Lost))
        table.columns[i].isRequired = false;
    }
}

void CSchemaMaker::AddTable(const CAccessTable& source) {
  std::vector<size_t> all;
  for (size_t i = 0; i < source.columns.GetCount(); ++i) all.push_back(i);
  SSqlTable& table = m_schema.tables.emplace_back();
  table.source = &source;
  table.name = m_tableNames.Add(source.name, "table");
  AddColumns(table, all);
  AddIndexes(table);
  CheckRequired(table);
  const auto isRequired = [&table](size_t column) { return table.columns[column].isRequired; };
  if (!std::ranges::all_of(table.key.columns, isRequired)) {
    m_schema.remarks.push_back(u"Table " + Quoted(source.name) +
                               u" has no primary key: records lack values of its columns.");
    table.indexes.push_back(std::exchange(table.key, {}));
    table.indexes.back().isUnique = true;
  }
  table.isKeyRowNumber = table.key.columns.size() == 1 && !table.key.isDescending[0] &&
                         table.columns[table.key.columns[0]].type.type == kTypeLong;
  for (SSqlColumn& column : table.columns) {
    const SProperty* const property =
        FindProperty(source.columns.GetAt(column.source)->properties, kDefaultValue);
    const std::u16string expression = TextOf(property);
    if (expression.empty() || column.isCounter) continue;
    column.defaultValue = MakeDefault(expression, column.type, m_dialect);
    if (column.defaultValue.empty())
      m_schema.remarks.push_back(u"Column " + Quoted(FromUtf8(column.name)) + u" of table " +
                                 Quoted(source.name) + u" has no default: " + expression +
                                 u" is no plain value.");
  }
  for (size_t i = 0; i < source.columns.GetCount(); ++i)
    if (const auto flat = FindFlatTable(m_data.GetTables(), *source.columns.GetAt(i), m_data.source.pageSize))
      AddValues(source, i, *flat);
}

// The numbers of the values are the engine's own matter.
void CSchemaMaker::AddValues(const CAccessTable& source, size_t column, const SFlatTable& flat) {
  std::vector<size_t> columns{flat.key};
  for (size_t i = 0; i < flat.table->columns.GetCount(); ++i)
    if (i != flat.key && i != flat.number) columns.push_back(i);
  SSqlTable& table = m_schema.tables.emplace_back();
  table.source = flat.table;
  table.values = std::make_unique<CComplexValues>(source, column, flat, m_data.GetRules());
  const std::u16string name = NameOf(*source.columns.GetAt(column));
  table.name = m_tableNames.Add(source.name + u"_" + name, "values");
  AddColumns(table, columns);
  table.columns[0].name = ToUtf8(u"_" + name);
  for (SSqlColumn& added : table.columns) added.isCounter = added.isRequired = false;
  table.columns[0].type.isInKey = true;
  table.indexes.push_back({"key", {0}, {false}, false});
}

// One namespace for all tables' indexes, which is the tables' own in SQLite and PostgreSQL.
void CSchemaMaker::NameIndexes() {
  for (SSqlTable& table : m_schema.tables) {
    if (!table.key.columns.empty()) table.key.name = m_tableNames.Add(FromUtf8(table.name + "_pkey"), "key");
    for (SSqlIndex& index : table.indexes)
      index.name = m_tableNames.Add(FromUtf8(table.name + "_" + index.name), "index");
  }
}

std::optional<size_t> CSchemaMaker::FindTable(std::u16string_view name) const {
  const std::u16string folded = CNameSet::Fold(name);
  for (size_t i = 0; i < m_schema.tables.size(); ++i)
    if (!m_schema.tables[i].values && CNameSet::Fold(m_schema.tables[i].source->name) == folded) return i;
  return std::nullopt;
}

std::optional<size_t> CSchemaMaker::FindColumn(const SSqlTable& table, std::u16string_view name) const {
  const std::u16string folded = CNameSet::Fold(name);
  for (size_t i = 0; i < table.columns.size(); ++i)
    if (CNameSet::Fold(SpelledName(*table.source->columns.GetAt(table.columns[i].source), m_data.source)) ==
        folded)
      return i;
  return std::nullopt;
}

// The parent's columns in the order of its unique key on just these columns; empty where there is none.
std::vector<size_t> FindUniqueKey(const SSqlTable& parent, std::vector<size_t> columns) {
  std::ranges::sort(columns);
  const auto fits = [&columns](const SSqlIndex& index) {
    std::vector<size_t> sorted = index.columns;
    std::ranges::sort(sorted);
    return index.isUnique && sorted == columns;
  };
  if (fits(parent.key)) return parent.key.columns;
  const auto found = std::ranges::find_if(parent.indexes, fits);
  return found == parent.indexes.end() ? std::vector<size_t>() : found->columns;
}

// Empty on success, else why there is no foreign key.
std::u16string CSchemaMaker::AddReference(const SRecoveredRelation& relation) {
  if (!relation.problem.empty()) return relation.problem;
  if ((relation.attributes & kRelationDontEnforce) != 0) return u"It is not enforced.";
  const std::optional<size_t> child = FindTable(relation.table), parent = FindTable(relation.referencedTable);
  if (!child || !parent) return u"One of its tables is not here.";
  SSqlTable& table = m_schema.tables[*child];
  std::unordered_map<size_t, size_t> childOf;
  std::vector<size_t> parentColumns;
  for (const SRelationPair& pair : relation.pairs) {
    const auto from = FindColumn(table, pair.column);
    const auto to = FindColumn(m_schema.tables[*parent], pair.referencedColumn);
    if (!from || !to) return u"One of its columns is not here.";
    if (table.columns[*from].type.type != m_schema.tables[*parent].columns[*to].type.type)
      return u"Its columns are of different types.";
    childOf[*to] = *from;
    parentColumns.push_back(*to);
  }
  SSqlReference reference;
  reference.parentColumns = FindUniqueKey(m_schema.tables[*parent], parentColumns);
  if (reference.parentColumns.empty()) return u"The table it refers to has no unique key on its columns.";
  for (const size_t column : reference.parentColumns) reference.columns.push_back(childOf[column]);
  for (const size_t column : reference.columns) table.columns[column].type.isInKey = true;
  reference.parent = *parent;
  reference.name = m_tableNames.Add(relation.name, "relation");
  if ((relation.attributes & kRelationUpdateCascade) != 0) reference.onUpdate = ESqlAction::Cascade;
  if ((relation.attributes & kRelationDeleteCascade) != 0) reference.onDelete = ESqlAction::Cascade;
  if ((relation.attributes & kRelationNullCascade) != 0) reference.onDelete = ESqlAction::SetNull;
  table.references.push_back(std::move(reference));
  return {};
}

void CSchemaMaker::AddReferences() {
  std::vector<SRecoveredRelation> relations;
  uint32_t rowsRead = 0;
  if (!ReadRelations(m_data, nullptr, relations, rowsRead)) return;
  for (const SRecoveredRelation& relation : relations) {
    if (relation.IsSystem()) continue;
    const std::u16string reason = AddReference(relation);
    if (!reason.empty())
      m_schema.remarks.push_back(u"Relationship " + Quoted(relation.name) + u" is no foreign key: " + reason);
  }
}

SSqlSchema CSchemaMaker::Make(const CAccessTable* only, bool withSystemTables) {
  m_schema.areRowsWhole = m_data.GetLedger().IsClean();
  std::unordered_set<const CAccessTable*> flatTables;
  for (const auto& table : m_data.GetTables())
    for (const CAccessColumn& column : table->columns)
      if (const auto flat = FindFlatTable(m_data.GetTables(), column, m_data.source.pageSize))
        flatTables.insert(flat->table);
  for (const auto& table : m_data.GetTables()) {
    const bool isWanted =
        only != nullptr ? table.get() == only
                        : (withSystemTables || !IsSystemTable(*table)) && !flatTables.contains(table.get());
    if (!isWanted || table->name.empty() || table->columns.GetCount() == 0) continue;
    if (table->link)
      m_schema.remarks.push_back(u"Table " + Quoted(table->name) +
                                 u" is left out: it is a link to a server.");
    else
      AddTable(*table);
  }
  if (only == nullptr) AddReferences();
  NameIndexes();
  return std::move(m_schema);
}

}  // namespace

SSqlSchema MakeSqlSchema(const CAccessData& data, const CSqlDialect& dialect, const CAccessTable* only,
                         bool withSystemTables, const StopRequest& isStopped) {
  return CSchemaMaker(data, dialect, isStopped).Make(only, withSystemTables);
}

}  // namespace tolvane
