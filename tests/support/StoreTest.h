// A work folder of its own for each test, and files written byte by byte.
#pragma once

#include <gtest/gtest.h>

#include <cstdint>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>
#include <string_view>
#include <vector>

#include "model/AccessTable.h"
#include "platform/Files.h"
#include "store/AccessTableDataFile.h"
#include "store/FileNameManager.h"
#include "store/WorkFolder.h"

namespace tolvane {

using Bytes = std::vector<uint8_t>;
using Row = std::vector<std::u16string>;

class CStoreTest : public testing::Test {
 protected:
  // Before the members of a test, which keep their files there.
  CStoreTest() { m_hasFolder = m_folder.Create(GetTempFolder()); }
  void SetUp() override { ASSERT_TRUE(m_hasFolder) << "no folder to write to"; }

  std::u16string InFolder(std::u16string_view name) const {
    return m_folder.GetPath() + std::u16string(name);
  }

  static void WriteFileBytes(std::u16string_view path, const Bytes& bytes) {
    std::ofstream file(std::filesystem::path(path), std::ios::binary);
    file.write(reinterpret_cast<const char*>(bytes.data()), static_cast<std::streamsize>(bytes.size()));
    ASSERT_TRUE(file.good());
  }
  static Bytes ReadFileBytes(std::u16string_view path) {
    std::ifstream file(std::filesystem::path(path), std::ios::binary);
    return Bytes(std::istreambuf_iterator<char>(file), {});
  }
  static std::u16string DataPath(uint64_t key) {
    return CFileNameManager(GetWorkFolder()).GetDataFilePath(key);
  }

  // The data file of a table with these rows.
  static void WriteRows(uint64_t key, const std::vector<Row>& rows) {
    CAccessTableDataFile file(GetWorkFolder());
    ASSERT_TRUE(file.CreateDataFile(key));
    for (const Row& row : rows)
      for (const std::u16string& value : row) file.WriteValue(value);
    file.CloseDataFile();
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
  bool m_hasFolder = false;
};

}  // namespace tolvane
