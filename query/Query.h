// The catalogue of saved queries: rows grouped into queries, matched to their names and types, handed to the
// builder of their type. Not thread-safe.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "query/QueryAttributes.h"
#include "query/QuerySysObject.h"
#include "query/TList.h"

namespace tolvane {

class CQuery : public CTListLink<CQuery> {
 public:
  virtual ~CQuery() = default;

  std::u16string name;              // empty when no object matched
  std::u16string type;              // empty when no object matched: then a select query
  std::vector<uint8_t> properties;  // of its object, as Jet 4 keeps them; may be empty
  bool arePropertiesLost = false;   // all or some of them
  bool isNameRestored = false;      // its object is lost, and another place told its name
  CTList<CQueryAttributes> rows;

  // The SQL text; empty when no builder exists for the type or nothing could be built.
  std::u16string GetSql();
  // The rows as numbers and texts, in the order in which they were added.
  [[nodiscard]] std::vector<SQueryRow> GetRows() const;
  // False when the row that opens or the row that closes every definition is lost; others may be lost, too.
  [[nodiscard]] bool IsWhole() const;

 private:
  std::u16string m_sql;
};

class CQueryEngine {
 public:
  virtual ~CQueryEngine() = default;
  // Moves every row to the query of its ObjectId; queries stand in the order of their first row. Always 1.
  int GroupRows(CTList<CQuery>& queries, CTList<CQueryAttributes>& rows);
  // Gives each query the name and type of its object; of two objects with one id the later wins.
  void MatchObjects(CTList<CQuery>& queries, const CTList<CQuerySysObject>& objects);
};

}  // namespace tolvane
