// The files that were repaired last, newest first. Main thread only.
#pragma once

#include <cstddef>
#include <functional>
#include <string>
#include <string_view>
#include <vector>

namespace tolvane {

// Where the list is kept between two runs of the program.
class CRecentFileStore {
 public:
  virtual ~CRecentFileStore() = default;
  virtual std::vector<std::u16string> Load() = 0;
  virtual void Save(const std::vector<std::u16string>& paths) = 0;
};

class CRecentFiles {
 public:
  static constexpr size_t kMaximum = 4;

  // The store is not owned and must outlive the list.
  explicit CRecentFiles(CRecentFileStore& store) : m_store(store) {}

  void Load();
  // To the front, whatever the case in which it was there; the list is saved.
  void Add(std::u16string_view path);
  // A file that is gone; the list is saved.
  void Remove(std::u16string_view path);
  [[nodiscard]] const std::vector<std::u16string>& Get() const { return m_paths; }

 private:
  void Erase(std::u16string_view path);

  CRecentFileStore& m_store;
  std::vector<std::u16string> m_paths;
};

// The path, or where it does not fit with "..." in the middle of its folder; the file's name stays whole.
std::u16string ShortenPath(std::u16string_view path, const std::function<bool(std::u16string_view)>& fits);

}  // namespace tolvane
