// The rows of the system table MSysComplexColumns: which flat table holds the values of which complex column.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

#include "model/AccessTable.h"
#include "model/MSysComplexColumnsData.h"
#include "store/DataFileReader.h"

namespace tolvane {

class CMSysComplexColumns {
 public:
  // Each complex column needs a flat table, and a database holds at most 32,768 objects.
  static constexpr size_t kMaximumRecords = 8 * 32'768;

  // `decoder` makes the texts where the data file does not hold them. Replaces the records by those of the
  // table's data file; an incomplete last row is dropped. A file that cannot be opened gives none. False when
  // there are too many: the first kMaximumRecords are kept, and GetProblem says so.
  bool Load(const SFilePart& records, CRecordDecoder* decoder = nullptr);
  [[nodiscard]] const std::u16string& GetProblem() const { return m_problem; }

  [[nodiscard]] size_t GetCount() const { return m_records.size(); }
  // Gives each record to the complex column with its id in the table that it names. Records that lead to no
  // such column are left out; of two records for one column the later one stays. Returns how many found their
  // column.
  size_t AttachTo(CAccessTableList& tables, uint32_t pageSize) const;

 private:
  std::vector<CMSysComplexColumnsData> m_records;
  std::u16string m_problem;
};

}  // namespace tolvane
