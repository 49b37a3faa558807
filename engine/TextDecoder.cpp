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
  if (m_coding.isUtf16) {
    m_unpacker.Append(bytes);
    return;
  }
  m_bytes.insert(m_bytes.end(), bytes.begin(), bytes.end());
  const size_t whole = CountWholeBytes(m_coding.codePage, m_bytes);
  DecodeCodePage(m_coding.codePage, std::span(m_bytes).first(whole), *m_out);
  m_bytes.erase(m_bytes.begin(), m_bytes.begin() + static_cast<std::ptrdiff_t>(whole));
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

}  // namespace tolvane
