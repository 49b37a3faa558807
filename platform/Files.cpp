// The parts of a path are told apart alike on every system but for the separators.
#include "platform/Files.h"

namespace tolvane {

namespace {

bool IsSeparator(char16_t c) {
  return c == u'/' || c == kPathSeparator;
}

// How much of `path` is its folder.
size_t FolderLength(std::u16string_view path) {
  size_t length = path.size();
  while (length > 0 && !IsSeparator(path[length - 1])) length--;
  const bool hasDrives = kPathSeparator == u'\\';
  return length == 0 && hasDrives && path.size() > 1 && path[1] == u':' ? 2 : length;
}

}  // namespace

std::u16string_view FileNameOf(std::u16string_view path) {
  return path.substr(FolderLength(path));
}

std::u16string_view FolderOf(std::u16string_view path) {
  return path.substr(0, FolderLength(path));
}

std::u16string_view ExtensionOf(std::u16string_view path) {
  const std::u16string_view name = FileNameOf(path);
  const size_t dot = name.rfind(u'.');
  // A dot in front makes a hidden file, not an extension.
  return dot == std::u16string_view::npos || dot == 0 ? std::u16string_view{} : name.substr(dot + 1);
}

std::vector<std::u16string> ListFolder(std::u16string_view path) {
  std::vector<std::u16string> names;
  ReadFolder(path, names);
  return names;
}

bool FileExists(std::u16string_view path) {
  return GetFileKind(path) != EFileKind::Missing;
}

}  // namespace tolvane
