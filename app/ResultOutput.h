// What leaves the result besides the repaired database: exported tables, the report, the bytes of one value.
// One piece of work at a time, on a thread of its own; the result must stay until it has ended. Main thread
// only, but for the worker.
#pragma once

#include <cstdint>
#include <functional>
#include <string>
#include <string_view>
#include <vector>

#include "app/ExportChoice.h"
#include "app/FrontEnd.h"
#include "app/Job.h"
#include "app/OutputFile.h"
#include "app/WorkerThread.h"
#include "dao/dao.h"
#include "store/ObjectPlace.h"

namespace tolvane {

inline constexpr uint32_t kOutputTimer = 61464;
inline constexpr uint32_t kOutputTimerPeriod = 200;  // milliseconds

// The bytes of an OLE object or of an attached file, and what it is to be called.
struct SSavedObject {
  SObjectPlace place;
  std::u16string name;
  bool isAttachment = false;
};

class CResultOutput {
 public:
  // `onChange` is called when work begins and when it has ended. All outlive this object. `version` is the
  // program's, for reports.
  CResultOutput(CDialogs& dialogs, CMainFrameWindow& frame, std::string_view version,
                std::function<void()> onChange);
  ~CResultOutput() { Abort(); }

  // Asks before it replaces anything.
  void ExportTables(const COvRepairFileManager& manager, const SExportChoice& choice);
  // Asks for the file. With what was saved, when that was done.
  void SaveReport(const CJob& job);
  // Asks for the file; of several, for a folder.
  void SaveObjects(std::vector<SSavedObject> objects);

  [[nodiscard]] bool IsWorking() const { return m_isWorking; }
  void OnTimer();
  // Asks the work to leave; the timer tells when it has.
  void Stop() { m_context.Stop(); }
  // Waits for it and says nothing.
  void Abort();

 private:
  // How the work ended, for the user.
  struct SEnd {
    std::u16string text;
    bool isWarning = false;  // a message to be answered, not a line to be overlooked
  };
  using Work = std::function<SEnd()>;

  void Begin(std::u16string_view notice, Work work);
  [[nodiscard]] bool MayReplace(const COvRepairFileManager& manager, const SFileExportTask& task,
                                const SExportChoice& choice);
  SEnd ExportFiles(const CAccessData& data, const SFileExportTask& task);
  SEnd ExportDatabase(const CAccessData& data, const SFileExportTask& task);
  SEnd WriteReport(const CJob& job, const std::u16string& path);
  SEnd WriteObjects(const std::vector<SSavedObject>& objects, const std::vector<std::u16string>& paths);
  // Empty when the object is there.
  std::u16string WriteObject(CDaoByteSource& bytes, COutputFile& output);
  [[nodiscard]] bool IsStopped() const { return !m_context.repairing.IsRunning(); }

  CDialogs& m_dialogs;
  CMainFrameWindow& m_frame;
  std::string m_version;
  std::function<void()> m_onChange;
  CJobContext m_context;
  SEnd m_end;
  bool m_isWorking = false;
  CWorkerThread m_thread;  // last, so that it ends before what it works on
};

}  // namespace tolvane
