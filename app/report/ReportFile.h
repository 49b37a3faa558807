// A report on its way to disk: written beside its place, renamed when it is whole.
#pragma once

#include <string>
#include <string_view>

#include "app/OutputFile.h"

namespace tolvane {

class CReportFile {
 public:
  // Before any work is done: refuses a place that must not or cannot be written.
  SOutputVerdict Reserve(const SOutputRequest& request) { return m_output.Reserve(request); }
  [[nodiscard]] bool IsReserved() const { return m_output.IsReserved(); }
  [[nodiscard]] const std::u16string& GetPath() const { return m_output.GetPath(); }
  // Never over `database`, which may have been written since. When it cannot be written nothing is left.
  SOutputVerdict Write(std::string_view page, const std::u16string& database);
  void Discard() { m_output.Discard(); }

 private:
  COutputFile m_output;
};

}  // namespace tolvane
