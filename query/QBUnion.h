// Union queries: two stored member texts with the keyword between them.
#pragma once

#include "query/QB.h"

namespace tolvane {

class CQBUnion : public CQB {
 public:
  void Build(const CTList<CQueryAttributes>& rows, std::u16string& sql) override;
};

}  // namespace tolvane
