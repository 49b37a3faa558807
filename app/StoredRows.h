// Rows of one table's data file, read where somebody looks at them: each from the place where it begins. One
// thread at a time.
#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

#include "model/AccessData.h"
#include "render/LocalText.h"
#include "render/PreviewText.h"
#include "status/Status.h"
#include "store/ObjectPlace.h"
#include "store/StoredValueReader.h"

namespace tolvane {

class CStoredRows {
 public:
  // Both must outlive this object.
  CStoredRows(const CAccessTable& table, const CAccessData& data);

  // Whether a row's cells can be read alone: those of complex columns depend on the rows before.
  [[nodiscard]] bool AreAlone() const { return m_areAlone; }
  // The cells as the preview shows them, one a column; what the file does not have is empty. Stays until the
  // next call. Some rows are kept, so that a page that is drawn again is not read again.
  const std::vector<std::u16string>& ReadRow(uint64_t place);
  // The stored text of a cell.
  std::u16string ReadWhole(uint64_t place, size_t column, size_t maxUnits);
  // Where the bytes of an OLE object are; without a path where there is none.
  SObjectPlace ReadObjectPlace(uint64_t place, size_t column);
  // True when `shown` is a part of the stored text.
  [[nodiscard]] bool IsShortened(size_t column, std::u16string_view shown) const;

  // What FindInRow looks for; it reads no cell that cannot hold it.
  void BeginFind(std::u16string_view folded, const CLocalText& local);
  // The first cell from column `first` on that holds it, as it is stored in full, as it is shown or in its
  // local form.
  std::optional<size_t> FindInRow(uint64_t place, size_t first);

  // How many rows were read so far, by ReadRow or by FindInRow.
  [[nodiscard]] uint64_t GetRowsRead() const { return m_rowsRead; }

 private:
  enum class ELook : uint8_t { No, Text, Shown };

  bool MoveTo(uint64_t place, size_t column, uint32_t& count);
  bool Open() { return m_values.IsOpen() || m_values.Open(m_table.GetRecords()); }
  [[nodiscard]] ELook HowToLook(size_t column) const;
  bool Holds(size_t column, uint32_t count);

  const CAccessTable& m_table;
  CPreviewThreadStatus m_own;  // what is read here is read to its end
  CPreviewText m_preview;
  CRecordText m_texts;
  CStoredValueReader m_values;
  bool m_holdsTexts;
  bool m_areAlone = true;
  std::unordered_map<uint64_t, std::vector<std::u16string>> m_kept;  // by place
  uint64_t m_rowsRead = 0;

  std::u16string m_wanted;
  const CLocalText* m_local = nullptr;
  std::vector<ELook> m_looks;  // by column
  bool m_isNullWanted = false;
  std::u16string m_text;
};

}  // namespace tolvane
