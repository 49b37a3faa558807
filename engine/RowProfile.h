// What the rows of one table look like: what its definition says, and what the rows themselves show where the
// definition is wrong.
#pragma once

#include <cstddef>
#include <cstdint>
#include <map>
#include <set>
#include <span>
#include <vector>

#include "format/Layout.h"
#include "format/RowFrame.h"
#include "model/AccessTable.h"

namespace tolvane {

// How rows of the table are cut. Those with `maximumStoredColumns` or more are none.
SRowShape ShapeOf(const CAccessTable& table, uint32_t maximumStoredColumns);

class CRowProfile {
 public:
  CRowProfile(const CAccessTable& table, const SLayout& layout, const SRowShape& shape);

  // The widest shape that a row of the table may have, for cutting: the definition's counts may be damaged.
  [[nodiscard]] const SRowShape& GetShape() const { return m_shape; }
  // Takes note of a row that stands in its table's slots, to learn from.
  void Learn(CRowFrame& frame, std::span<const uint8_t> row);
  // After the last row: where none looks as the definition says, and this has counts that cannot be true or
  // differs in the fixed area only, the rows are believed.
  void Conclude();

  // For learning from rows that no slot names, before they are concluded anew: they may state any number of
  // columns.
  void AllowAnyCount();

  // Whether any row that was learned is one of the table's: without one the definition may be another
  // table's.
  [[nodiscard]] bool IsConfirmed() const { return m_agreeing > 0 || !m_believed.empty(); }
  // Cuts the bytes. False: they are no row of the table.
  bool Accepts(CRowFrame& frame, std::span<const uint8_t> row) const;
  // The same for bytes that no slot names; stricter, because any stretch of a page is tried.
  bool Recognises(CRowFrame& frame, std::span<const uint8_t> row) const;
  // Whether the values of a row that was accepted fill it, but for what the engine leaves unused.
  [[nodiscard]] static bool IsFilled(const CRowFrame& frame);
  // Numbers of columns that a row may state, the most likely ones first.
  [[nodiscard]] const std::vector<uint32_t>& GetColumnCounts() const { return m_columnCounts; }

 private:
  using Measure = CRowFrame::SMeasure;

  [[nodiscard]] bool AgreesWithDefinition(const Measure& measure) const;
  [[nodiscard]] bool IsBelievable(const Measure& measure) const;
  [[nodiscard]] bool IsBelieved(Measure measure) const;

  const SLayout& m_layout;
  SRowShape m_shape;
  uint32_t m_columnsEver;
  uint32_t m_variablesEver;
  bool m_isComplete;  // no column was ever deleted
  bool m_isCoherent;  // the counts are those of the columns
  // By number of columns stored: where the fixed area ends at least, and variable columns there are at least.
  std::vector<size_t> m_fixedEnds;
  std::vector<size_t> m_leastVariables;
  // Rows that were learned, without their slack, and how often each kind was seen.
  std::map<Measure, size_t> m_seen;
  size_t m_agreeing = 0;
  std::set<Measure> m_believed;
  std::vector<uint32_t> m_columnCounts;
};

}  // namespace tolvane
