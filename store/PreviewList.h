// The list control that a preview fills. A front end draws it; the preview's thread calls it.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string_view>

namespace tolvane {

class CPreviewList {
 public:
  virtual ~CPreviewList() = default;
  // Left aligned; the width is in pixels.
  virtual void InsertColumn(size_t index, std::u16string_view heading, int32_t width) = 0;
  [[nodiscard]] virtual size_t GetItemCount() const = 0;
  // An item with empty cells.
  virtual void InsertItem(size_t index) = 0;
  virtual void SetItemText(size_t item, size_t column, std::u16string_view text) = 0;
  // In place of the text, where values are told from no value; `text` is what shows that.
  virtual void SetItemNull(size_t item, size_t column, std::u16string_view text) {
    SetItemText(item, column, text);
  }
  // True: it reads the cells from the items' places itself, and is given no texts.
  [[nodiscard]] virtual bool ReadsCells() const { return false; }
  // Before the item's texts: where its row begins in the table's data file, for whoever shows in full what
  // the preview shortens.
  virtual void SetItemPlace([[maybe_unused]] size_t item, [[maybe_unused]] uint64_t place) {}
};

}  // namespace tolvane
