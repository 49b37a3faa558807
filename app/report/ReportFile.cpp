#include "app/report/ReportFile.h"

#include <cstdint>

#include "platform/FileCust.h"
#include "platform/Files.h"

namespace tolvane {

SOutputVerdict CReportFile::Write(std::string_view page, const std::u16string& database) {
  if (!database.empty() && IsSameFile(GetPath(), database)) {
    m_output.Discard();
    return {EOutputState::Exists, u"The report would replace the new database."};
  }
  const std::u16string problem =
      WriteWholeFile(m_output.GetPartialPath(), EFileShare::None, EFileCreation::OpenExisting,
                     {reinterpret_cast<const uint8_t*>(page.data()), page.size()});
  if (!problem.empty()) {
    m_output.Discard();
    return {EOutputState::NotWritable, u"The report cannot be written: " + problem + u"."};
  }
  const SOutputVerdict verdict = m_output.Complete();
  if (verdict.state != EOutputState::Ok) m_output.Discard();
  return verdict;
}

}  // namespace tolvane
