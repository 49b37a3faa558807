// Select queries.
#pragma once

#include "query/QB.h"

namespace tolvane {

class CQBSelect : public CQB {
 public:
  void Build(const CTList<CQueryAttributes>& rows, std::u16string& sql) override;
};

}  // namespace tolvane
