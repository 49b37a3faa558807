#include "writer/AttachmentSource.h"

#include <array>

#include "format/Bytes.h"

namespace tolvane {
namespace {

constexpr size_t kStoredHead = 8, kFileHead = 12;
constexpr uint32_t kRaw = 0, kCompressed = 1, kFileMark = 1;
constexpr uint32_t kLongestExtension = 1024;  // characters
constexpr size_t kPiece = size_t{1} << 14;

}  // namespace

bool CAttachmentSource::Open(const SObjectPlace& place) {
  m_isDamaged = false;
  if (!Begin(place)) return false;
  if (m_form == EForm::Plain || !PassHead()) {
    m_isDamaged = m_form == EForm::Compressed;
    m_form = EForm::Plain;
    m_inflater.reset();
    if (!GetProblem().empty() || !m_stored.Open(place)) return false;
    m_length = m_stored.GetLength();
    return true;
  }
  return Measure(place);
}

// To behind the stored head.
bool CAttachmentSource::Begin(const SObjectPlace& place) {
  m_form = EForm::Plain;
  m_inflater.reset();
  std::array<uint8_t, kStoredHead> head{};
  size_t count = 0;
  if (!m_stored.Open(place) || !m_stored.Read(head, count)) return false;
  const auto kind = GetLittle<uint32_t>(head, 0);
  if (count < head.size() || (kind != kRaw && kind != kCompressed)) return true;
  m_promised = GetLittle<uint32_t>(head, 4);
  m_form = kind == kRaw ? EForm::Raw : EForm::Compressed;
  if (m_form == EForm::Compressed)
    m_inflater = std::make_unique<CInflater>([this](std::span<uint8_t> piece) {
      size_t size = 0;
      return m_stored.Read(piece, size) ? size : size_t{0};
    });
  return true;
}

size_t CAttachmentSource::ReadRest(std::span<uint8_t> buffer) {
  if (m_inflater) return m_inflater->Read(buffer);
  size_t filled = 0;
  for (size_t size = 1; size > 0 && filled < buffer.size(); filled += size)
    if (!m_stored.Read(buffer.subspan(filled), size)) break;
  return filled;
}

// False when there is no such head.
bool CAttachmentSource::PassHead() {
  std::array<uint8_t, kFileHead> head{};
  if (ReadRest(head) < head.size()) return false;
  const auto size = GetLittle<uint32_t>(head, 0), units = GetLittle<uint32_t>(head, 8);
  if (GetLittle<uint32_t>(head, 4) != kFileMark || units > kLongestExtension || size != kFileHead + 2 * units)
    return false;
  std::vector<uint8_t> extension(2 * size_t{units});
  return ReadRest(extension) == extension.size();
}

// A compressed file is read once to learn how long it is, whatever is promised.
bool CAttachmentSource::Measure(const SObjectPlace& place) {
  std::vector<uint8_t> piece(kPiece);
  m_length = 0;
  for (size_t size = 1; size > 0; m_length += size) size = ReadRest(piece);
  if (!GetProblem().empty()) return false;
  m_isDamaged = m_inflater ? !m_inflater->IsWhole() : m_stored.GetLength() - kStoredHead < m_promised;
  return Begin(place) && PassHead();
}

bool CAttachmentSource::Read(std::span<uint8_t> buffer, size_t& bytesRead) {
  bytesRead = ReadRest(buffer);
  return GetProblem().empty();
}

}  // namespace tolvane
