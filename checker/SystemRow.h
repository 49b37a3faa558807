// Values of a row whose columns are known, read by number.
#pragma once

#include <cstdint>
#include <optional>
#include <span>
#include <string>

#include "checker/CheckedFile.h"
#include "checker/RowView.h"
#include "format/Bytes.h"

namespace tolvane {

class CSystemRow {
 public:
  CSystemRow(const CCheckedFile& file, const CRowView& row) : m_file(file), m_row(row) {}

  // nullopt when the value is null or of another length.
  template <class T>
  [[nodiscard]] std::optional<T> GetNumber(uint16_t column) const {
    const std::optional<std::span<const uint8_t>> value = m_row.Get(column);
    return value && value->size() == sizeof(T) ? std::optional<T>(GetLittle<T>(*value, 0)) : std::nullopt;
  }
  // Empty when the value is null.
  [[nodiscard]] std::span<const uint8_t> GetBytes(uint16_t column) const {
    return m_row.Get(column).value_or(std::span<const uint8_t>());
  }
  [[nodiscard]] std::u16string GetText(uint16_t column) const;
  // Texts with equal keys are the same name.
  [[nodiscard]] std::string GetNameKey(uint16_t column) const;

 private:
  const CCheckedFile& m_file;
  const CRowView& m_row;
};

}  // namespace tolvane
