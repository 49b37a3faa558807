// What is the same on every system: the arithmetic of seeking and the reporting of errors.
#include "platform/FileCust.h"

#include "platform/ErrorHandler.h"

namespace tolvane {

bool CFileCust::IsOpen() const {
  return m_handle != nullptr;
}

bool CFileCust::IsAtEnd() {
  return GetPosition() >= GetLength();
}

uint64_t CFileCust::Seek(uint64_t offset, ESeekOrigin origin, ESeekDirection direction,
                         CErrorHandler& handler) {
  uint64_t position = 0;
  const bool isForward = direction == ESeekDirection::Forward;
  const bool isKnown = isForward || direction == ESeekDirection::Backward;
  if (origin == ESeekOrigin::Begin) {
    position = offset;
  } else if (isKnown && (origin == ESeekOrigin::Current || origin == ESeekOrigin::End)) {
    const uint64_t base = origin == ESeekOrigin::Current ? GetPosition() : GetLength();
    position = isForward ? base + offset : base - offset;
  }
  if (!SetPosition(position)) {
    handler.ReportError(SystemMessage(m_lastError), 1);
    return GetPosition();
  }
  return position;
}

size_t CFileCust::ReadAt(uint64_t offset, std::span<uint8_t> buffer) {
  CErrorHandler handler;
  return ReadAt(offset, buffer, handler);
}

void CFileCust::Report(uint32_t error, CErrorHandler& handler) {
  m_lastError = error;
  handler.ReportError(SystemMessage(error), 1);
}

void CFileCust::Throw(uint32_t error) {
  m_lastError = error;
  throw CFileCustException(error);
}

std::u16string WriteWholeFile(std::u16string_view path, EFileShare share, EFileCreation creation,
                              std::span<const uint8_t> bytes) {
  CFileCust file;
  if (!file.Open(path, EFileAccess::Write, share, creation)) return SystemMessage(file.GetLastErrorCode());
  try {
    file.Write(bytes);
    return {};
  } catch (const CFileCustException& error) {
    return error.GetMessageText();
  }
}

}  // namespace tolvane
