// Builders turn the rows of one saved query into its SQL text. One builder serves one query, once.
#pragma once

#include <memory>
#include <string>

#include "query/QueryAttributes.h"
#include "query/TList.h"

namespace tolvane {

class CQB {
 public:
  CQB() = default;
  virtual ~CQB() = default;
  CQB(const CQB&) = delete;
  CQB& operator=(const CQB&) = delete;
  // `rows` must outlive the call. `sql` is left as it is when the rows make no statement.
  virtual void Build(const CTList<CQueryAttributes>& rows, std::u16string& sql) = 0;
};

// The builder for a query type (the flags of its MSysObjects row, as text); null when there is none.
std::unique_ptr<CQB> MakeQueryBuilder(const std::u16string& type);

}  // namespace tolvane
