// Collects the entries of one index while a table's rows pass by, and notes what in them the index forbids.
#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "writer/embedded/IndexSorter.h"
#include "writer/embedded/TableDefinition.h"

namespace tolvane {

class CIndexCollector {
 public:
  // All but `tempFolder` must outlive the collector. `memory` bounds the entries that stay in memory.
  CIndexCollector(const SEmbeddedLayout& layout, const STableDefinition& definition, const SRealIndex& index,
                  std::u16string_view tempFolder, size_t memory);

  // An error is the disk's; what the row says is noted instead.
  EDaoError Add(std::span<const uint8_t> row, uint32_t pointer);

  // A value for which no key is known: the index cannot be built.
  [[nodiscard]] bool HasUnknownKey() const { return m_hasUnknownKey; }
  // Rows in which a column of the index is null, and the first of them.
  [[nodiscard]] uint64_t GetNullRows() const { return m_nullRows; }
  [[nodiscard]] CIndexSorter& GetSorter() { return m_sorter; }
  // The key of a row whose columns are all null: the only one that a unique index lets repeat.
  [[nodiscard]] const std::vector<uint8_t>& GetAllNullKey() const { return m_allNullKey; }

 private:
  // False when a value has no known key.
  bool MakeKey(std::span<const uint8_t> row);

  const SEmbeddedLayout& m_layout;
  const STableDefinition& m_definition;
  const SRealIndex& m_index;
  CIndexSorter m_sorter;
  std::vector<uint8_t> m_key;
  std::vector<uint8_t> m_text;
  std::vector<uint8_t> m_allNullKey;
  size_t m_nullColumns = 0;  // of the row at hand
  bool m_hasUnknownKey = false;
  uint64_t m_nullRows = 0;
};

// The values of a row in the index's columns, for people: "17", "\"Miller\", null".
std::u16string DescribeKey(const SEmbeddedLayout& layout, const STableDefinition& definition,
                           const SRealIndex& index, std::span<const uint8_t> row);

}  // namespace tolvane
