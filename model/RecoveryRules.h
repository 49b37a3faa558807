// The rules by which damaged files are read and recovered values are stored, where more than one reading is
// possible. One rule, one name: whoever follows a rule asks here, and nothing else in the code knows which
// set is in force.
//
// The exact set follows what healthy files hold, and is the default. The standard set is the product's
// documented conventions; docs/standard-rules.md tells users what they cost.
//
// A run chooses one set at its door (ERules) and carries it in its result, CAccessData::GetRules.
#pragma once

#include <cstdint>

namespace tolvane {

enum class ERules : uint8_t { Standard, Exact };
inline constexpr ERules kDefaultRules = ERules::Exact;

// As many digits as tell the value from its neighbours.
inline constexpr uint32_t kShortestDigits = 0xFFFFFFFF;

struct SRecoveryRules {
  // --- pages ---

  // Format, start and places of the pages follow from all pages together, not from the header alone, and what
  // a page is from all of it, not from its first byte alone.
  bool pagesDecideFormat;
  // A page of rows whose owner cannot be told from its head goes to the table whose maps or indexes name it.
  bool adoptOrphanPages;
  // Rows go to the template's table of the same name where both files name their tables and the pages differ.
  bool templateMatchesByName;
  // A page that cannot be read leaves the previous page's bytes in the buffer and is taken for that page.
  bool unreadablePageKeepsPrevious;
  // A freed data page that still names its old owner is credited to it.
  bool creditFreedPages;
  // A data page counts only while its owner's page still starts like a definition (the catalogue's excepted).
  bool requireOwnerDefinition;
  // To start a table a Jet 4 definition page must carry the constant 0x659 at offset 12, a Jet 3 one the type
  // of a table; pages that continue a definition carry neither.
  bool requireDefinitionMark;

  // --- definitions ---

  // A definition with a damaged head, counts, names or links is put together from what is left of it, and its
  // columns' names from the properties of its table.
  bool mendDefinitions;

  // A table of Access' own whose name is lost is known by its columns.
  bool columnsNameSystemTables;
  // A table or query that lost its row of the catalogue has the name that another place tells.
  bool otherPlacesTellNames;
  // The catalogue's definition is never taken from the file.
  bool useBuiltInCatalogue;
  // Those of the other tables that every database has are taken from it unless they are damaged.
  bool useBuiltInSystemTables;
  // Jet 4: only the low byte of the column number counts.
  bool columnNumberLowByteOnly;
  // Offset of the flags byte in a Jet 4 real-index entry (the file format puts it at 46).
  uint32_t indexFlagsOffsetJet4;
  // Ignore-nulls and required are set only when the flags byte equals exactly their value.
  bool indexFlagsExactMatch;
  // Offset, in a logical-index entry, of the number that tells which real index it marks as primary key.
  // Jet 4: 4 is the entry's own number, 8 the real index; Jet 3: 0 and 4.
  uint32_t logicalIndexNumberOffsetJet4;
  uint32_t logicalIndexNumberOffsetJet3;
  // As many logical-index entries are read as there are real indexes.
  bool logicalCountIsRealCount;
  // Jet 3 names are copied unchanged, byte by byte, into a UTF-16 buffer that keeps the previous name's tail.
  bool rawJet3Names;

  // --- rows ---

  // Mask of a row offset entry that gives the row's start (the file format needs 0x1FFF).
  uint16_t rowStartMask;
  // A row offset entry with bit 0x8000 is never a row of its own.
  bool skipHiddenRows;
  // A row whose frame disagrees with its table's definition is no row, and where the slots of a page cannot
  // be true its rows are found by their frames.
  bool rowsMatchDefinition;
  // More rows than a definition promises are as doubtful as fewer.
  bool surplusRowsAreDoubtful;
  // The target of an overflow pointer is taken without a look at its own flags or its page's owner.
  bool trustOverflowTarget;
  // Rows with this many stored columns or more are rejected.
  uint32_t maximumStoredColumns;

  // --- values ---

  // Decimal: only the last eight bytes count, as a two's complement number; its sign byte is ignored.
  bool decimalLowWordsOnly;
  // Digits after the point of single and double values, or kShortestDigits.
  uint32_t floatDecimals;
  // A date at midnight keeps the blank that stood before its time.
  bool midnightKeepsBlank;
  // Data files hold the texts of values, and an OLE object is a file of its own; otherwise the values
  // themselves, and a table's objects stand in one file.
  bool recordsHoldTexts;

  // --- names ---

  // The tables that are not the user's are told by their names alone; otherwise by the catalogue's flags.
  bool systemTablesByName;

  // The values of complex columns are data of these columns, shown and saved with their records; otherwise
  // the hidden tables that hold them are tables like others.
  bool complexValuesAreData;

  // --- saving ---

  // Fields have a type, a size and little else; binary columns become long binary, decimal ones double, and
  // those of types that Access 2000 did not have texts.
  bool reduceFields;

