// What the user looks at in the result: the selected item of the tree, the rows of its table, and the values
// of single cells. Main thread only, but for the thread that it starts.
#pragma once

#include <functional>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "app/FrontEnd.h"
#include "app/RecordStore.h"
#include "app/ResultOutput.h"
#include "app/TablePreview.h"
#include "model/AccessData.h"
#include "render/LocalText.h"
#include "render/PreviewText.h"
#include "status/Status.h"

namespace tolvane {

class CResultPreview {
 public:
  // Waits while the condition holds and keeps painting.
  using Wait = std::function<void(const std::function<bool()>& condition)>;

  CResultPreview(CMainViewWindow& view, Wait wait) : m_view(view), m_wait(std::move(wait)) {}

  // False when the text is empty or that of the item before.
  bool Remember(std::u16string_view item);
  void Forget() { m_item.clear(); }
  [[nodiscard]] const std::u16string& GetItem() const { return m_item; }
  [[nodiscard]] bool IsRoot() const { return m_item.empty() || m_item == kTreeRoot; }
  // The first table of that name; null without one. All `data` here may be null, and must stay while the
  // preview is busy.
  [[nodiscard]] const CAccessTable* FindTable(const CAccessData* data) const;

  // Begins to read the rows of the item's table, if it is one.
  void Start(const CAccessData* data);
  // Ends the thread.
  void Abort();
  // Removes all rows and columns; not while the thread runs.
  void Clear();

  [[nodiscard]] CRecordStore& GetRecords() { return m_records; }
  // How dates and numbers of the exact rules are shown from now on.
  void SetLocalText(const CLocalText& local) {
    m_local = local;
    m_records.SetLocalText(local);
  }
  // A value to read in full: of an OLE object, which is the kind of value in some columns, its first bytes;
  // of several values in one cell a line each.
  [[nodiscard]] bool IsObject(const CAccessData* data, size_t column) const;
  [[nodiscard]] std::u16string DescribeValue(const CAccessData* data, CRecordStore::SPlace place,
                                             size_t maxUnits);
  // What of a value can be saved as a file: an OLE object, attached files; nothing of other values.
  std::vector<SSavedObject> ListObjects(const CAccessData* data, CRecordStore::SPlace place);

 private:
  // Of a complex column's cell: its values, and the key of its record. Null for other cells.
  CComplexValues* FindValues(const CAccessData* data, CRecordStore::SPlace place, int32_t& key);
  std::u16string ListValues(CComplexValues& values, int32_t key) const;

  CMainViewWindow& m_view;
  Wait m_wait;
  std::u16string m_item;
  CRecordStore m_records;
  CLocalText m_local;
  CPreviewThreadStatus m_own;             // the lists of values are read to their end
  std::unique_ptr<CPreviewText> m_texts;  // of the item's table, made when first needed
  CTablePreview m_preview;                // last, so that its thread ends before what it works on
};

}  // namespace tolvane
