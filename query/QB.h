// Builders turn the rows of one saved query into its SQL text. One builder serves one query, once.
#pragma once

#include <memory>
#include <string>

#include "query/QueryAttributes.h"
#include "query/TList.h"

namespace tolvane {

class CQB {
 public:
  virtual ~CQB() = default;
  // `rows` must outlive the call. `sql` is left as it is when the rows make no statement.
  virtual void Build(const CTList<CQueryAttributes>& rows, std::u16string& sql) = 0;
};

// Select queries.
class CQBSelect : public CQB {
 public:
  void Build(const CTList<CQueryAttributes>& rows, std::u16string& sql) override;
};

// Crosstab queries.
class CQBCrosstab : public CQB {
 public:
  void Build(const CTList<CQueryAttributes>& rows, std::u16string& sql) override;
};

// Append, update and delete queries.
class CQBAppend : public CQB {
 public:
  void Build(const CTList<CQueryAttributes>& rows, std::u16string& sql) override;
};

class CQBUpdate : public CQB {
 public:
  void Build(const CTList<CQueryAttributes>& rows, std::u16string& sql) override;
};

class CQBDelete : public CQB {
 public:
  void Build(const CTList<CQueryAttributes>& rows, std::u16string& sql) override;
};

// Union queries: two stored member texts with the keyword between them.
class CQBUnion : public CQB {
 public:
  void Build(const CTList<CQueryAttributes>& rows, std::u16string& sql) override;
};

// The builder for a query type (the flags of its MSysObjects row, as text); null when there is none.
std::unique_ptr<CQB> MakeQueryBuilder(const std::u16string& type);

}  // namespace tolvane
