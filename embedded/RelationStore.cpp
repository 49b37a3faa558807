#include "embedded/RelationStore.h"

#include <algorithm>
#include <optional>
#include <string>
#include <utility>

#include "embedded/ObjectName.h"
#include "embedded/RowValues.h"
#include "embedded/StoredIndexCursor.h"
#include "embedded/TableIndexes.h"
#include "format/SystemObjects.h"
#include "platform/Text.h"

namespace tolvane {
namespace {

CDaoResult FindColumn(const SLayout& layout, const STableDefinition& definition, std::u16string_view table,
                      std::u16string_view field, uint16_t& number) {
  const std::string key = MakeNameKey(layout, field);
  for (const SColumnDefinition& column : definition.columns) {
    if (MakeNameKey(layout, column.name) != key) continue;
    number = column.number;
    return CDaoResult::Ok();
  }
  std::u16string text = u"The relation names a field \"";
  text.append(field).append(u"\" that table \"").append(table).append(u"\" does not have.");
  return {EDaoError::ItemNotFound, std::move(text)};
}

bool AreDistinct(std::vector<uint16_t> numbers) {
  std::ranges::sort(numbers);
  return std::ranges::adjacent_find(numbers) == numbers.end();
}

bool HasColumns(const SRealIndex& index, std::vector<uint16_t> numbers) {
  std::vector<uint16_t> indexed;
  for (const SIndexColumn& column : index.columns) indexed.push_back(column.number);
  std::ranges::sort(indexed);
  std::ranges::sort(numbers);
  return indexed == numbers;
}

bool IsPrimaryKey(const STableDefinition& definition, size_t realIndex) {
  return std::ranges::any_of(definition.logicalIndexes, [&](const auto& logical) {
    return logical.realIndex == realIndex && logical.kind == kIndexKindPrimary;
  });
}

// The index on exactly these columns that serves best: the primary key, else a unique one, else any.
std::optional<size_t> FindPrimaryIndex(const STableDefinition& definition,
                                       const std::vector<uint16_t>& numbers) {
  std::optional<size_t> found;
  int foundRank = -1;
  for (size_t i = 0; i < definition.realIndexes.size(); i++) {
    const SRealIndex& index = definition.realIndexes[i];
    if (!HasColumns(index, numbers)) continue;
    const bool isUnique = (index.flags & kIndexUnique) != 0;
    const int rank = (isUnique ? 1 : 0) + (isUnique && IsPrimaryKey(definition, i) ? 1 : 0);
    if (rank <= foundRank) continue;
    found = i;
    foundRank = rank;
  }
  return found;
}

// Numbers are never given again; 'A' for the first, then 'B' to 'Z', 'AA', ...
std::u16string MakePrimarySideName(uint32_t number) {
  std::u16string letters;
  for (uint32_t rest = number + 1; rest > 0; rest = (rest - 1) / 26)
    letters.insert(letters.begin(), static_cast<char16_t>(u'A' + (rest - 1) % 26));
  return u".r" + letters;
}

uint32_t NextIndexNumber(const STableDefinition& definition) {
  uint32_t next = 0;
  for (const SLogicalIndex& index : definition.logicalIndexes) next = std::max(next, index.number + 1);
  return next;
}

class CRelationEnforcer {
 public:
  CRelationEnforcer(CPageFile& file, const CDaoRelationInfo& relation, const SRelationColumns& columns,
                    CTableStore& primary, CTableStore& foreign)
      : m_file(file), m_relation(relation), m_columns(columns), m_primary(primary), m_foreign(foreign) {}

  CDaoResult Run();

 private:
  CDaoResult CheckTypes() const;
  CDaoResult MakeUnique();
  CDaoResult FindForeignIndex();
  CDaoResult MakeRoom();
  CDaoResult MatchOrders();
  CDaoResult CheckRows();
  CDaoResult AddPair();
  static size_t CountNulls(CTableStore& table, const std::vector<uint16_t>& columns, uint32_t pointer);
  [[nodiscard]] SLogicalIndex MakeSide(uint8_t side) const;
  [[nodiscard]] const SRealIndex& PrimaryIndex() const {
    return m_primary.GetDefinition().realIndexes[m_primaryIndex];
  }
  [[nodiscard]] const SRealIndex& ForeignIndex() const {
    return m_foreign.GetDefinition().realIndexes[m_foreignIndex];
  }

