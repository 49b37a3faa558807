// One table from its definition to its last index: its maps, its rows (rules C11, C12, D2, D5, R1 to R3) and,
// by way of them, its long values and indexes.
#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "checker/CheckContext.h"
#include "checker/CheckedTable.h"
#include "checker/DataPage.h"
#include "checker/DefinitionCheck.h"
#include "checker/IndexCheck.h"
#include "checker/LongValueCheck.h"
#include "checker/RowKeys.h"
#include "checker/RowView.h"
#include "checker/UsageCheck.h"

namespace tolvane {

class CTableCheck {
 public:
  CTableCheck(SCheckContext& context, CUsageCheck& usage)
      : m_context(context),
        m_usage(usage),
        m_definition(context),
        m_longValues(context),
        m_page(context.file),
        m_rows(context.file) {}

  // Each row, where the indexes know it to be.
  using RowVisitor = std::function<void(const CRowView& row, SPlace place)>;

  // The definition and the maps. False when the table cannot be read.
  bool Open(uint32_t definitionPage);
  void CheckRows(const RowVisitor& visit);
  // After CheckRows.
  void CheckIndexes();

  [[nodiscard]] const SCheckedTable& GetTable() const { return *m_table; }

 private:
  void LoadMaps();
  void CheckPage(uint32_t page, const RowVisitor& visit);
  void CheckRow(std::span<const uint8_t> bytes, SPlace place, const RowVisitor& visit);
  void CheckValues(SPlace place);
  void CheckLongValue(const SCheckedColumn& column, std::span<const uint8_t> value, SPlace place);
  void CheckText(const SCheckedColumn& column, std::span<const uint8_t> value, SPlace place);
  void AddToIndexes(SPlace place);
  bool FollowPointer(std::span<const uint8_t> pointer, SPlace place, std::span<const uint8_t>& body);
  bool ReadRow(uint32_t page, uint32_t row, const CRowView*& view);

  SCheckContext& m_context;
  CUsageCheck& m_usage;
  CDefinitionCheck m_definition;
  CLongValueCheck m_longValues;
  CPageBuffer m_page;
  CRowReader m_rows;

  std::unique_ptr<SCheckedTable> m_table;
  std::unique_ptr<CRowView> m_row;
  std::vector<std::unique_ptr<CRowKeys>> m_keys;  // by real index
  std::vector<SExpectedIndex> m_expected;
  const SCheckedColumn* m_autoNumber = nullptr;
  int32_t m_highestNumber = 0;
  std::vector<uint8_t> m_key, m_head;
  std::u16string m_problem;
};

}  // namespace tolvane
