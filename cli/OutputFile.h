// The new database on its way: written under a name of its own beside the output, renamed when it is whole,
// and gone when it is not.
#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "cli/CommandArguments.h"
#include "cli/ExitStatus.h"

namespace tolvane {

// "Tolvane_NAME.EXT" beside the source.
std::u16string DefaultOutputPath(std::u16string_view source);

// Where to write a file that gets the name `path` when it is whole: beside it, "NAME.tolvane-<run
// mark>.partial". Another one at each call.
std::u16string MakePartialPath(std::u16string_view path);
// Removes what runs that were killed left of the same file; answers the paths.
std::vector<std::u16string> RemoveStalePartials(std::u16string_view path);

class COutputFile {
 public:
  COutputFile() = default;
  ~COutputFile();  // removes what was not completed
  COutputFile(const COutputFile&) = delete;
  COutputFile& operator=(const COutputFile&) = delete;

  // Refuses an output that must not or cannot be written, before any work is done.
  std::optional<SFailure> Prepare(const SArguments& arguments);
  [[nodiscard]] const std::u16string& GetPath() const { return m_path; }
  // Where to write.
  [[nodiscard]] const std::u16string& GetPartialPath() const { return m_partialPath; }
  // What Prepare removed because a run that was killed had left it.
  [[nodiscard]] const std::vector<std::u16string>& GetRemoved() const { return m_removed; }
  // Gives the whole file its name.
  std::optional<SFailure> Complete();

 private:
  [[nodiscard]] std::optional<SFailure> CheckPath(const SArguments& arguments) const;
  std::optional<SFailure> ReservePartial();

  std::u16string m_path;
  std::u16string m_partialPath;  // empty while there is none
  std::vector<std::u16string> m_removed;
  bool m_mayOverwrite = false;
};

}  // namespace tolvane
