// What a repair found, judged for the user: which tables, how complete, which words for which damage.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "cli/ExitStatus.h"
#include "model/AccessData.h"
#include "writer/SavedTable.h"

namespace tolvane {

// Tables of the database engine itself; they are never saved.
bool IsSystemTable(const CAccessTable& table);
// A table that can be saved and shown.
bool HasContent(const CAccessTable& table);
// "Text", "Long Integer", ...; "Type 21" for what has no name.
std::string TypeName(const CAccessColumn& column);
// "Access 2000-2003 (Jet 4)"
std::string FormatName(const SSourceFacts& facts);

// The table that the user means: its name, with or without regard to case, or "page:NUMBER" of its
// definition. Null when there is none.
const CAccessTable* FindTable(const CAccessData& data, std::u16string_view wanted);

// One kind of damage in words.
struct SDamageWords {
  EDamage kind;
  const char* name;      // for programs
  const char* singular;  // "row was rejected ..."
  const char* plural;
};
const std::vector<SDamageWords>& GetDamageWords();
std::string FormatPlace(const CAccessData& data, EDamage kind, const CDamageLedger::SPlace& place);

struct SColumnPlace {
  const CAccessTable* table;
  const CAccessColumn* column;
};
// Columns with rows whose values could not be read because nobody knows their type.
std::vector<SColumnPlace> FindUnknownColumns(const CAccessData& data);

// True when nothing was lost and nothing is doubtful on reading.
bool IsRecoveryWhole(const CAccessData& data);
// No table worth anything was found.
bool IsNothingRecovered(const CAccessData& data);
bool HasSaveLosses(const SSaveSummary& summary);
// `saved` is null when nothing was to be saved.
EExitStatus DecideStatus(const CAccessData& data, const SSaveSummary* saved);

}  // namespace tolvane
