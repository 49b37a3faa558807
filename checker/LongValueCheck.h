// Long values (memo, long binary): rules D6 to D10. A value is referred to by 12 bytes in its row:
//
//   u32 length | kind in the top two bits     u32 row pointer     u32 stamp
//   kind 80: the data follow      40: one row of a long value page      00: a chain of rows, each beginning
//   with a pointer to the next; the stamp is dword 8 of the chain's first page
#pragma once

#include <cstdint>
#include <span>
#include <vector>

#include "checker/CheckContext.h"
#include "checker/CheckedTable.h"

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
  void CheckSingle(const SCheckedColumn& column, uint32_t pointer, uint32_t length, SPlace place,
                   size_t wanted, std::vector<uint8_t>& head);
  void CheckChain(const SCheckedColumn& column, std::span<const uint8_t> reference, SPlace place,
                  size_t wanted, std::vector<uint8_t>& head);
  // A row of the column's pages that nothing else refers to.
  bool OpenRow(const SCheckedColumn& column, uint32_t pointer, SPlace place, std::span<const uint8_t>& row);
  bool FindRow(uint32_t pointer, std::span<const uint8_t>& row);

  SCheckContext& m_context;
  const SLayout& m_layout;
  CPageBuffer m_page;
};

}  // namespace tolvane
