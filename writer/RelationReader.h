// The relationships of the damaged database, put together from its recovered MSysRelationships rows and,
// where these are lost, from the definitions of its tables.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "model/AccessData.h"
#include "status/JobContext.h"

namespace tolvane {

// The recovered relationships' table; null when there is none or none of its columns was decoded.
const CAccessTable* FindRelationsTable(const CAccessData& data);

struct SRelationPair {
  std::u16string column;            // of the foreign table
  std::u16string referencedColumn;  // of the primary table
};

struct SRecoveredRelation {
  std::u16string name;   // empty where it is lost
  std::u16string table;  // the foreign one, whose records refer to those of the other
  std::u16string referencedTable;
  int32_t attributes = 0;     // kRelationUnique and so on
  bool hasAttributes = true;  // false when they are lost or impossible; they then read as "not enforced"
  std::vector<SRelationPair> pairs;
  std::u16string problem;   // why the relationship is not whole; empty when it is
  bool isRestored = false;  // from the definitions, which know all but its join type

  // "Orders (Customer)": one side of it and its columns.
  [[nodiscard]] std::u16string DescribeSide(bool isReferenced) const;
  // "one to one, updates cascade": its attributes, but for those that every relationship has.
  [[nodiscard]] std::u16string DescribeRules() const;
  // Between tables that the database engine keeps for itself; those are never saved.
  [[nodiscard]] bool IsSystem() const;
};

// In the order of their first rows, those without rows last. Rows that contradict the rows before them are
// left out; a relationship that lacks a pair of columns is told as such, for fewer pairs would be another
// relationship. Linear in the rows. Without a job nothing stops the reading, and nothing is shown. False when
// the rows cannot be read or the reading was stopped. `rowsRead` tells how many of the recovered rows were
// there.
bool ReadRelations(const CAccessData& data, CJobContext* job, std::vector<SRecoveredRelation>& relations,
                   uint32_t& rowsRead);

}  // namespace tolvane
