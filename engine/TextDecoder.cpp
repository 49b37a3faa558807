#include "engine/TextDecoder.h"

#include "platform/CodePage.h"

namespace tolvane {

void CTextDecoder::Begin(const STextCoding& coding, std::u16string& out) {
  m_coding = coding;
  m_out = &out;
  m_bytes.clear();
  m_unpacker.Begin(out);
}

void CTextDecoder::Append(std::span<const uint8_t> bytes) {
  if (m_coding.isUtf16)
    m_unpacker.Append(bytes);
  else
    m_bytes.insert(m_bytes.end(), bytes.begin(), bytes.end());
}

void CTextDecoder::End() {
  if (!m_coding.isUtf16) DecodeCodePage(m_coding.codePage, m_bytes, *m_out);
  m_bytes.clear();
  m_out = nullptr;
}

void CTextDecoder::Decode(const STextCoding& coding, std::span<const uint8_t> bytes, std::u16string& out) {
  if (!coding.isUtf16) {
    DecodeCodePage(coding.codePage, bytes, out);
    return;
  }
  Begin(coding, out);
  Append(bytes);
  End();
}

void CTextDecoder::ReleaseMemory() {
  std::vector<uint8_t>().swap(m_bytes);
}

}  // namespace tolvane
