// Saved queries, the rows of MSysQueries: rules H1 to H5.
#pragma once

#include <array>
#include <cstdint>
#include <optional>
#include <unordered_map>

#include "checker/CatalogueCheck.h"
#include "checker/CheckContext.h"
#include "checker/RowView.h"

namespace tolvane {

class CQueryCheck {
 public:
  explicit CQueryCheck(SCheckContext& context) : m_context(context) {}

  void AddRow(const CRowView& row, SPlace place);
  void Finish(const CCatalogueCheck& catalogue);

 private:
  static constexpr size_t kAttributes = 13;  // 0 to 11, and 255 at the end
  struct SQuery {
    SPlace place;  // of the first row
    std::array<uint32_t, kAttributes> rows{};
    std::array<uint32_t, kAttributes> highestOrder{};
    std::optional<int16_t> kind;
  };
  void CheckQuery(uint32_t id, const SQuery& query, const CCatalogueCheck& catalogue);

  SCheckContext& m_context;
  std::unordered_map<uint32_t, SQuery> m_queries;
};

}  // namespace tolvane
