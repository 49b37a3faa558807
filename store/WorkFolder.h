// Where temporary files live. The front end decides once, before the first repair.
#pragma once

#include <string>
#include <string_view>

namespace tolvane {

// Process-wide, with its separator at the end. Until SetWorkFolder is called: the folder "TolvaneforAccess"
// beside the program. Thread-safe.
std::u16string GetWorkFolder();
// Makes the work folder again if it has vanished, as a folder cleaner may have it; what it held is gone. A
// folder that cannot be made shows when a file is created in it.
void RestoreWorkFolder();
// An empty text brings the first folder back.
void SetWorkFolder(std::u16string_view folder);

// A folder of its own under `baseFolder` for one run of the program, removed by the destructor. Its name is
// "run-" and a run mark (RunMark.h), which tells a later run whether it is stale.
class CRunFolder {
 public:
  CRunFolder() = default;
  CRunFolder(const CRunFolder&) = delete;
  CRunFolder& operator=(const CRunFolder&) = delete;
  ~CRunFolder();

  // Creates the folder and makes it the work folder. With an empty `baseFolder`: in "TolvaneforAccess" beside
  // the program, in "TolvaneforAccess" in the user's cache folder, in TMPDIR or in the system's folder for
  // temporary files (there under a name that begins with "TolvaneforAccess-"), the first of them that can be
  // written. False when no folder could be created or written; GetProblem then names the folder that was
  // tried last and the system's reason.
  bool Create(std::u16string_view baseFolder);
  // Removes folders of runs whose process has ended; with an empty `baseFolder` those under all places where
  // Create would look. Touches nothing that is not named like a run's folder and follows no links.
  static void RemoveStale(std::u16string_view baseFolder);
  // Also when Create failed or was never called.
  void Remove();
  // With its separator at the end; empty until Create succeeds.
  [[nodiscard]] const std::u16string& GetPath() const { return m_path; }
  [[nodiscard]] const std::u16string& GetProblem() const { return m_problem; }

 private:
  bool CreateUnder(std::u16string_view basePath);

  std::u16string m_path;
  std::u16string m_problem;
};

}  // namespace tolvane
