// The saved queries and relationships of a result, for the tree below the tables: their names, and each in
// words that people read.
#pragma once

#include <string>
#include <vector>

#include "app/FrontEnd.h"
#include "app/QueryList.h"
#include "model/AccessData.h"
#include "writer/RelationReader.h"

namespace tolvane {

class CResultObjects {
 public:
  // Of the user's own; what cannot be read back is not there.
  void Load(const CAccessData& data);
  void Clear() { *this = {}; }
  // Queries, then relationships.
  [[nodiscard]] std::vector<SObjectItem> GetItems() const;
  // Lines joined with "\r\n"; empty when there is no such item. Of a query what it does and its SQL text, of
  // a relationship what refers to what by which rules.
  [[nodiscard]] std::u16string Describe(size_t index) const;

 private:
  std::vector<SListedQuery> m_queries;
  std::vector<SRecoveredRelation> m_relations;
};

}  // namespace tolvane
