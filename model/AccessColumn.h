// One recovered column of a table.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <string_view>
#include <utility>
#include <vector>

#include "format/ColumnType.h"
#include "format/Property.h"
#include "model/MSysComplexColumnsData.h"

namespace tolvane {

class CAccessColumn {
 public:
  static constexpr size_t kNameUnits = 255;
  using Name = std::array<char16_t, kNameUnits>;

  CAccessColumn() = default;
  virtual ~CAccessColumn() = default;
  CAccessColumn(CAccessColumn&&) noexcept = default;
  CAccessColumn& operator=(CAccessColumn&&) noexcept = default;

  uint8_t type = kTypeNone;
  uint16_t number = 0;
  uint16_t displayNumber = 0;  // its place among the others as users see them
  uint16_t variableIndex = 0;
  uint32_t misc = 0;      // precision and scale, code page, or complex id, as the descriptor has it
  uint16_t codePage = 0;  // of a Jet 3 text or memo column; 0 where the descriptor has none
  uint8_t flags = 0;
  uint8_t extendedFlags = 0;  // Jet 3 has none
  uint16_t fixedOffset = 0;
  uint16_t descriptor = 0;  // position in the definition
  uint16_t length = 0;      // characters for Jet 4 text, bytes otherwise
  Name name{};
  uint16_t storedNameBytes =
      0;  // how many bytes of the name are its own where it holds bytes; 0 where letters

  std::vector<SProperty> properties{};  // where the rules want more than a type and a size

  // The name up to its first zero unit, at most 255 units.
  [[nodiscard]] std::u16string_view GetName() const;
  // Cut at 255 units; the rest of the array becomes zero.
  void SetName(std::u16string_view text);
  [[nodiscard]] bool IsCounter() const { return type == kTypeLong && (flags & kColumnAutoNumber) != 0; }
  [[nodiscard]] bool IsFixed() const { return (flags & kColumnFixed) != 0; }
  // Digits after the point of a decimal.
  [[nodiscard]] uint8_t GetScale() const { return static_cast<uint8_t>(misc >> 8); }

  // Owned; null unless the column is a known complex column.
  [[nodiscard]] const CMSysComplexColumnsData* GetComplexData() const { return m_complexData.get(); }
  void SetComplexData(std::unique_ptr<CMSysComplexColumnsData> data);

 private:
  std::unique_ptr<CMSysComplexColumnsData> m_complexData;
};

class CAccessColumnList {
 public:
  CAccessColumnList() = default;
  virtual ~CAccessColumnList() = default;
  CAccessColumnList(CAccessColumnList&&) noexcept = default;
  CAccessColumnList& operator=(CAccessColumnList&&) noexcept = default;

  void Add(CAccessColumn column) { m_columns.push_back(std::move(column)); }
  // Null past the end.
  [[nodiscard]] CAccessColumn* GetAt(size_t position);
  [[nodiscard]] const CAccessColumn* GetAt(size_t position) const;
  bool SetNameAt(size_t position, std::u16string_view name);
  [[nodiscard]] size_t GetCount() const { return m_columns.size(); }
  // The first column with that number; null when there is none.
  [[nodiscard]] const CAccessColumn* FindByNumber(uint16_t number) const;
  // Ascending by column number. Columns of the same number end in the order in which a plain exchange sort
  // leaves them (for each i, for each j > i: exchange the two if j's number is smaller), but in O(n log n).
  void SortByNumber();

  auto begin() const { return m_columns.begin(); }
  auto end() const { return m_columns.end(); }

 private:
  std::vector<CAccessColumn> m_columns;
};

}  // namespace tolvane
