// The bytes of OLE values, each in a file of its own in the work folder, numbered over the run from 0.
#pragma once

#include <cstdint>
#include <span>
#include <string>
#include <utility>

#include "engine/ObjectSink.h"
#include "platform/FileCust.h"
#include "store/AccessTableDataFile.h"
#include "store/FileNameManager.h"

namespace tolvane {

class COleSideFile : public CObjectSink {
 public:
  // In the work folder `folder`. `list` gets the path of every side file and outlives this object.
  COleSideFile(std::u16string folder, CAccessTableDataFile& list)
      : m_list(list), m_names(std::move(folder)) {}

  void Begin() override;
  // The file is created with the first byte, so an empty value has none. Throws CFileCustException.
  void Take(std::span<const uint8_t> bytes) override;
  // The units of the path of the file just written; empty when there is none. Throws CFileCustException.
  std::span<const uint8_t> End() override;

 private:
  CAccessTableDataFile& m_list;
  CFileNameManager m_names;
  CFileCust m_file;
  std::u16string m_path;
  int32_t m_number = 0;  // of the next file
};

}  // namespace tolvane
