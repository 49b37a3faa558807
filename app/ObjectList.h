// Everything that a database holds, by what became of it.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "model/AccessData.h"

namespace tolvane {

enum class EObjectState : uint8_t {
  Recovered,
  Damaged,     // there, but not all of it
  Lost,        // only its name is left
  NotCarried,  // of a kind that no repair brings over
};
// For programs: "recovered", "notCarried".
const char* NameOf(EObjectState state);
// For people.
const char* WordsOf(EObjectState state);

struct SListedObject {
  std::string_view kind;  // "table", "query", "relationship", "form", ..., as programs know them
  std::u16string name;    // empty where it is lost
  EObjectState state = EObjectState::Recovered;
  std::u16string reason = {};  // what is wrong, or what is there
  bool isSystem = false;       // the database engine's own, or hidden behind a form or report
};

// Tables, links, queries, relationships, then all others, each kind in the order in which it was found. False
// when recovered rows cannot be read back: what they tell is not in the list.
bool ListObjects(const CAccessData& data, std::vector<SListedObject>& objects);

}  // namespace tolvane
