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

  // Starts a file; one that is there becomes empty. False when it cannot be created; GetProblem tells why.
  bool Open(std::u16string_view path);
  bool Write(std::string_view text);
  // Writes what is buffered and closes the file.
  bool Close();
  // Why writing failed; empty while all went well.
  [[nodiscard]] const std::u16string& GetProblem() const { return m_problem; }

 private:
  bool Flush();

  CFileCust m_file;
  std::string m_buffer;
  std::u16string m_problem;
};

}  // namespace tolvane
