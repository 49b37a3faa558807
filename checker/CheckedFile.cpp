#include "checker/CheckedFile.h"

#include <algorithm>
#include <cstring>

#include "format/HeaderPage.h"
#include "platform/ErrorHandler.h"

namespace tolvane {
namespace {

constexpr size_t kCachedPages = 512;

}  // namespace

ECheckVerdict CCheckedFile::Open(std::u16string_view path, const SCheckedPlace& place) {
  if (!m_file.Open(path, EFileAccess::Read, EFileShare::ReadWrite, EFileCreation::OpenExisting))
    return ECheckVerdict::CannotOpen;
  m_place = place;
  const uint64_t end = std::min(m_file.GetLength(), place.end);
  m_length = end - std::min(end, place.start);
  m_header.resize(kLayoutJet4.pageSize);
  if (m_length < m_header.size()) m_header.resize(static_cast<size_t>(m_length));
  if (ReadAt(0, m_header) != m_header.size()) return ECheckVerdict::CannotOpen;
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

size_t CCheckedFile::ReadAt(uint64_t offset, std::span<uint8_t> bytes) {
  const uint64_t at = m_place.start + offset;
  if (m_place.isThere && !m_place.isThere(at, bytes.size())) return 0;
  CErrorHandler handler;
  const size_t count = m_file.ReadAt(at, bytes, handler);
  return handler.HasError() ? 0 : count;
}

bool CCheckedFile::Read(uint32_t page, std::span<uint8_t> bytes) {
  if (page >= m_pageCount) return false;
  SCachedPage& cached = m_cache[page % kCachedPages];
  if (cached.number != page) {
    cached.bytes.resize(m_layout->pageSize);
    cached.number = page;
    if (ReadAt(uint64_t{page} * m_layout->pageSize, cached.bytes) != cached.bytes.size()) {
      cached.number = 0xFFFFFFFF;
      return false;
    }
  }
  std::ranges::copy(cached.bytes, bytes.begin());
  return true;
}

bool CPageBuffer::Load(uint32_t page) {
  if (page == m_number) return true;
  m_number = m_file.Read(page, m_bytes) ? page : 0xFFFFFFFF;
  return m_number == page;
}

}  // namespace tolvane
