// The bytes of a table's OLE values, one behind the other in one file of the work folder.
#pragma once

#include <cstdint>
#include <span>
#include <string>

#include "engine/ObjectSink.h"
#include "platform/FileCust.h"
#include "store/ObjectPlace.h"

namespace tolvane {

class CObjectFile : public CObjectSink {
 public:
  // The file of the values that follow, created with the first byte. Without a path they are not kept.
  void Start(const std::u16string& path);
  // Completes the file. Nothing when none was created.
  void Close();

  void Begin() override;
  void Take(std::span<const uint8_t> bytes) override;
  // Bytes of the values so far.
  [[nodiscard]] uint64_t GetLength() const { return m_length; }
  // Where the value stands in the file (store/ObjectPlace.h).
  std::span<const uint8_t> End() override;

 private:
  std::u16string m_path;
  CFileCust m_file;
  uint64_t m_length = 0;  // of the file
  uint64_t m_start = 0;   // of the present value
  ObjectReference m_reference{};
};

}  // namespace tolvane
