#include "embedded/DataPageWriter.h"

#include <vector>

namespace tolvane {

CDataPageWriter::CDataPageWriter(CPageFile& file, uint32_t owner, EPageUse use, CPageSet& owned,
                                 CPageSet& free)
    : m_file(file), m_owner(owner), m_use(use), m_owned(owned), m_free(free), m_page(file.GetLayout()) {}

CDaoResult CDataPageWriter::AddRow(size_t rowSize, std::span<uint8_t>& row, uint32_t& pointer) {
  if (m_number == 0 || !m_page.HasRoomFor(rowSize))
    if (CDaoResult result = OpenPage(rowSize); !result.IsOk()) return result;
  pointer = MakeRowPointer(m_number, m_page.GetRowCount());
  row = m_page.AddRow(rowSize);
  m_rows++;
  m_rowBytes += rowSize;
  return CDaoResult::Ok();
}

CDaoResult CDataPageWriter::OpenPage(size_t rowSize) {
  if (m_mayResume) {
    m_mayResume = false;
    bool resumed = false;
    if (CDaoResult result = ResumePage(rowSize, resumed); !result.IsOk() || resumed) return result;
  }
  // The new page comes first: when there is none, the open page stays in use for shorter rows.
  uint32_t page = 0;
  if (CDaoResult result = m_file.Allocate(m_use, page); !result.IsOk()) return result;
  if (CDaoResult result = Flush(); !result.IsOk()) return result;
  m_owned.Add(page);
  m_page.Start(m_owner);
  m_number = page;
  return CDaoResult::Ok();
}

// The owner's last page with free space, left there by an earlier session.
CDaoResult CDataPageWriter::ResumePage(size_t rowSize, bool& resumed) {
  const uint32_t last = m_free.GetLast();
  if (last == CPageSet::kNone || !m_owned.Contains(last)) return CDaoResult::Ok();
  std::vector<uint8_t> bytes(m_file.GetLayout().pageSize);
  if (CDaoResult result = m_file.Read(last, bytes); !result.IsOk()) return result;
  resumed = m_page.Load(bytes) && m_page.GetOwner() == m_owner && m_page.HasRoomFor(rowSize);
  if (resumed) m_number = last;
  return CDaoResult::Ok();
}

CDaoResult CDataPageWriter::Flush() {
  if (m_number == 0) return CDaoResult::Ok();
  if (m_page.HasRoomFor(GetAverageRow()))
    m_free.Add(m_number);
  else
    m_free.Remove(m_number);
  const std::span<const uint8_t> page = m_page.Finish();
  if (m_observer) m_observer(m_number, page);
  return m_file.Write(m_number, page);
}

CDaoResult CDataPageWriter::Close() {
  CDaoResult result = Flush();
  m_number = 0;
  m_mayResume = true;
  return result;
}

}  // namespace tolvane
