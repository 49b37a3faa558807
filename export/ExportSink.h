// Where exported text goes: standard output or a file. Buffered; a write that fails makes all later ones
// fail.
#pragma once

#include <string>
#include <string_view>

#include "platform/FileCust.h"

namespace tolvane {

class CExportSink {
 public:
  // Standard output until a file is created.
  CExportSink() = default;

  // Starts a new file. False when it cannot be created; GetProblem tells why.
  bool CreateNew(std::u16string_view path);
  bool Write(std::string_view text);
  // The same for a file that is there and becomes empty.
  bool Open(std::u16string_view path);
  // Writes what is buffered and closes the file.
  bool Close();
  // Why writing failed; empty while all went well.
  [[nodiscard]] const std::u16string& GetProblem() const { return m_problem; }

 private:
  bool Open(std::u16string_view path, EFileCreation creation);
  bool Flush();

  CFileCust m_file;
  std::string m_buffer;
  std::u16string m_problem;
};

}  // namespace tolvane
