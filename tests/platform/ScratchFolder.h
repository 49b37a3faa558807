// A folder of one test's own, removed with all it holds when the test ends; and what the tests must know of
// the system.
#pragma once

#include <gtest/gtest.h>

#include <cstdint>
#include <string>
#include <vector>

#include "platform/ErrorHandler.h"
#include "platform/FileCust.h"
#include "platform/Files.h"
#include "platform/Process.h"
#include "platform/Text.h"

namespace tolvane {

inline bool IsOnWindows() {
  return kPathSeparator == u'\\';
}

class CScratchFolder {
 public:
  CScratchFolder() : m_path(GetTempFolder() + u"tolvane-test-") {
    for (const uint8_t byte : MakeGuid().bytes) m_path += ToDecimal(byte);
    EXPECT_TRUE(CreateFolder(m_path)) << ToUtf8(m_path);
  }
  ~CScratchFolder() { EXPECT_TRUE(RemoveFolderTree(m_path)) << ToUtf8(SystemMessage(LastSystemError())); }
  CScratchFolder(const CScratchFolder&) = delete;
  CScratchFolder& operator=(const CScratchFolder&) = delete;

  [[nodiscard]] std::u16string operator/(std::u16string_view name) const {
    return m_path + kPathSeparator + std::u16string(name);
  }
  [[nodiscard]] const std::u16string& GetPath() const { return m_path; }

 private:
  std::u16string m_path;
};

inline std::vector<uint8_t> BytesOf(std::string_view text) {
  return {text.begin(), text.end()};
}

inline void WriteText(const std::u16string& path, std::string_view text) {
  CFileCust file;
  ASSERT_TRUE(file.Open(path, EFileAccess::Write, EFileShare::Read, EFileCreation::CreateAlways));
  file.Write(BytesOf(text));
}

inline std::string ReadText(const std::u16string& path) {
  CFileCust file;
  if (!file.Open(path, EFileAccess::Read, EFileShare::ReadWrite, EFileCreation::OpenExisting))
    return "<missing>";
  std::string text(static_cast<size_t>(file.GetLength()), '\0');
  CErrorHandler handler;
  text.resize(file.Read({reinterpret_cast<uint8_t*>(text.data()), text.size()}, handler));
  return handler.HasError() ? "<unreadable>" : text;
}

}  // namespace tolvane