  // Byte values outside -128..127 are dropped.
  bool dropBytesAbove127;
  // A row whose values are all empty is not stored.
  bool dropEmptyRows;
  // A saved query is what its rebuilt SQL text says, and not its rows; those of forms and reports are left
  // out.
  bool queriesAreTheirText;
  // A relationship whose deletes set references to null counts as one whose properties are lost.
  bool nullCascadeIsUnknown;
  // A source of the newest format family stays one; else it is written in the one before, as Jet 4.
  bool keepAceFormat;
  // Links to tables elsewhere stay links; otherwise those to a server become tables without rows.
  bool keepLinks;
  // The database's own properties and its sort order are kept.
  bool keepDatabaseSettings;

  // --- reporting ---

  // Of each kind of damage, the places that a result for programs and a log list.
  uint32_t damagePlacesTold;
  // A place of damage says what is wrong there, and the name of a table that only the catalogue knows.
  bool tellReasons;
  // Objects that a repair never brings back (forms, reports, macros, modules, links) are named and count as
  // lost.
  bool tellOmittedObjects;
  // What is saved under another name or in another form than it had counts as a loss, too.
  bool changesAreLosses;
  // A damaged file of which no table of the user's came back counts as nothing, whatever else came back.
  bool userTablesDecide;

  bool operator==(const SRecoveryRules&) const = default;
};

inline constexpr SRecoveryRules kStandardRules{
    .pagesDecideFormat = false,
    .adoptOrphanPages = false,
    .templateMatchesByName = false,
    .unreadablePageKeepsPrevious = true,
    .creditFreedPages = true,
    .requireOwnerDefinition = true,
    .requireDefinitionMark = false,
    .mendDefinitions = false,
    .columnsNameSystemTables = false,
    .otherPlacesTellNames = false,
    .useBuiltInCatalogue = true,
    .useBuiltInSystemTables = false,
    .columnNumberLowByteOnly = true,
    .indexFlagsOffsetJet4 = 42,
    .indexFlagsExactMatch = true,
    .logicalIndexNumberOffsetJet4 = 4,
    .logicalIndexNumberOffsetJet3 = 4,
    .logicalCountIsRealCount = true,
    .rawJet3Names = true,
    .rowStartMask = 0x0FFF,
    .skipHiddenRows = true,
    .rowsMatchDefinition = false,
    .surplusRowsAreDoubtful = false,
    .trustOverflowTarget = true,
    .maximumStoredColumns = 256,
    .decimalLowWordsOnly = true,
    .floatDecimals = 5,
    .midnightKeepsBlank = true,
    .recordsHoldTexts = true,
    .systemTablesByName = true,
    .complexValuesAreData = false,
    .reduceFields = true,
    .dropBytesAbove127 = true,
    .dropEmptyRows = true,
    .queriesAreTheirText = true,
    .nullCascadeIsUnknown = true,
    .keepAceFormat = false,
    .keepLinks = false,
    .keepDatabaseSettings = false,
    .damagePlacesTold = 20,
    .tellReasons = false,
    .tellOmittedObjects = false,
    .changesAreLosses = false,
    .userTablesDecide = false,
};

inline constexpr SRecoveryRules kExactRules{
    .pagesDecideFormat = true,
    .adoptOrphanPages = true,
    .templateMatchesByName = true,
    .unreadablePageKeepsPrevious = false,
    .creditFreedPages = false,
    .requireOwnerDefinition = false,
    .requireDefinitionMark = true,
    .mendDefinitions = true,
    .columnsNameSystemTables = true,
    .otherPlacesTellNames = true,
    .useBuiltInCatalogue = true,  // it is the same in every file, and page 2 may be gone
    .useBuiltInSystemTables = true,
    .columnNumberLowByteOnly = false,
    .indexFlagsOffsetJet4 = 46,
    .indexFlagsExactMatch = false,
    .logicalIndexNumberOffsetJet4 = 8,
    .logicalIndexNumberOffsetJet3 = 4,
    .logicalCountIsRealCount = false,
    .rawJet3Names = false,
    .rowStartMask = 0x1FFF,
    .skipHiddenRows = false,
    .rowsMatchDefinition = true,
    .surplusRowsAreDoubtful = true,
    .trustOverflowTarget = false,
    .maximumStoredColumns = 0x10000,
    .decimalLowWordsOnly = false,
    .floatDecimals = kShortestDigits,
    .midnightKeepsBlank = false,
    .recordsHoldTexts = false,
    .systemTablesByName = false,
    .complexValuesAreData = true,
    .reduceFields = false,
    .dropBytesAbove127 = false,
    .dropEmptyRows = false,
    .queriesAreTheirText = false,
    .nullCascadeIsUnknown = false,
    .keepAceFormat = true,
    .keepLinks = true,
    .keepDatabaseSettings = true,
    .damagePlacesTold = 0xFFFFFFFF,
    .tellReasons = true,
    .tellOmittedObjects = true,
    .changesAreLosses = true,
    .userTablesDecide = true,
};

constexpr const SRecoveryRules& RulesOf(ERules rules) {
  return rules == ERules::Exact ? kExactRules : kStandardRules;
}

}  // namespace tolvane
