#include "platform/Wide_win.h"

#include <windows.h>

#include "platform/Files.h"

namespace tolvane {

namespace {

static_assert(sizeof(wchar_t) == sizeof(char16_t));

// Folders must leave room for a short file name, so their limit is the lower one.
constexpr size_t kShortPath = MAX_PATH - 12;
constexpr std::wstring_view kPrefix = L"\\\\?\\";
constexpr std::wstring_view kDevicePrefix = L"\\\\.\\";
constexpr std::wstring_view kSharePrefix = L"\\\\?\\UNC";

}  // namespace

std::wstring ToWide(std::u16string_view text) {
  return {text.begin(), text.end()};
}
std::u16string FromWide(std::wstring_view text) {
  return {text.begin(), text.end()};
}

std::wstring SystemPath(std::u16string_view path, ELongPrefix prefix) {
  if (path.find(u'\0') != std::u16string_view::npos) return {};
  std::wstring given = ToWide(path);
  if (given.empty() || given.starts_with(kPrefix) || given.starts_with(kDevicePrefix)) return given;
  // A short relative path may still be a long absolute one. This also turns slashes, which the prefix
  // forbids.
  const std::wstring absolute = ToWide(GetAbsolutePath(path));
  if (prefix == ELongPrefix::WhenNeeded && absolute.size() < kShortPath) return given;
  if (absolute.starts_with(kPrefix) || absolute.starts_with(kDevicePrefix)) return absolute;
  if (absolute.starts_with(L"\\\\")) return std::wstring(kSharePrefix) + absolute.substr(1);
  return std::wstring(kPrefix) + absolute;
}

}  // namespace tolvane
