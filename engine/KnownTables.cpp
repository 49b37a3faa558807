#include "engine/KnownTables.h"

#include <algorithm>
#include <string>
#include <vector>

#include "format/Layout.h"
#include "format/SystemObjects.h"
#include "model/FlatTable.h"

namespace tolvane {

namespace {

// What the columns of a table must be besides their names, where those could be a user's.
enum class EForm : uint8_t {
  Any,
  NoneFixed,       // Access stores even numbers of variable length there
  HasFixedBinary,  // pieces of a stream, all of one size
};

// No value of a table that a user made is longer.
constexpr uint16_t kMostFixedBytes = 510;

struct SKnownTable {
  std::u16string_view name;
  std::u16string_view columns;  // in the order of their letters, each with a bar behind it
  EForm form = EForm::Any;
};

constexpr SKnownTable kKnownTables[] = {
    {u"MSysObjects",
     u"Connect|Database|DateCreate|DateUpdate|Flags|ForeignName|Id|Lv|LvExtra|LvModule|LvProp|Name|Owner|"
     u"ParentId|RmtInfoLong|RmtInfoShort|Type|"},
    {u"MSysACEs", u"ACM|FInheritable|ObjectId|SID|"},
    {u"MSysAccessObjects", u"Data|ID|", EForm::HasFixedBinary},
    {u"MSysAccessStorage", u"DateCreate|DateUpdate|Id|Lv|Name|ParentId|Type|"},
    {u"MSysAccessXML", u"Id|LValue|ObjectGuid|ObjectName|Property|Value|"},
    {u"MSysCompactError", u"ErrorCode|ErrorDescription|ErrorRecid|ErrorTable|"},
    {u"MSysComplexColumns", u"ColumnName|ComplexID|ComplexTypeObjectID|ConceptualTableID|FlatTableID|"},
    {u"MSysComplexType_Attachment", u"FileData|FileFlags|FileName|FileTimeStamp|FileType|FileURL|"},
    {u"MSysIMEXColumns", u"Attributes|DataType|FieldName|IndexType|SkipColumn|SpecID|Start|Width|"},
    {u"MSysIMEXSpecs",
     u"DateDelim|DateFourDigitYear|DateLeadingZeros|DateOrder|DecimalPoint|FieldSeparator|FileType|SpecID|"
     u"SpecName|SpecType|StartRow|TextDelim|TimeDelim|"},
    {u"MSysModules", u"__A__|"},
    {u"MSysModules2", u"Flags|Form|Module|Name|ReplicationVersion|Type|TypeInfo|Version|"},
    {u"MSysNameMap", u"GUID|Id|Name|NameMap|Type|"},
    {u"MSysNavPaneGroupCategories", u"Filter|Flags|Id|Name|Position|SelectedObjectID|Type|"},
    {u"MSysNavPaneGroupToObjects", u"Flags|GroupID|Icon|Id|Name|ObjectID|Position|"},
    {u"MSysNavPaneGroups", u"Flags|GroupCategoryID|Id|Name|Object Type Group|ObjectID|Position|"},
    {u"MSysNavPaneObjectIDs", u"Id|Name|Type|", EForm::NoneFixed},
    {u"MSysQueries", u"Attribute|Expression|Flag|LvExtra|Name1|Name2|ObjectId|Order|"},
    {u"MSysQueries", u"Attribute|Expression|Flag|Name1|Name2|ObjectId|Order|"},
    {u"MSysRelationships",
     u"ccolumn|grbit|icolumn|szColumn|szObject|szReferencedColumn|szReferencedObject|szRelationship|"},
    {u"MSysResources", u"Data|Extension|Id|Name|Type|"},
    // The files that belong to the rows of MSysResources.
    {u"MSysResources_Data",
     u"FileData|FileFlags|FileName|FileTimeStamp|FileType|FileURL|MSysResources_Data|_Data|"},
    {u"MSysWSDPCacheComplexColumnMapping", u"ChildTableName|ComplexColumn|ComplexSrcColumn|TableName|"},
    {u"MSysWSDPChangeTokenMapping",
     u"Connect|ErrorLoading|LastChangeToken|Pending|References|TableName|XASSite|"},
    {u"MSysWSDPRelationshipMapping",
     u"ChildColName|ChildTableName|LookupType|ParentColName|ParentTableName|"},
};

bool HasForm(const CAccessTable& table, EForm form) {
  const auto begin = table.columns.begin();
  const auto end = table.columns.end();
  switch (form) {
    case EForm::NoneFixed:
      return std::none_of(begin, end, [](const CAccessColumn& column) { return column.IsFixed(); });
    case EForm::HasFixedBinary:
      return std::any_of(begin, end, [](const CAccessColumn& column) {
        return column.IsFixed() && (column.type == kTypeBinary || column.length > kMostFixedBytes);
      });
    case EForm::Any:
      break;
  }
  return true;
}

// Where every ACE file has the empty tables that show what multi-values of each type look like.
bool IsOnPatternPage(const CAccessTable& table) {
  const uint32_t page = table.GetPage(kLayoutJet4.pageSize);
  return page >= kComplexOfBytes && page <= kComplexOfTexts && page % 2 == kComplexOfBytes % 2 &&
         table.header.rowCount == 0 && table.indexes.GetCount() == 0;
}

// Columns of a damaged definition are recognised where at least so many have their names, and half of all
// these or damaged forms of them.
constexpr size_t kLeastNames = 2;
// Fewer columns than so many could be a user's.
constexpr size_t kFewColumns = 4;

std::vector<std::u16string_view> SplitNames(std::u16string_view columns) {
  std::vector<std::u16string_view> names;
  for (size_t bar = columns.find(u'|'); bar != columns.npos; bar = columns.find(u'|')) {
    names.push_back(columns.substr(0, bar));
    columns.remove_prefix(bar + 1);
  }
  return names;
}

// Bytes of a name that were overwritten leave its length and most of its letters.
bool IsDamagedForm(std::u16string_view name, std::u16string_view known) {
  if (name.size() != known.size()) return false;
  size_t wrong = 0;
  for (size_t i = 0; i < name.size(); i++) wrong += name[i] != known[i] ? 1 : 0;
  return wrong <= std::max<size_t>(1, known.size() / 4);
}

// How many columns bear a known table's names where the others bear damaged ones; 0: it is another table.
size_t CountKnownNames(std::vector<std::u16string_view> names, const SKnownTable& known, bool mayBeLost) {
  std::vector<std::u16string_view> missing = SplitNames(known.columns);
  const size_t count = missing.size();
  if (names.size() != count || (count < kFewColumns && known.form == EForm::Any)) return 0;
  std::erase_if(missing, [&names](std::u16string_view name) {
    const auto found = std::ranges::find(names, name);
    if (found == names.end()) return false;
    names.erase(found);
    return true;
  });
  const size_t sound = count - missing.size();
  size_t lost = 0;
  for (const std::u16string_view name : missing) {
    auto found =
        std::ranges::find_if(names, [name](std::u16string_view other) { return IsDamagedForm(other, name); });
    if (found != names.end())
      names.erase(found);
    else if (!mayBeLost)
      return 0;
    else
      lost++;
  }
  return sound >= kLeastNames && lost * 2 <= count ? sound : 0;
}

}  // namespace

std::u16string_view NameByColumns(const CAccessTable& table) {
  std::vector<std::u16string_view> names;
  for (const CAccessColumn& column : table.columns) names.push_back(column.GetName());
  std::ranges::sort(names);
  std::u16string columns;
  for (const std::u16string_view name : names) (columns += name) += u'|';
  for (const SKnownTable& known : kKnownTables)
    if (columns == known.columns && HasForm(table, known.form)) return known.name;
  if (IsVersionPattern(table)) return u"MSysComplexTypeVH_";
  if (columns == u"Value|" && IsOnPatternPage(table)) return u"MSysComplexType_";
  std::u16string_view best;
  size_t most = 0;
  for (const SKnownTable& known : kKnownTables) {
    const size_t sound = HasForm(table, known.form) ? CountKnownNames(names, known, table.hasMendedNames) : 0;
    if (sound > most) best = known.name;
    most = std::max(most, sound);
  }
  return best;
}

}  // namespace tolvane
