// The fields of one table's rows as the texts that its data file carries.
//
//   type            text
//   1               "True" or "False", from the null mask
//   2, 3, 4, 18     decimal number
//   5               four decimals
//   6, 7            fixed number of decimals
//   8               date and time
//   9               bytes as text of the system's code page
//   10, 12          the text itself; memos from their long-value pages
//   11              path of the side file that holds the bytes
//   13              "Unknown"
//   15              GUID in braces
//   16              decimal digits with the column's scale
//   others          "Default " and the type code
// Calculated columns: the text of their result.
#pragma once

#include <cstddef>
#include <cstdint>
#include <span>
#include <string>
#include <vector>

#include "engine/LongValueReader.h"
#include "engine/OleSideFile.h"
#include "engine/RowFrame.h"
#include "engine/TextDecoder.h"
#include "format/Layout.h"
#include "model/AccessTable.h"
#include "model/RecoveryRules.h"

namespace tolvane {

enum class EFieldResult : uint8_t {
  Decoded,   // null and empty values too
  Broken,    // a present value that cannot be located; its text is empty
  CutShort,  // a long value of which only the text's part could be read
};

class CFieldDecoder {
 public:
  // All arguments outlive the decoder.
  CFieldDecoder(const STextLayout& layout, const SRecoveryRules& rules, CLongValueReader& longValues,
                COleSideFile& sideFile);

  // The table of the rows that follow. `codePage` is used by Jet 3 columns that name none.
  void SetTable(const CAccessTable& table, uint32_t codePage);
  [[nodiscard]] const SRowShape& GetShape() const { return m_shape; }
  [[nodiscard]] size_t GetColumnCount() const { return m_columns.size(); }

  // Replaces `text` by the value of the column at that position of the table's list. Throws
  // CFileCustException when a side file cannot be written.
  EFieldResult Decode(const CRowFrame& frame, size_t column, std::u16string& text);

  // Gives back what unusually long texts made it allocate.
  void ReleaseMemory() { m_text.ReleaseMemory(); }

 private:
  // What is needed of a column, looked up once a table.
  struct SField {
    uint8_t type;
    uint8_t scale;
    bool isFixed;
    bool isCalculated;
    uint32_t number;
    size_t place;   // offset in the fixed area, or variable index
    size_t width;   // bytes of a fixed field
    size_t needed;  // fewer bytes are no value of that type
    STextCoding coding;
  };

  [[nodiscard]] SField MakeField(const CAccessColumn& column, uint32_t codePage) const;
  EFieldResult DecodeBytes(const SField& field, std::span<const uint8_t> bytes, std::u16string& text);
  EFieldResult DecodeCalculated(const SField& field, std::span<const uint8_t> bytes, std::u16string& text);
  EFieldResult DecodeMemo(const SField& field, std::span<const uint8_t> bytes, std::u16string& text);
  EFieldResult DecodeOle(std::span<const uint8_t> bytes, std::u16string& text);
  void DecodeDecimal(const SField& field, std::span<const uint8_t> bytes, std::u16string& text) const;

  const STextLayout& m_layout;
  const SRecoveryRules& m_rules;
  CLongValueReader& m_longValues;
  COleSideFile& m_sideFile;
  CTextDecoder m_text;
  SRowShape m_shape;
  std::vector<SField> m_columns;
};

}  // namespace tolvane
