#include "app/TablePreview.h"

#include "status/JobContext.h"

namespace tolvane {

CTablePreview::~CTablePreview() {
  if (m_thread.IsWorking()) CPreviewThreadStatus::Instance().SetAbort(1);
}

bool CTablePreview::Start(const CAccessTable& table, const CAccessData& data, CPreviewList& list) {
  Join();
  m_parser = std::make_shared<CAccessTableDataFileParser>(data.GetRules(), ShownJob());
  m_parser->SetPreviewTarget(&table, &list);
  m_parser->SetPreviewTables(&data.GetTables(), data.source.pageSize);
  CPreviewThreadStatus::Instance().SetAbort(0);
  // Before the thread does so itself: whoever asks from now on must see a busy preview.
  CPreviewThreadStatus::Instance().SetFinished(0);
  if (m_thread.Start([this] { Run(); })) return true;
  m_parser.reset();
  CPreviewThreadStatus::Instance().SetFinished(1);
  return false;
}

void CTablePreview::Run() {
  CPreviewThreadStatus::Instance().SetFinished(0);
  // A preview that runs out of memory shows what it has.
  static_cast<void>(RunGuarded([this] { m_parser->FillPreview(); }));
  m_parser.reset();
  CPreviewThreadStatus::Instance().SetFinished(1);
}

}  // namespace tolvane
