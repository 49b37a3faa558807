// The thread that fills the record list with the rows of one table. Main thread only, but for that thread.
#pragma once

#include <memory>

#include "app/WorkerThread.h"
#include "engine/AccessTableDataFileParser.h"
#include "model/AccessData.h"
#include "store/PreviewList.h"

namespace tolvane {

class CTablePreview {
 public:
  ~CTablePreview();  // aborts and waits

  // The earlier preview must have finished. Table, data and list must stay until CPreviewThreadStatus is no
  // longer busy. False when the system gives no thread.
  bool Start(const CAccessTable& table, const CAccessData& data, CPreviewList& list);
  // After CPreviewThreadStatus has reported that it finished.
  void Join() { m_thread.Join(); }

 private:
  void Run();

  std::shared_ptr<CAccessTableDataFileParser> m_parser;
  CWorkerThread m_thread;
};

}  // namespace tolvane
