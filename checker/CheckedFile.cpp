#include "checker/CheckedFile.h"

#include <algorithm>
#include <cstring>

#include "format/HeaderPage.h"
#include "platform/ErrorHandler.h"

namespace tolvane {
namespace {

constexpr size_t kCachedPages = 512;

}  // namespace

ECheckVerdict CCheckedFile::Open(std::u16string_view path) {
  if (!m_file.Open(path, EFileAccess::Read, EFileShare::ReadWrite, EFileCreation::OpenExisting))
    return ECheckVerdict::CannotOpen;
  m_length = m_file.GetLength();
  m_header.resize(kLayoutJet4.pageSize);
  CErrorHandler handler;
  m_header.resize(m_file.ReadAt(0, m_header, handler));
  if (handler.HasError()) return ECheckVerdict::CannotOpen;
  if (!RecogniseHeader()) return ECheckVerdict::NotADatabase;
  m_pageCount = static_cast<uint32_t>(std::min(m_length, kMaxFileLength) / m_layout->pageSize);
  m_cache.resize(kCachedPages);
  return IsHeaderEncrypted(m_header) ? ECheckVerdict::Encrypted : ECheckVerdict::Checked;
}

bool CCheckedFile::RecogniseHeader() {
  if (m_header.size() < kLayoutJet3.pageSize) return false;
  const char* name = reinterpret_cast<const char*>(&m_header[kHeaderName]);
  const auto isNamed = [&](std::string_view expected) {
    return std::memcmp(name, expected.data(), expected.size()) == 0;
  };
  if (!isNamed(kEngineNameJet) && !isNamed(kEngineNameAce)) return false;
  const uint8_t version = m_header[kHeaderVersion];
  m_layout = version == kVersionJet3 ? &kLayoutJet3 : &kLayoutJet4;
  m_version = version == kVersionJet3   ? EIndexVersion::Jet3
              : version == kVersionJet4 ? EIndexVersion::Jet4
                                        : EIndexVersion::Ace;
  if (m_header.size() < m_layout->pageSize) return false;
  m_header.resize(m_layout->pageSize);
  MaskHeader(m_layout->header, m_header);
  return true;
}

bool CCheckedFile::Read(uint32_t page, std::span<uint8_t> bytes) {
  if (page >= m_pageCount) return false;
  SCachedPage& cached = m_cache[page % kCachedPages];
  if (cached.number != page) {
    cached.bytes.resize(m_layout->pageSize);
    cached.number = page;
    CErrorHandler handler;
    const uint64_t offset = uint64_t{page} * m_layout->pageSize;
    if (m_file.ReadAt(offset, cached.bytes, handler) != cached.bytes.size() || handler.HasError()) {
      cached.number = 0xFFFFFFFF;
      return false;
    }
  }
  std::copy(cached.bytes.begin(), cached.bytes.end(), bytes.begin());
  return true;
}

bool CPageBuffer::Load(uint32_t page) {
  if (page == m_number) return true;
  m_number = m_file.Read(page, m_bytes) ? page : 0xFFFFFFFF;
  return m_number == page;
}

}  // namespace tolvane
