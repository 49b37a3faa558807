#include "query/QB.h"

namespace tolvane {

std::unique_ptr<CQB> MakeQueryBuilder(const std::u16string& type) {
  switch (ParseQueryNumber(type)) {
    case 0:
    case 8:
      return std::make_unique<CQBSelect>();
    case 16:
      return std::make_unique<CQBCrosstab>();
    case 32:
      return std::make_unique<CQBDelete>();
    case 48:
      return std::make_unique<CQBUpdate>();
    case 64:
      return std::make_unique<CQBAppend>();
    case 128:
      return std::make_unique<CQBUnion>();
    default:
      return nullptr;
  }
}

}  // namespace tolvane
