// What the user looks at in the result that is held: the tree of its tables and objects, the map of its
// pages, the summary of the selected item, the rows of its table, and the values of single cells. Main thread
// only, but for the threads that it starts.
#pragma once

#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "app/FilePages.h"
#include "app/FrontEnd.h"
#include "app/Job.h"
#include "app/RecordStore.h"
#include "app/ResultObjects.h"
#include "app/ResultOutput.h"
#include "app/TablePreview.h"
#include "model/AccessData.h"
#include "render/LocalText.h"
#include "render/PreviewText.h"
#include "status/Status.h"

namespace tolvane {

class CResultView {
 public:
  // Waits while the condition holds and keeps painting.
  using Wait = std::function<void(const std::function<bool()>& condition)>;

  // The view and the job outlive it.
  CResultView(CMainViewWindow& view, const CJob& job, Wait wait)
      : m_view(view), m_job(job), m_wait(std::move(wait)) {}

  // A repair of this file has ended: its tables, objects and pages are there to be looked at.
  void Show(const std::u16string& path);
  // Before the job deletes its result: nothing shows or reads it any more.
  void Discard();
  // Ends the threads.
  void Abort();
  // Of the selected item, or of the whole repair.
  void ShowSummary();

  // On every selection change of the tree; the text of the selected item, without its row count.
  void SelectItem(std::u16string_view name);
  // A query or relationship of the tree, by its place in what the view was given.
  void SelectObject(size_t index);

  // Of the damaged file, once they are known.
  [[nodiscard]] const CFilePages& GetPages() const { return m_pages; }
  [[nodiscard]] CRecordStore& GetRecords() { return m_records; }
  // How dates and numbers of the exact rules are shown from now on.
  void SetLocalText(const CLocalText& local) {
    m_local = local;
    m_records.SetLocalText(local);
  }
  // A value to read in full: of an OLE object, which is the kind of value in some columns, its first bytes;
  // of several values in one cell a line each.
  [[nodiscard]] bool IsObject(size_t column) const;
  [[nodiscard]] std::u16string DescribeValue(CRecordStore::SPlace place, size_t maxUnits = SIZE_MAX);
  // What of a value can be saved as a file: an OLE object, attached files; nothing of other values.
  std::vector<SSavedObject> ListObjects(CRecordStore::SPlace place);

 private:
  // Null without a result, and while a worker repairs: then the result is its own.
  [[nodiscard]] const CAccessData* FindData() const;
  // The first table of the item's name; null without one.
  [[nodiscard]] const CAccessTable* FindTable() const;
  void AbortPreview();
  // Removes all rows and columns; not while the thread runs.
  void ClearRecords();
  // Of a complex column's cell: its values, and the key of its record. Null for other cells.
  CComplexValues* FindValues(CRecordStore::SPlace place, int32_t& key);
  std::u16string ListValues(CComplexValues& values, int32_t key) const;

  CMainViewWindow& m_view;
  const CJob& m_job;
  Wait m_wait;
  CResultObjects m_objects;
  std::optional<size_t> m_object;  // the selected one of them
  CFilePages m_pages;
  std::u16string m_item;
  CRecordStore m_records;
  CLocalText m_local;
  CPreviewThreadStatus m_own;             // the lists of values are read to their end
  std::unique_ptr<CPreviewText> m_texts;  // of the item's table, made when first needed
  CTablePreview m_preview;                // last, so that its thread ends before what it works on
};

}  // namespace tolvane
