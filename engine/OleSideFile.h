// The bytes of OLE values, each in a file of its own in the work folder, numbered over the run from 0.
#pragma once

#include <cstdint>
#include <span>
#include <string>

#include "engine/LongValueReader.h"
#include "platform/FileCust.h"
#include "store/AccessTableDataFile.h"
#include "store/FileNameManager.h"

namespace tolvane {

// Begin, then the value's bytes as a sink, then End. One value at a time.
class COleSideFile : public CLongValueSink {
 public:
  // `list` gets the path of every side file and outlives this object.
  explicit COleSideFile(CAccessTableDataFile& list) : m_list(list) {}

  void Begin();
  // The file is created with the first byte, so an empty value has none. Throws CFileCustException.
  void Take(std::span<const uint8_t> bytes) override;
  // The path of the file just written; empty when there is none. Throws CFileCustException.
  const std::u16string& End();

 private:
  CAccessTableDataFile& m_list;
  CFileNameManager m_names;
  CFileCust m_file;
  std::u16string m_path;
  int32_t m_number = 0;  // of the next file
};

}  // namespace tolvane
