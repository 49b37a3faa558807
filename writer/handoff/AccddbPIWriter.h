// Writes the parsed-information file:
//
//   database record            4092 bytes
//   u32  number of tables, then 1016 zero bytes
//   one record per table, each as long as its first four bytes say
#pragma once

#include <string>
#include <string_view>

#include "platform/FileCust.h"
#include "writer/handoff/AccdbParsedInfo.h"

namespace tolvane {

class CAccddbPIWriter {
 public:
  // Empties an existing file. False on failure; nothing is thrown here or below, GetProblem tells why.
  bool Open(std::u16string_view path);
  // False, and nothing is written, when a text does not fit its place in the format: the reader would take it
  // for something else. False as well when the disk fails; the file is then incomplete.
  bool Write(const CAccdbParsedInfo& parsedInfo);
  void Close() { m_file.Close(); }

  // One sentence for the user, which names the table or the file.
  [[nodiscard]] const std::u16string& GetProblem() const { return m_problem; }

 private:
  CFileCust m_file;
  std::u16string m_problem;
};

}  // namespace tolvane
