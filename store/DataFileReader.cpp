#include "store/DataFileReader.h"

namespace tolvane {

bool CDataFileReader::ReadNext(std::u16string& text) {
  if (IsEnd()) return false;
  uint32_t count = 0;
  m_stream.ReadCount(count);
  const size_t position = m_records++;
  if (m_decoder != nullptr)
    m_decoder->Decode(m_stream, count, position, text);
  else
    m_stream.ReadText(count, text);
  if (const size_t zero = text.find(u'\0'); zero != std::u16string::npos) text.resize(zero);
  return true;
}

}  // namespace tolvane
