#include "engine/RecordParser.h"

#include <algorithm>
#include <cstdint>
#include <limits>

#include "engine/TableWalk.h"
#include "platform/Text.h"

namespace tolvane {

namespace {

int32_t SumOfRowCounts(const CAccessTableList& tables) {
  uint64_t sum = 0;
  for (const auto& table : tables) sum += table->header.rowCount;
  return static_cast<int32_t>(std::min<uint64_t>(sum, std::numeric_limits<int32_t>::max()));
}

}  // namespace

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

  CProgressStatus& progress = m_job.progress;
  progress.SetMax(SumOfRowCounts(data.GetTables()));
  progress.SetPos(0);
  size_t pages = 0;
  for (const auto& table : data.GetTables()) pages += table->dataPages.GetCount();
  m_job.pages.SetPos(0);
  m_job.pages.SetMax(static_cast<int32_t>(std::min<size_t>(pages, std::numeric_limits<int32_t>::max())));
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
  progress.SetPos(progress.GetMax());
  m_job.Pause();
}

}  // namespace tolvane
