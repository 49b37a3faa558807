// One recovered index of a table, and the list of them.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

namespace tolvane {

struct CAccessIndexColumnInfo {
  uint16_t columnNumber = 0;
  bool isAscending = false;
};

class CAccessTableIndex {
 public:
  static constexpr size_t kMaximumColumns = 10;
  virtual ~CAccessTableIndex() = default;

  std::array<CAccessIndexColumnInfo, kMaximumColumns> columns{};
  size_t columnCount = 0;
  uint8_t unique = 0;
  uint8_t ignoreNulls = 0;
  uint8_t required = 0;
  uint8_t primary = 0;
  uint8_t foreign = 0;
  std::u16string name;
  // As read from the real-index entry.
  uint32_t usedPagesMap = 0;
  uint32_t rootPage = 0;
};

class CAccessTableIndexList {
 public:
  virtual ~CAccessTableIndexList() = default;
  // Adds a copy, named "Index_<count before>" where it has no name.
  void Add(const CAccessTableIndex& index);
  // Sets the flag of the index at that position and renames it "Primary Key". False past the end.
  bool MarkPrimary(size_t position, uint8_t flag);
  [[nodiscard]] size_t GetCount() const { return m_indexes.size(); }
  [[nodiscard]] const CAccessTableIndex* GetAt(size_t position) const;

  auto begin() const { return m_indexes.begin(); }
  auto end() const { return m_indexes.end(); }

 private:
  std::vector<CAccessTableIndex> m_indexes;
};

}  // namespace tolvane
