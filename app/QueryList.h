// The saved queries of a recovered database for people: names, kinds and SQL texts, with those of which only
// the name is left.
#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "format/SavedQuery.h"
#include "model/AccessData.h"

namespace tolvane {

// One query of the list.
struct SListedQuery {
  std::u16string name;  // empty when it is lost
  std::string_view kind;
  std::u16string sql = {};     // empty when there is none,
  std::u16string reason = {};  // and why; of a text, why it is no statement
  bool isWhole = false;
  bool isKindLost = false;
  bool isHidden = false;  // of a form or report
  std::vector<SQueryRow> rows = {};
};

// In the order of their rows. False when the recovered rows cannot be read.
bool ListQueries(const CAccessData& data, std::vector<SListedQuery>& list);

}  // namespace tolvane
