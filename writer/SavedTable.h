// What the steps of a save share: one recovered table on its way into the new database, and the sums.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

#include "dao/dao.h"
#include "model/AccessTable.h"
#include "status/JobContext.h"
#include "writer/ComplexPlan.h"

namespace tolvane {

// What could not be saved of one table, for the log and the summary.
struct SSaveLoss {
  std::u16string table;
  uint64_t records = 0;   // records that could not be stored
  uint64_t fields = 0;    // single values that could not be stored in a stored record
  std::u16string reason;  // the first one
};

struct SSaveSummary {
  uint64_t tablesSaved = 0;
  uint64_t recordsSaved = 0;
  uint64_t fieldsDropped = 0;  // values that the standard rules drop by design (byte and integer ranges)
  uint64_t valuesSaved = 0;    // of complex fields, which are no records of a table that anyone sees
  uint64_t emptyRowsDropped = 0;
  uint64_t recordsMoved = 0;  // of the saved ones: to another table, since the engine refused them in theirs
  uint64_t charactersReplaced = 0;  // of texts, where the new database's code page does not hold them
  uint64_t columnsLost = 0;         // columns for which no field could be created
  // Saved, but not as they were: of another type or name, or without something that they had; the notes say
  // what. Counted where the rules call that a loss.
  uint64_t tablesChanged = 0;
  uint64_t columnsChanged = 0;
  uint64_t relationsChanged = 0;
  uint64_t settingsChanged = 0;  // of the database as a whole: sort order, password
  uint64_t propertiesLost = 0;
  uint64_t linksSaved = 0;
  uint64_t linksLost = 0;
  uint64_t indexesLost = 0;      // indexes that could not be created
  uint64_t indexesWeakened = 0;  // no longer unique, required or there; the notes say why
  uint64_t queriesSaved = 0;
  uint64_t queriesLost = 0;     // saved queries that the new database refused
  uint64_t queriesChanged = 0;  // of the saved ones: not what they were; the notes say why
  uint64_t queriesSkipped = 0;  // saved queries of a kind for which no SQL text can be rebuilt
  uint64_t relationsSaved = 0;
  uint64_t relationsWeakened = 0;  // of the saved ones: no longer enforced, because the rows do not allow it
  uint64_t relationsLost = 0;      // relationships that are not whole or lack a table or column
  // Rows of queries and relationships that were recovered and could not be read back.
  uint64_t systemRowsLost = 0;
  std::vector<SSaveLoss> losses;
  std::vector<std::u16string> notes;  // what was saved in another form than recovered; in the log, too
  std::vector<CDaoEngineError> engineErrors;  // what an installed engine answered; in the log, too
  std::u16string failure;                     // why the save as a whole ended early; empty when it did not
};

struct SFieldType {
  int16_t type = 0;           // EDaoType
  uint8_t scale = 0;          // of a decimal
  bool isCalculated = false;  // each of its decimals has a scale of its own
};

// Which rows of its recovered table a saved one holds.
enum class ERows : uint8_t {
  All,
  Attached,  // values of a complex column that go into the field of another saved table
  Loose,     // those of them that fit no record there
};

struct SSavedTable {
  static constexpr size_t kNoField = ~size_t{0};
  static constexpr size_t kSkippedField = kNoField - 1;  // the new database has numbers of its own

  const CAccessTable* table = nullptr;
  bool isCreated = false;
  std::u16string wantedName;               // what the new database is to call it
  std::u16string name;                     // what it does
  std::vector<size_t> fields;              // by column: its field, or kNoField
  std::vector<SFieldType> fieldTypes;      // by column: what its values become
  std::vector<std::u16string> fieldNames;  // by column; empty where there is no field
  std::vector<SComplexField> complex;      // what becomes of its complex columns
  std::vector<size_t> textFields;  // by entry of `complex`: the field of its joined values, or kNoField
  // A table of values: of which saved table, by number, and which of its complex columns.
  size_t owner = kNoField;
  size_t ownersColumn = 0;
  ERows rows = ERows::All;
  bool hasSystemMark = false;               // it is seen among the system tables only
  std::vector<std::u16string> columnNames;  // by column, where they are not the column's own; or empty
  SSaveLoss loss;
};

enum class ESaveStep : uint8_t {
  Done,
  Stopped,  // CSavingStatus was cleared
  Failed,   // nothing more can be stored; SSaveSummary::failure tells why
};

// "Error 3022 of Update, 2 times: ..."
std::u16string DescribeEngineError(const CDaoEngineError& error);

// The save ends with that.
ESaveStep FailSave(SSaveSummary& summary, const CDaoResult& result);

// Under another name it may be created.
bool NeedsOtherName(EDaoError code);

// Tells the user, in the summary and in the log.
void Remark(SSaveSummary& summary, CJobContext& job, std::u16string text);

// Counts a loss; the first reason of a table stays.
void LoseRecords(SSavedTable& saved, uint64_t count, const std::u16string& reason);
void LoseField(SSavedTable& saved, const std::u16string& reason);

}  // namespace tolvane