  CPageFile& m_file;
  const CDaoRelationInfo& m_relation;
  const SRelationColumns& m_columns;
  CTableStore& m_primary;
  CTableStore& m_foreign;
  size_t m_primaryIndex = 0, m_foreignIndex = 0;  // real ones
  bool m_isForeignIndexNew = false;
  std::u16string m_replaced;  // the ordinary index of the foreign table that gives up its place
  std::u16string m_note;
  uint64_t m_orphans = 0;
  std::vector<uint32_t> m_orphanRows;  // the first one of each of the first keys
};

CDaoResult CRelationEnforcer::Run() {
  if (CDaoResult result = CheckTypes(); !result.IsOk()) return result;
  const std::optional<size_t> index = FindPrimaryIndex(m_primary.GetDefinition(), m_columns.primary);
  if (!index)
    return {EDaoError::NoUniqueIndex,
            u"Table \"" + m_relation.table + u"\" has no unique index on the fields that are referred to."};
  m_primaryIndex = *index;
  if (CDaoResult result = MakeUnique(); !result.IsOk()) return result;
  if (CDaoResult result = FindForeignIndex(); !result.IsOk()) return result;
  CDaoResult result = MakeRoom();
  if (result.IsOk()) result = MatchOrders();
  if (result.IsOk()) result = CheckRows();
  if (result.IsOk()) return AddPair();
  if (!m_isForeignIndexNew) return result;
  CDaoResult dropped = m_foreign.DropLastIndex();
  if (dropped.IsOk()) dropped = m_foreign.StoreIndexes();  // its texts may have another order
  return dropped.IsOk() ? result : dropped;
}

// Keys of one sort order cannot be found among those of another.
CDaoResult CRelationEnforcer::MatchOrders() {
  bool isSame = true;
  for (size_t i = 0; i < m_columns.primary.size(); i++) {
    const SColumnDefinition* primary = m_primary.GetDefinition().FindColumn(m_columns.primary[i]);
    const SColumnDefinition* foreign = m_foreign.GetDefinition().FindColumn(m_columns.foreign[i]);
    isSame = isSame && (!primary->HasTexts() || primary->order == foreign->order);
  }
  if (isSame) return CDaoResult::Ok();
  if (CDaoResult result = m_primary.UseGeneralLegacy(m_columns.primary); !result.IsOk()) return result;
  return m_foreign.UseGeneralLegacy(m_columns.foreign);
}

CDaoResult CRelationEnforcer::CheckTypes() const {
  for (size_t i = 0; i < m_columns.primary.size(); i++) {
    const SColumnDefinition* primary = m_primary.GetDefinition().FindColumn(m_columns.primary[i]);
    const SColumnDefinition* foreign = m_foreign.GetDefinition().FindColumn(m_columns.foreign[i]);
    if (primary->type != foreign->type)
      return {EDaoError::FieldTypesDiffer,
              u"The fields \"" + primary->name + u"\" and \"" + foreign->name + u"\" have different types."};
  }
  return CDaoResult::Ok();
}

// What records refer to has to be unique. An index that lost this property only in its definition gets it
// back.
CDaoResult CRelationEnforcer::MakeUnique() {
  if ((PrimaryIndex().flags & kIndexUnique) != 0) return CDaoResult::Ok();
  CStoredIndexCursor index(m_file, PrimaryIndex().root);
  CIndexCursor& cursor = index.GetWalk();
  if (CDaoResult result = index.ResultOf(cursor.Seek({})); !result.IsOk()) return result;
  std::vector<uint8_t> key;
  std::vector<uint32_t> repeats;
  uint64_t count = 0;
  bool mayRepeat = true;
  while (!cursor.IsAtEnd()) {
    const uint32_t pointer = cursor.GetRowPointer();
    if (key.empty() || !std::ranges::equal(key, cursor.GetKey())) {
      key.assign(cursor.GetKey().begin(), cursor.GetKey().end());
      mayRepeat = CountNulls(m_primary, m_columns.primary, pointer) == m_columns.primary.size();
    } else if (!mayRepeat && count++ < kKeysShown) {
      repeats.push_back(pointer);
    }
    if (CDaoResult result = index.ResultOf(cursor.Next()); !result.IsOk()) return result;
  }
  if (count > 0)
    return {EDaoError::NoUniqueIndex,
            ToDecimal(count) + (count == 1 ? u" record" : u" records") + u" of table \"" + m_relation.table +
                (count == 1 ? u"\" repeats" : u"\" repeat") + u" a key that is referred to (" +
                DescribeKeys(m_file, m_primary, PrimaryIndex(), repeats, count) + u")."};
  m_primary.MakeIndexUnique(m_primaryIndex);
  for (const SLogicalIndex& logical : m_primary.GetDefinition().logicalIndexes)
    if (logical.realIndex == m_primaryIndex)
      m_note = u"Index \"" + logical.name + u"\" of table \"" + m_relation.table +
               u"\" is unique again, because the relation refers to it.";
  return CDaoResult::Ok();
}

// The format bounds the logical indexes. Where the foreign table has no room, the relation's index takes the
// place of an ordinary one that does the same.
CDaoResult CRelationEnforcer::MakeRoom() {
  const auto count = [](const CTableStore& table) { return table.GetDefinition().logicalIndexes.size(); };
  const size_t sides = &m_primary == &m_foreign ? 2 : 1;
  if (count(m_foreign) + sides > kMaxIndexes) {
    for (const SLogicalIndex& index : m_foreign.GetDefinition().logicalIndexes)
      if (index.realIndex == m_foreignIndex && index.kind == 0) m_replaced = index.name;
  }
  const size_t freed = m_replaced.empty() ? 0 : 1;
  if (count(m_foreign) + sides - freed <= kMaxIndexes &&
      (sides == 2 || count(m_primary) + sides <= kMaxIndexes))
    return CDaoResult::Ok();
  return {EDaoError::TooManyIndexes, u"A table has at most 32 indexes, those of its relations included."};
}

// Keys are compared as bytes, so the foreign index has the order and directions of the primary one.
CDaoResult CRelationEnforcer::FindForeignIndex() {
  SRealIndex wanted;
  for (const SIndexColumn& column : PrimaryIndex().columns) {
    const auto at = std::ranges::find(m_columns.primary, column.number);
    wanted.columns.push_back(
        {m_columns.foreign[static_cast<size_t>(at - m_columns.primary.begin())], column.ascending});
  }
  const std::vector<SRealIndex>& indexes = m_foreign.GetDefinition().realIndexes;
  const auto found = std::ranges::find_if(indexes, [&](const SRealIndex& index) {
    return std::ranges::equal(index.columns, wanted.columns,
                              [](const SIndexColumn& a, const SIndexColumn& b) {
                                return a.number == b.number && a.ascending == b.ascending;
                              });
  });
  m_foreignIndex = static_cast<size_t>(found - indexes.begin());
  if (found != indexes.end()) return CDaoResult::Ok();
  if (indexes.size() == kMaxIndexes)
    return {EDaoError::TooManyIndexes, u"Table \"" + m_relation.foreignTable + u"\" has 32 indexes already."};
  m_isForeignIndexNew = true;
  return m_foreign.AddIndex(std::move(wanted));
}

CDaoResult CRelationEnforcer::CheckRows() {
  CStoredIndexCursor foreign(m_file, ForeignIndex().root);
  CStoredIndexCursor primary(m_file, PrimaryIndex().root);
  bool hasNull = false;
  const auto visit = [&](uint32_t pointer, bool isNewKey) {
    if (isNewKey) hasNull = CountNulls(m_foreign, m_columns.foreign, pointer) != 0;
    if (hasNull) return true;
    if (isNewKey && m_orphanRows.size() < kKeysShown) m_orphanRows.push_back(pointer);
    m_orphans++;
    return true;
  };
  const EIndexWalk end = FindUnmatched(foreign.GetWalk(), primary.GetWalk(), visit);
  CDaoResult result = foreign.ResultOf(end);
  if (end == EIndexWalk::Unreadable && !primary.ResultOf(end).IsOk()) result = primary.ResultOf(end);
  if (!result.IsOk() || m_orphans == 0) return result;
  return {EDaoError::RelatedRecordMissing,
          ToDecimal(m_orphans) + (m_orphans == 1 ? u" record" : u" records") + u" of table \"" +
              m_relation.foreignTable + (m_orphans == 1 ? u"\" refers" : u"\" refer") +
              u" to no record of table \"" + m_relation.table + u"\" (" +
              DescribeKeys(m_file, m_foreign, ForeignIndex(), m_orphanRows, m_orphans) + u")."};
}

size_t CRelationEnforcer::CountNulls(CTableStore& table, const std::vector<uint16_t>& columns,
                                     uint32_t pointer) {
  const STableDefinition& definition = table.GetDefinition();
  const std::span<const uint8_t> row = table.ReadRow(pointer);
  return static_cast<size_t>(std::ranges::count_if(columns, [&](uint16_t number) {
    std::optional<std::span<const uint8_t>> value;
    return !ReadRowColumn(table.GetLayout(), definition, row, *definition.FindColumn(number), value) ||
           !value;
  }));
}

SLogicalIndex CRelationEnforcer::MakeSide(uint8_t side) const {
  const bool isForeign = side == kForeignSide;
  SLogicalIndex index;
  index.side = side;
  index.kind = kIndexKindForeign;
  index.realIndex = static_cast<uint32_t>(isForeign ? m_foreignIndex : m_primaryIndex);
  index.partnerTable = (isForeign ? m_primary : m_foreign).GetPage();
  index.cascadeUpdates = (m_relation.attributes & kRelationUpdateCascade) != 0 ? 1 : 0;
  index.cascadeDeletes = (m_relation.attributes & kRelationDeleteCascade) != 0 ? 1 : 0;
  return index;
}

CDaoResult CRelationEnforcer::AddPair() {
  SLogicalIndex foreign = MakeSide(kForeignSide), primary = MakeSide(kPrimarySide);
  foreign.name = m_relation.name;
  foreign.number = primary.partnerIndex = NextIndexNumber(m_foreign.GetDefinition());
  primary.number = NextIndexNumber(m_primary.GetDefinition()) + (&m_primary == &m_foreign ? 1 : 0);
  foreign.partnerIndex = primary.number;
  primary.name = MakePrimarySideName(primary.number);
  if (!m_replaced.empty()) m_foreign.RemoveLogicalIndex(m_replaced);
  m_foreign.AddLogicalIndex(std::move(foreign));
  m_primary.AddLogicalIndex(std::move(primary));
  if (CDaoResult result = m_foreign.StoreIndexes(); !result.IsOk()) return result;
  if (&m_primary != &m_foreign)
    if (CDaoResult result = m_primary.StoreIndexes(); !result.IsOk()) return result;
  return {EDaoError::None, m_note};
}

}  // namespace

CDaoResult FindRelationColumns(const SLayout& layout, const CDaoRelationInfo& relation,
                               const STableDefinition& primary, const STableDefinition& foreign,
                               SRelationColumns& columns) {
  if (relation.fields.empty() || relation.fields.size() > kMaxIndexFields)
    return {EDaoError::InvalidArgument, u"A relation has 1 to 10 pairs of fields."};
  columns = {};
  for (const CDaoRelationFieldInfo& pair : relation.fields) {
    if (CDaoResult result =
            FindColumn(layout, primary, relation.table, pair.name, columns.primary.emplace_back());
        !result.IsOk())
      return result;
    if (CDaoResult result = FindColumn(layout, foreign, relation.foreignTable, pair.foreignName,
                                       columns.foreign.emplace_back());
        !result.IsOk())
      return result;
  }
  if (!AreDistinct(columns.primary) || !AreDistinct(columns.foreign))
    return {EDaoError::DuplicateField, u"The relation names a field twice."};
  return CDaoResult::Ok();
}

CDaoResult EnforceRelation(CPageFile& file, const CDaoRelationInfo& relation, const SRelationColumns& columns,
                           CTableStore& primary, CTableStore& foreign) {
  return CRelationEnforcer(file, relation, columns, primary, foreign).Run();
}

CDaoResult StoreRelationRows(CTableStore& relations, const CDaoRelationInfo& relation) {
  const auto count = static_cast<uint32_t>(relation.fields.size());
  for (uint32_t position = 0; position < count; position++) {
    relations.BeginRow();
    CRowValues values(relations);
    values.SetText(kRelationshipsName, relation.name);
    values.SetNumber(kRelationshipsFlags, static_cast<uint32_t>(relation.attributes));
    values.SetNumber(kRelationshipsCount, count);
    values.SetNumber(kRelationshipsPosition, position);
    values.SetText(kRelationshipsTable, relation.foreignTable);
    values.SetText(kRelationshipsColumn, relation.fields[position].foreignName);
    values.SetText(kRelationshipsReferencedTable, relation.table);
    values.SetText(kRelationshipsReferencedColumn, relation.fields[position].name);
    if (CDaoResult result = relations.StoreRow(); !result.IsOk()) return result;
  }
  return CDaoResult::Ok();
}

}  // namespace tolvane
