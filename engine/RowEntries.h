// The entries that the rows of one table must have in its indexes, as far as keys can be made from rows.
//
// An entry is a key and the place of its row. Entries are told apart by hashes, and all those of a table's
// rows by the sum of them, which does not depend on the order in which threads decode the rows.
#pragma once

#include <cstdint>
#include <optional>
#include <span>
#include <vector>

#include "format/IndexKey.h"
#include "format/PageLayout.h"
#include "format/RowFrame.h"
#include "model/AccessTable.h"

namespace tolvane {

// Of an entry in the table's index at that position.
uint64_t HashOfEntry(size_t index, std::span<const uint8_t> key, SRowPointer row);

class CRowEntries {
 public:
  // No indexes but those of a user's table whose keys are numbers, dates, bytes, or texts of a known sort
  // order.
  CRowEntries(const CAccessTable& table, const SLayout& layout);

  struct SIndex {
    size_t position;  // in the table's list
    bool isCertain;   // its keys are numbers, which leave no room for a doubt
    bool ignoresNulls;
    std::vector<const CAccessColumn*> columns;
    std::vector<uint8_t> isAscending;
  };
  [[nodiscard]] const std::vector<SIndex>& GetIndexes() const { return m_indexes; }

  // What the row adds to the sum of its table.
  uint64_t SumOf(const CRowFrame& frame, SRowPointer row);
  // The row's entry in one index; nothing where it has none, or where a letter's weight is not that of a
  // plain one and may be another in the engine that wrote the file.
  std::optional<uint64_t> HashOf(const SIndex& index, const CRowFrame& frame, SRowPointer row);

 private:
  enum class EKey : uint8_t { Made, Absent, Doubtful };
  [[nodiscard]] bool HasKeys(const CAccessColumn& column) const;
  EKey MakeKey(const SIndex& index, const CRowFrame& frame);

  const SLayout& m_layout;
  std::vector<SIndex> m_indexes;
  std::vector<uint8_t> m_key, m_text;
};

}  // namespace tolvane
