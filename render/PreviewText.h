// How a stored value is shown in a preview: dates without a midnight, memos cut, objects by their kind, the
// values of a multi-value cell joined.
#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>
#include <string_view>
#include <unordered_map>

#include "model/AccessTable.h"
#include "render/ComplexValues.h"
#include "render/FlatTableParser.h"
#include "render/RecordText.h"
#include "status/Status.h"

namespace tolvane {

// For one table. Reads a multi-value column's flat table once, when its first cell is shown; that read ends
// early when the preview is aborted.
class CPreviewText {
 public:
  // `tables` is where flat tables are looked up by their definition page; without one, multi-value cells are
  // empty. `preview` says when to leave. All must outlive this object.
  CPreviewText(const CAccessTable& table, const CAccessTableList* tables, uint32_t pageSize,
               const SRecoveryRules& rules, const CPreviewThreadStatus& preview)
      : m_table(table),
        m_tables(tables),
        m_pageSize(pageSize),
        m_rules(rules),
        m_preview(preview),
        m_records(table.columns, rules) {}

  // The shown text of the record of `count` bytes at which the stream stands; moves behind it. False where
  // the file ends earlier.
  bool Read(CValueStream& stream, uint32_t count, size_t column, std::u16string& text);
  [[nodiscard]] bool TellsNull() const { return m_records.TellsNull(); }
  // True when Show has cut the stored text to this one.
  static bool IsShortened(const CAccessColumn& column, std::u16string_view shown);
  // Replaces the stored text by the shown one. The column must exist.
  void Show(size_t column, std::u16string& text);
  // Of a complex column, where the rules make them data; null where there are none.
  CComplexValues* GetValues(size_t column);

 private:
  struct SFlatTable {
    CFlatTableParser::CellTexts texts;
    uint64_t unitsLeft = 0;
  };

  void ShowComplex(size_t column, std::u16string& text);
  void ShowValues(size_t column, std::u16string& text);
  SFlatTable& GetFlatTable(size_t column);

  const CAccessTable& m_table;
  const CAccessTableList* m_tables;
  uint32_t m_pageSize;
  const SRecoveryRules& m_rules;
  const CPreviewThreadStatus& m_preview;
  CRecordText m_records;
  std::unordered_map<size_t, SFlatTable> m_flatTables;                   // by column
  std::unordered_map<size_t, std::unique_ptr<CComplexValues>> m_values;  // by column; null: none
};

}  // namespace tolvane
