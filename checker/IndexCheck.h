// One index: rules E1 to E13. The tree is walked from its root, each page once, on a stack of its own.
//
// Keys: while the rows are read, each row's entry is summed up as a hash. When the leaves have the same sum,
// every entry is the one that its row must have; only when they differ is each entry compared with its row.
#pragma once

#include <cstdint>
#include <functional>
#include <span>
#include <vector>

#include "checker/CheckContext.h"
#include "checker/CheckedTable.h"
#include "checker/RowKeys.h"
#include "checker/RowView.h"
#include "checker/UsageCheck.h"
#include "format/IndexPage.h"

namespace tolvane {

uint64_t HashEntry(std::span<const uint8_t> key, uint32_t page, uint32_t row);

// What the rows say that an index must hold.
struct SExpectedIndex {
  uint64_t entries = 0;
  uint64_t hashSum = 0;
};

// Reads one live row again, by its slot. False when it cannot be read.
using RowReader = std::function<bool(uint32_t page, uint32_t row, const CRowView*& view)>;

class CIndexCheck {
 public:
  CIndexCheck(SCheckContext& context, CUsageCheck& usage, const SCheckedTable& table,
              const SCheckedRealIndex& index, CRowKeys& keys);

  // Finishes the walk even when rows are missing or too many; `readRow` is asked only about doubtful ones.
  void Check(const SExpectedIndex& expected, const RowReader& readRow);

 private:
  struct SFrame {
    CIndexPage page;
    uint32_t number = 0;
    size_t next = 0;            // child to be walked
    bool isChildWhole = false;  // the last child walked has a known last entry
  };
  struct SLevel {
    uint32_t page = 0, next = 0;  // of the page that was opened last
  };

  void Walk();
  bool Open(uint32_t number, int parentLevel);
  void CheckHead(const SFrame& frame, int parentLevel);
  void CheckLinks(const SFrame& frame);
  void WalkLeaf(const SFrame& frame);
  void CheckLeafEntry(SPlace place);
  void CheckChildEnd(SFrame& parent, bool isWhole);
  void CheckMap();
  void CompareWithRows(const RowReader& readRow);
  void CompareLeaf(uint32_t number, const RowReader& readRow);
  void CheckMissing(const RowReader& readRow);

  SCheckContext& m_context;
  CUsageCheck& m_usage;
  const SCheckedTable& m_table;
  const SCheckedRealIndex& m_index;
  CRowKeys& m_keys;
  const SIndexPageLayout& m_layout;
  CPageBuffer m_buffer;

  std::vector<SFrame> m_stack;
  std::vector<SLevel> m_levels;
  std::vector<uint32_t> m_leaves;  // from left to right
  CPageSet m_pages;
  std::vector<uint8_t> m_entry, m_previous;  // leaf entries: this one and the one before
  bool m_hasPrevious = false;
  uint64_t m_hashSum = 0;
};

}  // namespace tolvane
