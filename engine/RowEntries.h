// The entries that the rows of one table must have in its indexes, as far as keys can be made from rows.
//
// An entry is a key and the place of its row. Entries are told apart by hashes, and all those of a table's
// rows by the sum of them, which does not depend on the order in which threads decode the rows.
#pragma once

#include <cstdint>
#include <optional>
#include <span>
#include <vector>

#include "format/Bytes.h"
#include "format/IndexKey.h"
#include "format/PageLayout.h"
#include "format/RowFrame.h"
#include "model/AccessTable.h"

namespace tolvane {

// Of an entry in the table's index at that position.
inline uint64_t HashOfEntry(size_t index, std::span<const uint8_t> key, SRowPointer row) {
  constexpr uint64_t kMix = 0x9E3779B97F4A7C15;
  uint64_t hash = (uint64_t{row.ToWord()} << 8 ^ index) * kMix;
  for (; key.size() >= sizeof(uint64_t); key = key.subspan(sizeof(uint64_t)))
    hash = (hash ^ hash >> 31 ^ GetLittle<uint64_t>(key, 0)) * kMix;
  uint64_t rest = 1;  // tells how long it is
  for (const uint8_t byte : key) rest = rest << 8 | byte;
  hash = (hash ^ hash >> 31 ^ rest) * kMix;
  return hash ^ hash >> 29;
}

class CRowEntries {
 public:
  // No indexes but those of a user's table whose keys are numbers, dates, bytes, or texts of a known sort
  // order.
  CRowEntries(const CAccessTable& table, const SLayout& layout);

  struct SIndex {
    size_t position;  // in the table's list
    bool isCertain;   // its keys are numbers, which leave no room for a doubt
    bool ignoresNulls;
    std::vector<const CAccessColumn*> columns = {};
    std::vector<uint8_t> isAscending = {};
    // One long alone, the most frequent kind.
    [[nodiscard]] bool IsLong() const { return columns.size() == 1 && columns[0]->type == kTypeLong; }
  };
  [[nodiscard]] const std::vector<SIndex>& GetIndexes() const { return m_indexes; }

  // What the row adds to the sum of its table.
  uint64_t SumOf(const CRowFrame& frame, SRowPointer row);
  // The row's key in one index, as an entry without a place; nothing where it has none, or where a letter's
  // weight is not that of a plain one and may be another in the engine that wrote the file.
  std::optional<uint64_t> HashOf(const SIndex& index, const CRowFrame& frame);
  // Of the values that the index has of the row: whatever the weights, equal ones have equal keys.
  uint64_t HashOfValues(const SIndex& index, const CRowFrame& frame);

 private:
  enum class EKey : uint8_t { Made, Absent, Doubtful };
  [[nodiscard]] bool HasKeys(const CAccessColumn& column) const;
  EKey MakeKey(const SIndex& index, const CRowFrame& frame);

  const SLayout& m_layout;
  std::vector<SIndex> m_indexes;
  std::vector<uint8_t> m_key, m_text;
};

}  // namespace tolvane
