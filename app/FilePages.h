// The pages of the damaged file for the map beside the summary: what each is, looked at on a thread of its
// own while the user reads the result. Main thread only, but for that thread.
#pragma once

#include <cstdint>
#include <optional>
#include <string>

#include "app/WorkerThread.h"
#include "app/report/Examination.h"
#include "model/AccessData.h"
#include "status/JobContext.h"

namespace tolvane {

class CFilePages {
 public:
  ~CFilePages() { Stop(); }

  // The result of the file's repair; it must stay until Stop. Reads the file twice.
  void Start(const CAccessData& data, const std::u16string& path);
  // Ends the thread and forgets what it has found.
  void Stop();
  [[nodiscard]] bool IsWorking() const { return m_thread.IsWorking(); }

  // Of the pages in their order; null until they are all known, and where they cannot be read.
  [[nodiscard]] const CPageBlocks* GetBlocks() const;
  // The map in words: how many pages there are of each look.
  [[nodiscard]] std::u16string DescribeAll() const;
  // One block of the map, which shows that look: its pages, and of a single page the table that it belongs to
  // and what is wrong with it. Reads that page.
  [[nodiscard]] std::u16string Describe(uint64_t firstPage, uint64_t pages, EPageLook look) const;

 private:
  void Inspect();
  [[nodiscard]] std::u16string FindTableOf(uint64_t page) const;
  [[nodiscard]] const SPageReport* FindReport(uint64_t page) const;

  const CAccessData* m_data = nullptr;
  std::u16string m_path;
  CJobContext m_context;
  std::optional<SExamination> m_examination;
  CWorkerThread m_thread;  // last, so that it ends before what it works on
};

}  // namespace tolvane
