// Long values (memo, long binary): rules D6 to D10.
#pragma once

#include <cstdint>
#include <span>
#include <vector>

#include "checker/CheckContext.h"
#include "checker/CheckedTable.h"
#include "format/LongValue.h"

namespace tolvane {

class CLongValueCheck {
 public:
  explicit CLongValueCheck(SCheckContext& context)
      : m_context(context), m_layout(context.file.GetLayout()), m_page(context.file) {}

  // The pages that the column's map names.
  void CheckPages(const SCheckedColumn& column, uint32_t owner);
  // Follows the reference of one row. `head` receives no more than `wanted` bytes of the value.
  void CheckValue(const SCheckedColumn& column, std::span<const uint8_t> reference, SPlace place,
                  size_t wanted, std::vector<uint8_t>& head);
  // The value's first bytes, without any check: for rows that were checked before.
  void ReadHead(std::span<const uint8_t> reference, size_t wanted, std::vector<uint8_t>& head);
  // After all rows: no row on the column's pages is left without a reference.
  void CheckOrphans(const SCheckedColumn& column);

 private:
  // `found` bytes in all. False when the chain cannot be followed to its end.
  bool WalkChain(const SCheckedColumn& column, const SLongValue& value, SPlace place, size_t wanted,
                 std::vector<uint8_t>& head, uint64_t& found);
  // A row of the column's pages that nothing else refers to.
  bool OpenRow(const SCheckedColumn& column, uint32_t pointer, SPlace place, std::span<const uint8_t>& row);
  bool FindRow(uint32_t pointer, std::span<const uint8_t>& row);

  SCheckContext& m_context;
  const SLayout& m_layout;
  CPageBuffer m_page;
};

}  // namespace tolvane
