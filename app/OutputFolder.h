// A folder of new files on its way: written under a name of its own beside its place, which it takes when it
// is whole, and gone when it is not.
#pragma once

#include <string>

namespace tolvane {

class COutputFolder {
 public:
  COutputFolder() = default;
  ~COutputFolder();  // removes what was not completed
  COutputFolder(const COutputFolder&) = delete;
  COutputFolder& operator=(const COutputFolder&) = delete;

  // `path` without a separator at its end. Nothing is made yet: who writes makes the folder.
  void Reserve(std::u16string path);
  [[nodiscard]] const std::u16string& GetPartialPath() const { return m_partialPath; }
  // Gives the folder its name, if it was made. Into a folder that is there its files go one by one, in place
  // of those of the same names; others stay. False with the system's last error.
  bool Complete();
  void Discard();

 private:
  std::u16string m_path, m_partialPath;
};

}  // namespace tolvane
