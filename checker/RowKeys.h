// The key that a row must have in an index, made from the row's values.
#pragma once

#include <cstdint>
#include <vector>

#include "checker/CheckContext.h"
#include "checker/CheckedTable.h"
#include "checker/LongValueCheck.h"
#include "checker/RowView.h"

namespace tolvane {

class CRowKeys {
 public:
  // All must outlive the object.
  CRowKeys(SCheckContext& context, const SCheckedRealIndex& index, CLongValueCheck& longValues);

  // False when the keys of this index are not known: its texts have another sort order, or a value is of a
  // type without known keys. They stay unknown then.
  bool Make(const CRowView& row, std::vector<uint8_t>& key);
  // Whether the last row had nothing but nulls.
  [[nodiscard]] bool IsAllNull() const { return m_isAllNull; }
  [[nodiscard]] bool HasNull() const { return m_hasNull; }
  [[nodiscard]] bool AreKeysKnown() const { return m_areKeysKnown; }
  // The key of a row with nothing but nulls.
  [[nodiscard]] const std::vector<uint8_t>& GetNullKey() const { return m_nullKey; }

 private:
  bool AppendPart(const CRowView& row, const SCheckedIndexPart& part, std::vector<uint8_t>& key);

  SCheckContext& m_context;
  const SCheckedRealIndex& m_index;
  CLongValueCheck& m_longValues;
  bool m_areKeysKnown = true;
  bool m_isAllNull = false, m_hasNull = false;
  std::vector<uint8_t> m_nullKey;
  std::vector<uint8_t> m_head, m_text;
};

}  // namespace tolvane
