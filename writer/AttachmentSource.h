// The file that an attachment holds, without what is stored around it.
//
//   stored:   0  u32  1 = the rest is a zlib stream, 0 = it stands as it is    4  u32  length of the rest
//             8  the rest
//   rest:     0  u32  length of this head    4  u32  1    8  u32  characters of the extension, NUL included
//             12 the extension, UTF-16LE | the file
#pragma once

#include <memory>
#include <string>

#include "dao/dao.h"
#include "format/Inflate.h"
#include "store/ObjectPlace.h"
#include "writer/SideFileSource.h"

namespace tolvane {

class CAttachmentSource : public CDaoByteSource {
 public:
  // Bytes that are no attachment are given as they stand. False when they cannot be read; GetProblem tells
  // why.
  bool Open(const SObjectPlace& place);
  bool Read(std::span<uint8_t> buffer, size_t& bytesRead) override;
  [[nodiscard]] uint64_t GetLength() const override { return m_length; }
  [[nodiscard]] const std::u16string& GetProblem() const { return m_stored.GetProblem(); }
  // The stored bytes do not hold the whole file: what is read is its beginning, or these bytes.
  [[nodiscard]] bool IsDamaged() const { return m_isDamaged; }

 private:
  enum class EForm : uint8_t { Plain, Raw, Compressed };
  bool Begin(const SObjectPlace& place);
  bool PassHead();
  bool Measure(const SObjectPlace& place);
  size_t ReadRest(std::span<uint8_t> buffer);

  CSideFileSource m_stored;
  std::unique_ptr<CInflater> m_inflater;  // where the rest is compressed
  EForm m_form = EForm::Plain;
  uint64_t m_promised = 0;  // length of the rest, as the bytes say
  uint64_t m_length = 0;
  bool m_isDamaged = false;
};

}  // namespace tolvane
