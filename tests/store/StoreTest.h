// A work folder of its own for each test, and files written byte by byte.
#pragma once

#include <gtest/gtest.h>

#include <cstdint>
#include <initializer_list>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "model/AccessTable.h"
#include "platform/ErrorHandler.h"
#include "platform/FileCust.h"
#include "platform/Files.h"
#include "store/AccessTableDataFile.h"
#include "store/FileNameManager.h"
#include "store/WorkFolder.h"

namespace tolvane {

using Bytes = std::vector<uint8_t>;
using Row = std::vector<std::u16string>;

class CStoreTest : public testing::Test {
 protected:
  void SetUp() override { ASSERT_TRUE(m_folder.Create(GetTempFolder())) << "no folder to write to"; }

  std::u16string InFolder(std::u16string_view name) const {
    return m_folder.GetPath() + std::u16string(name);
  }

  static void WriteFileBytes(std::u16string_view path, const Bytes& bytes) {
    CFileCust file;
    ASSERT_TRUE(file.Open(path, EFileAccess::Write, EFileShare::ReadWrite, EFileCreation::CreateAlways));
    if (!bytes.empty()) file.Write(bytes);
    file.Close();
  }
  static Bytes ReadFileBytes(std::u16string_view path) {
    CFileCust file;
    CErrorHandler handler;
    if (!file.Open(path, EFileAccess::Read, EFileShare::ReadWrite, EFileCreation::OpenExisting)) return {};
    Bytes bytes(file.GetLength());
    bytes.resize(file.ReadAt(0, bytes, handler));
    return bytes;
  }
  static std::u16string DataPath(uint64_t key) { return CFileNameManager().GetDataFilePath(key); }

  // The data file of a table with these rows.
  static void WriteRows(uint64_t key, const std::vector<Row>& rows) {
    CAccessTableDataFile file;
    ASSERT_TRUE(file.CreateDataFile(key));
    for (const Row& row : rows)
      for (const std::u16string& value : row) file.WriteValue(value);
    file.CloseDataFile();
  }
  // Cuts bytes off the end of a data file.
  static void Shorten(uint64_t key, size_t bytesCut) {
    Bytes bytes = ReadFileBytes(DataPath(key));
    ASSERT_GE(bytes.size(), bytesCut);
    bytes.resize(bytes.size() - bytesCut);
    WriteFileBytes(DataPath(key), bytes);
  }

  static CAccessColumn& AddColumn(CAccessTable& table, uint8_t type, std::u16string_view name = u"c") {
    CAccessColumn column;
    column.type = type;
    column.number = static_cast<uint16_t>(table.columns.GetCount());
    column.SetName(name);
    table.columns.Add(std::move(column));
    return *table.columns.GetAt(table.columns.GetCount() - 1);
  }
  static void AddTextColumns(CAccessTable& table, size_t count) {
    for (size_t i = 0; i < count; ++i) AddColumn(table, kTypeText);
  }

 private:
  CRunFolder m_folder;
};

}  // namespace tolvane
