#include "app/report/ReportFile.h"

#include <cstdint>
#include <span>

#include "platform/FileCust.h"
#include "platform/Files.h"

namespace tolvane {

SOutputVerdict CReportFile::Write(std::string_view page, const std::u16string& database) {
  if (!database.empty() && IsSameFile(GetPath(), database)) {
    m_output.Discard();
    return {EOutputState::Exists, u"The report would replace the new database."};
  }
  try {
    CFileCust file;
    if (!file.Open(m_output.GetPartialPath(), EFileAccess::Write, EFileShare::None,
                   EFileCreation::OpenExisting)) {
      const std::u16string reason = SystemMessage(file.GetLastErrorCode());
      m_output.Discard();
      return {EOutputState::NotWritable, u"The report cannot be written: " + reason + u"."};
    }
    file.Write(std::span(reinterpret_cast<const uint8_t*>(page.data()), page.size()));
    file.Close();
  } catch (const CFileCustException& error) {
    m_output.Discard();
    return {EOutputState::NotWritable, u"The report cannot be written: " + error.GetMessageText() + u"."};
  }
  const SOutputVerdict verdict = m_output.Complete();
  if (verdict.state != EOutputState::Ok) m_output.Discard();
  return verdict;
}

}  // namespace tolvane
