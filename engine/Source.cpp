#include "engine/Source.h"

#include "engine/AccessVersionHandler.h"
#include "engine/DataReader.h"
#include "engine/DatabaseStart.h"
#include "engine/HeaderMask.h"
#include "platform/CodePage.h"

namespace tolvane {

bool CSource::Open(const std::u16string& path, CErrorHandler& handler) {
  Close();
  m_path = path;
  if (!m_pages.Open(path, handler)) return false;
  m_pages.SetStart(FindDatabaseStart(m_pages));
  ReadHeader();
  UseLayout(CAccessVersionHandler().IsJet4(*this) ? kLayoutJet4 : kLayoutJet3);
  return true;
}

bool CSource::Open(const std::u16string& path) {
  CErrorHandler handler;
  return Open(path, handler);
}

void CSource::Close() {
  m_pages.Close();
  m_path.clear();
  m_header = {};
  UseLayout(kLayoutJet3);
}

void CSource::UseLayout(const SLayout& layout) {
  m_layout = &layout;
  m_freePages.reset();
  ReadFacts();
}

const CFreePageMap& CSource::GetFreePages() {
  if (!m_freePages) m_freePages.emplace().Load(m_pages, *m_layout);
  return *m_freePages;
}

void CSource::ReadHeader() {
  m_pages.ReadPartialPage(0, m_header);
  ApplyHeaderMask(std::span(m_header).subspan(kHeaderMasked));
}

void CSource::ReadFacts() {
  m_facts = {};
  m_facts.isJet3 = m_layout->isJet3;
  m_facts.pageSize = m_layout->pageSize;
  m_facts.versionByte = m_header[kHeaderVersion];
  m_facts.start = m_pages.GetStart();
  m_facts.length = m_pages.GetLength();
  m_facts.pageCount = GetPageCount();
  const uint32_t codePage = CDataReader::ReadUInt16(&m_header[kHeaderCodePage]);
  if (codePage != 0 && IsCodePageKnown(codePage)) m_facts.codePage = codePage;
}

}  // namespace tolvane
