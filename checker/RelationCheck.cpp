#include "checker/RelationCheck.h"

#include <algorithm>
#include <set>
#include <string_view>
#include <utility>

#include "checker/DataPage.h"
#include "checker/SystemRow.h"
#include "format/IndexCursor.h"
#include "format/SystemObjects.h"

namespace tolvane {
namespace {

constexpr size_t kMostPairs = 100'000, kMostSides = 100'000;
constexpr uint16_t kDescendingForm = 0x100;

}  // namespace

void CRelationCheck::AddRow(const CRowView& row, SPlace place) {
  if (m_pairs.size() == kMostPairs) {
    m_isComplete = false;
    m_context.findings.Note(u"Relationships beyond the first ", kMostPairs, u" were not looked at.");
    return;
  }
  const CSystemRow values(m_context.file, row);
  SPair pair;
  pair.place = place;
  pair.name = values.GetText(kRelationshipsName);
  pair.relation = values.GetNameKey(kRelationshipsName);
  pair.table = values.GetNameKey(kRelationshipsTable);
  pair.column = values.GetNameKey(kRelationshipsColumn);
  pair.referencedTable = values.GetNameKey(kRelationshipsReferencedTable);
  pair.referencedColumn = values.GetNameKey(kRelationshipsReferencedColumn);
  pair.flags = values.GetNumber<uint32_t>(kRelationshipsFlags).value_or(0);
  pair.count = values.GetNumber<uint32_t>(kRelationshipsCount).value_or(0);
  pair.position = values.GetNumber<uint32_t>(kRelationshipsPosition).value_or(0);
  m_relations[pair.relation].push_back(m_pairs.size());
  m_byTable[pair.table].push_back(m_pairs.size());
  m_byReferencedTable[pair.referencedTable].push_back(m_pairs.size());
  m_pairs.push_back(std::move(pair));
}

void CRelationCheck::AddTable(const SCheckedObject& object, const SCheckedTable& table) {
  std::set<std::string_view> columns;
  const auto foreign = m_byTable.find(object.nameKey), primary = m_byReferencedTable.find(object.nameKey);
  if (foreign != m_byTable.end() || primary != m_byReferencedTable.end())
    for (const SCheckedColumn& column : table.columns) columns.insert(column.nameKey);
  if (foreign != m_byTable.end())
    for (const size_t i : foreign->second) m_pairs[i].hasColumn = columns.count(m_pairs[i].column) != 0;
  if (primary != m_byReferencedTable.end())
    for (const size_t i : primary->second)
      m_pairs[i].hasReferencedColumn = columns.count(m_pairs[i].referencedColumn) != 0;
  for (const SCheckedLogicalIndex& index : table.logicalIndexes) {
    if (index.kind != kIndexKindForeign) continue;
    if (m_sides.size() == kMostSides) {
      m_isComplete = false;
      return;
    }
    m_sides[{table.page, index.number}] = MakeSide(object, table, index);
    if (index.side == kForeignSide) m_foreignSides[index.nameKey].push_back({table.page, index.number});
  }
}

CRelationCheck::SSide CRelationCheck::MakeSide(const SCheckedObject& object, const SCheckedTable& table,
                                               const SCheckedLogicalIndex& index) {
  SSide side{.name = index.name,
             .nameKey = index.nameKey,
             .page = table.page,
             .number = index.number,
             .partnerPage = index.partnerTable,
             .partnerNumber = index.partnerIndex,
             .side = index.side,
             .cascadeUpdates = index.cascadeUpdates,
             .cascadeDeletes = index.cascadeDeletes,
             .table = object.name,
             .tableKey = object.nameKey};
  if (index.realIndex >= table.realIndexes.size()) return side;  // a finding of its own
  const SCheckedRealIndex& real = table.realIndexes[index.realIndex];
  for (const SCheckedIndexPart& part : real.parts)
    if (part.column != nullptr) side.parts.push_back(MakePart(part));  // else told before
  side.root = real.root;
  side.isUnique = real.Has(kIndexUnique);
  side.isProven = real.isProven;
  return side;
}

CRelationCheck::SPart CRelationCheck::MakePart(const SCheckedIndexPart& part) {
  const SCheckedColumn& column = *part.column;
  SPart made{column.nameKey, column.number, column.type != kTypeBoolean};
  made.form = {static_cast<uint16_t>(part.ascending ? column.type : column.type | kDescendingForm)};
  if (column.type == kTypeText || column.type == kTypeMemo)
    made.form = {made.form[0], column.order.language, column.order.version, column.codePage};
  else if (column.type == kTypeDecimal)
    made.form[1] = column.order.language;  // in its place are precision and scale
  return made;
}

void CRelationCheck::AddLinkedTable(const SCheckedObject& object) {
  if (const auto found = m_byTable.find(object.nameKey); found != m_byTable.end())
    for (const size_t i : found->second) m_pairs[i].hasColumn = true;
  if (const auto found = m_byReferencedTable.find(object.nameKey); found != m_byReferencedTable.end())
    for (const size_t i : found->second) m_pairs[i].hasReferencedColumn = true;
}

void CRelationCheck::Finish(const CCatalogueCheck& catalogue) {
  if (!m_isComplete || !catalogue.IsComplete()) return;
  std::set<std::string> objects;
  for (const SCheckedObject& object : catalogue.GetObjects()) {
    if (object.type != kObjectRelationship) continue;
    objects.insert(object.nameKey);
    if (m_relations.count(object.nameKey) == 0)
      m_context.findings.Error("G1", object.place, u"relationship ", object.name, u" has no rows");
  }
  for (const auto& [key, pairs] : m_relations) {
    if (objects.count(key) == 0)
      m_context.findings.Error("G1", m_pairs[pairs[0]].place, u"relationship ", m_pairs[pairs[0]].name,
                               u" is not in the catalogue");
    CheckPairs(pairs);
  }
  for (const auto& [key, side] : m_sides) CheckSide(side);
}

void CRelationCheck::CheckPairs(const std::vector<size_t>& pairs) {
  CFindings& findings = m_context.findings;
  const SPair& first = m_pairs[pairs[0]];
  std::set<uint32_t> positions;
  for (const size_t i : pairs) {
    const SPair& pair = m_pairs[i];
    if (pair.count != pairs.size() || pair.position >= pairs.size() ||
        !positions.insert(pair.position).second)
      findings.Error("G2", pair.place, u"relationship ", pair.name, u" has ", pairs.size(),
                     u" rows; this is row ", pair.position, u" of ", pair.count);
    if (pair.table != first.table || pair.referencedTable != first.referencedTable ||
        pair.flags != first.flags)
      findings.Error("G2", pair.place, u"the rows of relationship ", pair.name,
                     u" differ in their tables or flags");
    if (!pair.hasColumn || !pair.hasReferencedColumn)
      findings.Error("G4", pair.place, u"a table or column of relationship ", pair.name, u" does not exist");
  }
  if ((first.flags & kRelationDontEnforce) == 0) CheckEnforced(pairs);
}

// An enforced relationship has an index of its name in the foreign table.
void CRelationCheck::CheckEnforced(const std::vector<size_t>& pairs) {
  const SPair& pair = m_pairs[pairs[0]];
  const auto sides = m_foreignSides.find(pair.relation);
  if (sides == m_foreignSides.end()) {
    m_context.findings.Error("G3", pair.place, u"no index enforces relationship ", pair.name);
    return;
  }
  for (const auto& key : sides->second) {
    const SSide& side = m_sides[key];
    const bool cascadesUpdates = (pair.flags & kRelationUpdateCascade) != 0,
               cascadesDeletes = (pair.flags & kRelationDeleteCascade) != 0;
    if ((side.cascadeUpdates & 1) != cascadesUpdates || (side.cascadeDeletes & 1) != cascadesDeletes)
      m_context.findings.Error("G5", {side.page}, u"index ", side.name,
                               u" cascades otherwise than its relationship");
    CheckColumns(pairs, side);
  }
}

// The indexes lie in the tables of the rows, on their columns pair by pair, and what is referred to is
// unique.
void CRelationCheck::CheckColumns(const std::vector<size_t>& pairs, const SSide& foreign) {
  const auto found = m_sides.find({foreign.partnerPage, foreign.partnerNumber});
  if (found == m_sides.end()) return;  // told as a side without a counterpart
  const SSide& primary = found->second;
  std::set<std::pair<std::string_view, std::string_view>> wanted, indexed;
  for (const size_t i : pairs) wanted.insert({m_pairs[i].column, m_pairs[i].referencedColumn});
  for (size_t i = 0; i < std::min(foreign.parts.size(), primary.parts.size()); i++)
    indexed.insert({foreign.parts[i].nameKey, primary.parts[i].nameKey});
  const SPair& pair = m_pairs[pairs[0]];
  const bool isOnColumns = foreign.tableKey == pair.table && primary.tableKey == pair.referencedTable &&
                           wanted == indexed && foreign.parts.size() == primary.parts.size();
  if (!isOnColumns)
    m_context.findings.Error("G6", {foreign.page}, u"the indexes of relationship ", pair.name,
                             u" are not on its columns");
  if (!primary.isUnique)
    m_context.findings.Error("G6", {primary.page}, u"what relationship ", pair.name,
                             u" refers to is not unique: index ", primary.name);
  if (isOnColumns) CheckReferences(pair, foreign, primary);
}

// Indexes that break a rule prove nothing about their rows.
void CRelationCheck::CheckReferences(const SPair& pair, const SSide& foreign, const SSide& primary) {
  if (!foreign.isProven || !primary.isProven || m_context.IsStopped()) return;
  const bool isComparable = std::ranges::equal(foreign.parts, primary.parts, {}, &SPart::form, &SPart::form);
  if (!isComparable)
    m_context.findings.Note(u"The keys of relationship ", pair.name,
                            u" differ in type, direction or sort order: its rows were not compared.");
  else if (++m_walks[foreign.root] > kMaxIndexes)
    m_context.findings.Note(u"Relationships beyond the first ", kMaxIndexes,
                            u" over one index were not compared with their rows.");
  else
    CompareRows(pair, foreign, primary);
}

void CRelationCheck::CompareRows(const SPair& pair, const SSide& foreign, const SSide& primary) {
  CCheckedFile& file = m_context.file;
  const auto readPage = [&file](uint32_t page, std::span<uint8_t> bytes) { return file.Read(page, bytes); };
  CIndexCursor foreignKeys(file.GetLayout(), file.GetPageCount(), foreign.root, readPage),
      primaryKeys(file.GetLayout(), file.GetPageCount(), primary.root, readPage);
  CRowReader rows(file);
  m_context.findings.EnterTable(foreign.table);
  bool hasNull = false;
  const EIndexWalk result = FindUnmatched(foreignKeys, primaryKeys, [&](uint32_t pointer, bool isNewKey) {
    const SPlace place{PageOfPointer(pointer), RowOfPointer(pointer)};
    std::span<const uint8_t> row;
    if (isNewKey)  // a key that is null in part refers to nothing
      hasNull = !rows.Read(place.page, place.row, foreign.page, row) ||
                std::ranges::any_of(foreign.parts, [&](const SPart& part) {
                  return part.mayBeNull && !CRowView::HasValue(file.GetLayout(), row, part.number);
                });
    if (!hasNull)
      m_context.findings.Error("G7", place, u"the row refers to no row of table ", primary.table,
                               u" (relationship ", pair.name, u")");
    return !m_context.IsStopped();
  });
  m_context.findings.EnterTable({});
  if (result != EIndexWalk::Ok)
    m_context.findings.Note(u"The rows of relationship ", pair.name, u" could not be compared.");
}

// The two sides name each other and agree.
void CRelationCheck::CheckSide(const SSide& side) {
  const auto found = m_sides.find({side.partnerPage, side.partnerNumber});
  const bool isPaired = found != m_sides.end() && found->second.partnerPage == side.page &&
                        found->second.partnerNumber == side.number &&
                        side.side + found->second.side == kPrimarySide + kForeignSide && side.side != 0 &&
                        found->second.side != 0;
  if (!isPaired)
    m_context.findings.Error("G3", {side.page}, u"index ", side.name, u" has no counterpart at page ",
                             side.partnerPage);
  else if (found->second.cascadeUpdates != side.cascadeUpdates ||
           found->second.cascadeDeletes != side.cascadeDeletes)
    m_context.findings.Error("G5", {side.page}, u"index ", side.name,
                             u" cascades otherwise than its counterpart");
  if (side.side == kForeignSide && m_relations.count(side.nameKey) == 0)
    m_context.findings.Error("G3", {side.page}, u"index ", side.name, u" belongs to no relationship");
}

}  // namespace tolvane
