// What a repair and a save found, judged for the user: which tables, how complete, which words for which
// damage. Every front end draws from here.
#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

#include "model/AccessData.h"
#include "platform/Text.h"
#include "writer/SafeName.h"
#include "writer/SavedTable.h"

namespace tolvane {

// A table that can be saved and shown.
bool HasContent(const CAccessTable& table);

// "Access 2000-2003 (Jet 4)", in ASCII.
std::string FormatName(const SSourceFacts& facts);

// One kind of damage in words, in ASCII.
struct SDamageWords {
  EDamage kind;
  const char* name;      // for programs
  const char* singular;  // "row was rejected ..."
  const char* plural;
};
const std::vector<SDamageWords>& GetDamageWords();

struct SColumnPlace {
  const CAccessTable* table;
  const CAccessColumn* column;
};
// Columns with rows whose values could not be read because nobody knows their type.
std::vector<SColumnPlace> FindUnknownColumns(const CAccessData& data);

// The table and the column of a place; null where it names none.
const CAccessTable* FindTable(const CAccessData& data, const CDamageLedger::SPlace& place);
const CAccessColumn* FindColumn(const CAccessTable* table, const CDamageLedger::SPlace& place);

// What a table's rows lack, by the ledger.
struct STableRows {
  uint64_t lost = 0;      // promised and not found, or found and not true
  uint64_t doubtful = 0;  // found, but more than were promised or with values that are cut or gone
};
// By definition offset; tables without such rows are left out.
std::unordered_map<uint64_t, STableRows> CountTableRows(const CDamageLedger& ledger);

// The name of a table whose definition is gone; empty for other places, and where the rules do not tell it.
std::u16string_view NameOfLost(const CAccessData& data, EDamage kind, const CDamageLedger::SPlace& place);

// True when nothing was lost and nothing is doubtful on reading.
bool IsRecoveryWhole(const CAccessData& data);
// No table worth anything was found.
bool IsNothingRecovered(const CAccessData& data);
bool HasSaveLosses(const SSaveSummary& summary);

// So many of what, and where; no places when nothing is known about them. Recovered names in the texts may
// hold any unit.
struct SLossLine {
  uint64_t count = 0;
  std::u16string words;
  std::u16string places;
};
// What was lost or is doubtful on reading, with up to `placesShown` places of each kind.
std::vector<SLossLine> ListDamage(const CAccessData& data, size_t placesShown,
                                  NumberText number = ToDecimal<uint64_t>);
// Every place of damage that the run's rules tell, as a line of its own.
void ForEachDamage(const CAccessData& data, const std::function<void(const std::u16string&)>& tell);
// For programs: "form", "linkedTable".
const char* NameOf(EOtherObject kind);
// What the catalogue lists and no repair brings back, with up to `namesShown` names of each kind; nothing
// where the run's rules do not tell it.
std::vector<SLossLine> ListOmittedObjects(const CAccessData& data, size_t namesShown);
// What could not be saved as it was recovered.
std::vector<SLossLine> ListSaveLosses(const SSaveSummary& summary);

}  // namespace tolvane
