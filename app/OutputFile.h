// The new database on its way: written under a name of its own beside the output, renamed when it is whole,
// and gone when it is not. What stood under the output's name before stays until then.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace tolvane {

// In front of the source's name: the output's, where the user names none.
inline constexpr std::u16string_view kOutputPrefix = u"Tolvane_";

// "Tolvane_NAME.EXT" beside the source. With an `ending` (".mdb", ".accdb"): instead of the source's own
// where that belongs to the other family, else behind it.
std::u16string DefaultOutputPath(std::u16string_view source, std::u16string_view ending = {});

// Where to write a file that gets the name `path` when it is whole: beside it, "NAME.tolvane-<run
// mark>.partial". Another one at each call.
std::u16string MakePartialPath(std::u16string_view path);
// Removes what runs that were killed left of the same file; answers the paths.
std::vector<std::u16string> RemoveStalePartials(std::u16string_view path);

enum class EOutputState : uint8_t {
  Ok,
  IsSource,
  IsTemplate,
  Folder,
  Device,
  NoName,
  Exists,       // and must not be replaced
  NoFolder,     // the folder for it does not exist
  NotWritable,  // no file can be made in its folder
  NotNamed,     // the system does not take its name, or not any more
};

// The reason is one sentence for the user; what to do about it is the front end's to say.
struct SOutputVerdict {
  EOutputState state = EOutputState::Ok;
  std::u16string reason;
};

struct SOutputRequest {
  std::u16string path;
  std::u16string source = {};        // never written over
  std::u16string templatePath = {};  // nor this; may be empty
  bool mayReplace = false;           // a file that is there
};

class COutputFile {
 public:
  COutputFile() = default;
  ~COutputFile();  // removes what was not completed
  COutputFile(const COutputFile&) = delete;
  COutputFile& operator=(const COutputFile&) = delete;

  // Refuses an output that must not or cannot be written, before any work is done; else makes the partial
  // file.
  SOutputVerdict Reserve(const SOutputRequest& request);
  [[nodiscard]] bool IsReserved() const { return !m_partialPath.empty(); }
  [[nodiscard]] const std::u16string& GetPath() const { return m_request.path; }
  // Where to write; empty before Reserve and after Complete and Discard.
  [[nodiscard]] const std::u16string& GetPartialPath() const { return m_partialPath; }
  // What Reserve removed because a run that was killed had left it.
  [[nodiscard]] const std::vector<std::u16string>& GetRemoved() const { return m_removed; }
  // Writes the whole file through to the disk and gives it its name.
  SOutputVerdict Complete();
  void Discard();

 private:
  [[nodiscard]] SOutputVerdict CheckPath() const;

  SOutputRequest m_request;
  std::u16string m_partialPath;
  std::vector<std::u16string> m_removed;
};

}  // namespace tolvane
