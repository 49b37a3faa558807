#include "embedded/PageFile.h"

#include <algorithm>
#include <utility>

#include "platform/ErrorHandler.h"

namespace tolvane {
namespace {

constexpr uint32_t kWindowPages = 256;
// Enough for the catalogue, maps of pages and definitions that closing writes.
constexpr uint32_t kMaxReservedPages = 1024;

std::u16string WithReason(std::u16string_view what, uint32_t systemError) {
  std::u16string text(what);
  if (systemError != kNoSystemError) text.append(u" ").append(SystemMessage(systemError));
  return text;
}

}  // namespace

CPageFile::CPageFile(const SLayout& layout, uint32_t maxPages)
    : m_layout(layout),
      m_maxPages(maxPages),
      m_reservedPages(std::min(kMaxReservedPages, maxPages / 8)),
      m_window(size_t{kWindowPages} * layout.pageSize),
      m_inWindow(kWindowPages) {}

CDaoResult CPageFile::Create(std::u16string_view path) {
  if (!m_file.Open(path, EFileAccess::ReadWrite, EFileShare::Read, EFileCreation::CreateNew))
    return Fail(EDaoError::CannotOpenFile,
                WithReason(u"The database file could not be created.", m_file.GetLastErrorCode()));
  m_pageCount = kFirstFreePage;
  return CDaoResult::Ok();
}

CDaoResult CPageFile::Open(std::u16string_view path, EFileAccess access) {
  m_isReadOnly = access == EFileAccess::Read;
  if (!m_file.Open(path, access, EFileShare::Read, EFileCreation::OpenExisting))
    return Fail(EDaoError::CannotOpenFile,
                WithReason(u"The database file could not be opened.", m_file.GetLastErrorCode()));
  const uint64_t length = m_file.GetLength();
  const uint64_t pages = length / m_layout.pageSize;
  if (length % m_layout.pageSize != 0 || pages < kFirstFreePage || pages > m_maxPages)
    return Fail(EDaoError::NotADatabase, u"The file's length is not that of a database.");
  m_pageCount = static_cast<uint32_t>(pages);
  return CDaoResult::Ok();
}

CDaoResult CPageFile::Close() {
  CDaoResult result = Flush();
  if (result.IsOk() && !m_isReadOnly) {
    const uint64_t length = uint64_t{m_pageCount} * m_layout.pageSize;
    if (m_file.GetLength() != length && !m_file.Truncate(length))
      result = Fail(EDaoError::DiskError,
                    WithReason(u"The database file could not be completed.", m_file.GetLastErrorCode()));
    else if (!m_file.Flush())
      result = Fail(EDaoError::DiskError,
                    WithReason(u"The database file could not be written.", m_file.GetLastErrorCode()));
  }
  m_file.Close();
  if (m_error.IsOk()) m_error = {EDaoError::CannotOpenFile, u"The database is closed."};
  return result;
}

CDaoResult CPageFile::Flush() {
  if (!m_error.IsOk()) return m_error;
  return FlushWindow();
}

CDaoResult CPageFile::Allocate(EPageUse use, uint32_t& page) {
  if (!m_error.IsOk()) return m_error;
  if (!m_free.IsEmpty()) {
    page = m_free.GetFirst();
    m_free.Remove(page);
  } else {
    const uint32_t limit = use == EPageUse::Structure ? m_maxPages : m_maxPages - m_reservedPages;
    if (m_pageCount >= limit)
      return {EDaoError::DatabaseTooLarge,
              u"The database has reached the largest size that its format allows."};
    page = m_pageCount++;
  }
  if (m_recorder != nullptr) m_recorder->Add(page);
  return CDaoResult::Ok();
}

void CPageFile::Release(uint32_t page) {
  if (page < m_pageCount) m_free.Add(page);
}

bool CPageFile::IsInWindow(uint32_t page) const {
  return page >= m_windowFirst && page - m_windowFirst < kWindowPages;
}

std::span<uint8_t> CPageFile::WindowPage(uint32_t page) {
  return std::span(m_window).subspan(size_t{page - m_windowFirst} * m_layout.pageSize, m_layout.pageSize);
}

CDaoResult CPageFile::Write(uint32_t page, std::span<const uint8_t> bytes) {
  if (!m_error.IsOk()) return m_error;
  if (page < m_windowFirst) return WriteOut(uint64_t{page} * m_layout.pageSize, bytes);
  if (!IsInWindow(page)) {
    if (CDaoResult result = FlushWindow(); !result.IsOk()) return result;
    m_windowFirst = page;
  }
  std::ranges::copy(bytes, WindowPage(page).begin());
  m_inWindow[page - m_windowFirst] = true;
  return CDaoResult::Ok();
}

CDaoResult CPageFile::Read(uint32_t page, std::span<uint8_t> bytes) {
  if (!m_error.IsOk()) return m_error;
  if (IsInWindow(page) && m_inWindow[page - m_windowFirst]) {
    const std::span<const uint8_t> from = WindowPage(page);
    std::ranges::copy(from, bytes.begin());
    return CDaoResult::Ok();
  }
  CErrorHandler handler;
  const size_t got = m_file.ReadAt(uint64_t{page} * m_layout.pageSize, bytes, handler);
  if (handler.HasError())
    return Fail(EDaoError::DiskError,
                std::u16string(u"The database file could not be read. ").append(handler.GetMessageText()));
  std::fill(bytes.begin() + static_cast<std::ptrdiff_t>(got), bytes.end(), uint8_t{0});
  return CDaoResult::Ok();
}

CDaoResult CPageFile::FlushWindow() {
  const size_t pageSize = m_layout.pageSize;
  for (size_t first = 0; first < kWindowPages;) {
    if (!m_inWindow[first]) {
      first++;
      continue;
    }
    size_t end = first;
    while (end < kWindowPages && m_inWindow[end]) m_inWindow[end++] = false;
    const uint64_t offset = (uint64_t{m_windowFirst} + first) * pageSize;
    CDaoResult result =
        WriteOut(offset, std::span(m_window).subspan(first * pageSize, (end - first) * pageSize));
    if (!result.IsOk()) return result;
    first = end;
  }
  return CDaoResult::Ok();
}

CDaoResult CPageFile::WriteOut(uint64_t offset, std::span<const uint8_t> bytes) {
  try {
    m_file.WriteAt(offset, bytes);
  } catch (const CFileCustException& error) {
    return FailWrite(error);
  }
  return CDaoResult::Ok();
}

CDaoResult CPageFile::FailWrite(const CFileCustException& error) {
  if (error.GetCode() == kDiskFullError)
    return Fail(EDaoError::DiskFull, WithReason(u"The disk is full.", error.GetCode()));
  return Fail(EDaoError::DiskError, WithReason(u"The database file could not be written.", error.GetCode()));
}

CDaoResult CPageFile::Fail(EDaoError code, std::u16string text) {
  m_error = {code, std::move(text)};
  return m_error;
}

}  // namespace tolvane
