// Append, update and delete queries.
#pragma once

#include "query/QB.h"

namespace tolvane {

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

}  // namespace tolvane
