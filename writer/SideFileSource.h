// The bytes of one OLE value, read from its file piece by piece.
#pragma once

#include <string>

#include "dao/dao.h"
#include "platform/FileCust.h"
#include "store/ObjectPlace.h"

namespace tolvane {

class CSideFileSource : public CDaoByteSource {
 public:
  // False when the file cannot be opened; GetProblem tells why.
  bool Open(const SObjectPlace& place);
  bool Read(std::span<uint8_t> buffer, size_t& bytesRead) override;
  [[nodiscard]] uint64_t GetLength() const override { return m_length; }
  // Why Open or Read failed; empty when they did not.
  [[nodiscard]] const std::u16string& GetProblem() const { return m_problem; }

 private:
  CFileCust m_file;
  uint64_t m_position = 0;  // in the file
  uint64_t m_length = 0;
  uint64_t m_left = 0;
  std::u16string m_problem;
};

}  // namespace tolvane
