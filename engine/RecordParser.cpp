#include "engine/RecordParser.h"

#include <cstdint>

#include "engine/TableWalk.h"
#include "platform/Text.h"

namespace tolvane {

void CRecordParser::ShowTable(uint64_t position, uint64_t count) const {
  std::u16string text = u"(Step 3/4) Parsing table records from raw table data: table - ";
  text += ToDecimal(position);
  text += u" / ";
  text += ToDecimal(count);
  m_job.status.SetText(std::move(text));
}

void CRecordParser::ParseRecords(CAccessData& data, CSource& source, CPageClaims& claims,
                                 CIndexWitness* witness) const {
  if (!source.IsOpen() || source.GetPages().GetLength() == 0) return;

  uint64_t rows = 0, pages = 0;
  for (const auto& table : data.GetTables()) {
    rows += table->header.rowCount;
    pages += table->dataPages.GetCount();
  }
  m_job.progress.Begin(rows);
  m_job.pages.Begin(pages);
  CTableWalk walk(source, m_rules, m_job, data, claims, witness);
  if (!claims.GetLongValuePages().IsEmpty())
    for (const auto& table : data.GetTables())
      if (!walk.NoteLongValues(*table)) return;
  uint64_t position = 0;
  for (const auto& table : data.GetTables()) {
    if (!m_job.repairing.IsRunning()) return;
    ShowTable(++position, data.GetTables().GetCount());
    if (!walk.ParseTable(*table)) return;
  }
  m_job.progress.SetPos(m_job.progress.GetMax());
  m_job.Pause();
}

}  // namespace tolvane
