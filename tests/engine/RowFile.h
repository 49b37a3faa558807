// A database file of data pages for tests of the row walk: sound pages first, then one lie.
#pragma once

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdint>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <map>
#include <memory>
#include <string>
#include <vector>

#include "app/status/Status.h"
#include "engine/JetLayout.h"
#include "engine/RecordParser.h"
#include "model/AccessData.h"
#include "platform/Text.h"
#include "store/FileNameManager.h"
#include "store/WorkFolder.h"
#include "tests/engine/Hex.h"
#include "tests/support/PageBuilder.h"

namespace tolvane {

inline void PutLittle(Bytes& bytes, size_t at, uint64_t value, size_t width) {
  for (size_t i = 0; i < width; i++) bytes.at(at + i) = static_cast<uint8_t>(value >> (8 * i));
}

inline Bytes Joined(Bytes head, const Bytes& tail) {
  head.insert(head.end(), tail.begin(), tail.end());
  return head;
}

// Rows are packed from the page's end downwards.
class CTestPage {
 public:
  CTestPage(const SJetLayout& layout, uint32_t owner) : m_layout(layout), bytes(layout.pageSize, 0) {
    bytes[0] = bytes[1] = 1;
    PutLittle(bytes, 4, owner, 4);
    m_lowest = layout.pageSize;
  }
  CTestPage& Row(const Bytes& row, uint16_t flags = 0) {
    m_lowest -= row.size();
    std::copy(row.begin(), row.end(), bytes.begin() + static_cast<ptrdiff_t>(m_lowest));
    return Slot(static_cast<uint16_t>(m_lowest | flags));
  }
  // An entry as it stands, whatever the rows are.
  CTestPage& Slot(uint16_t word) {
    PutLittle(bytes, m_layout.data.slots + 2 * m_slots++, word, 2);
    PutLittle(bytes, m_layout.data.slotCount, m_slots, 2);
    return *this;
  }

 private:
  const SJetLayout& m_layout;
  size_t m_lowest = 0;
  size_t m_slots = 0;

 public:
  Bytes bytes;
};

// Runs the record parser over pages put together by a test and reads back what it wrote.
class CRowTest : public ::testing::Test {
 protected:
  static constexpr uint32_t kTablePage = 3;

  void SetUp() override {
    m_folder = std::filesystem::temp_directory_path() /
               ("tolvane_rows_" + std::to_string(::testing::UnitTest::GetInstance()->random_seed()) + "_" +
                std::to_string(std::hash<std::string>()(
                    ::testing::UnitTest::GetInstance()->current_test_info()->name())));
    std::filesystem::create_directories(m_folder);
    SetWorkFolder(FromUtf8(m_folder.string() + "/"));
    CRepairingFileStatus::Instance().SetRunning(true);
    CRepairLog::Instance().Clear();
    Start(kJet4Layout);
  }
  void TearDown() override {
    data.reset();
    std::filesystem::remove_all(m_folder);
  }

  // A new file and a new table, on definition page 3.
  void Start(const SJetLayout& newLayout) {
    layout = &newLayout;
    pages.clear();
    data = std::make_unique<CAccessData>();
    table = &data->GetTables().AddTable(uint64_t{kTablePage} * layout->pageSize);
  }

  CAccessColumn& AddColumn(uint8_t type, uint16_t number, uint8_t flags, uint16_t place, uint16_t length) {
    CAccessColumn column;
    column.type = type;
    column.number = number;
    column.flags = flags;
    column.length = length;
    (flags & kColumnFixed ? column.fixedOffset : column.variableIndex) = place;
    table->columns.Add(std::move(column));
    table->header.highestColumnNumber = static_cast<uint16_t>(number + 1);
    table->header.columnCount++;
    if ((flags & kColumnFixed) == 0) table->header.variableColumnCount++;
    return *table->columns.GetAt(table->columns.GetCount() - 1);
  }
  CAccessColumn& AddFixed(uint8_t type, uint16_t number, uint16_t offset, uint16_t length) {
    return AddColumn(type, number, kColumnFixed, offset, length);
  }
  CAccessColumn& AddVariable(uint8_t type, uint16_t number, uint16_t index, uint16_t length = 255) {
    return AddColumn(type, number, 0, index, length);
  }

  CTestPage NewPage(uint32_t owner = kTablePage) const { return CTestPage(*layout, owner); }
  // Puts a page into the file; a page of the table's is credited to it.
  void Put(uint32_t number, const CTestPage& page, bool isOfTable = true) {
    pages[number] = page.bytes;
    if (isOfTable) table->dataPages.Add(uint64_t{number} * layout->pageSize);
  }

  void Parse(const SRecoveryRules& rules = kStandardRules) {
    Bytes file;
    const uint32_t last = pages.empty() ? kTablePage : std::max(kTablePage, pages.rbegin()->first);
    for (uint32_t number = 0; number <= last; number++)
      file = Joined(std::move(file), pages.count(number) != 0 ? pages[number] : Bytes(layout->pageSize, 0));
    const CTempFile source(file);
    CRecordParser(*layout, rules).ParseRecords(*data, source.GetPath());
  }

  // All values of the table's data file in UTF-8, read by the file's own layout.
  std::vector<std::string> Values() const {
    const Bytes file = FileBytes(CFileNameManager().GetDataFilePath(table->GetDefinitionOffset()));
    std::vector<std::string> values;
    for (size_t at = 0; at + 4 <= file.size();) {
      const size_t count = file[at] | size_t{file[at + 1]} << 8 | size_t{file[at + 2]} << 16;
      std::u16string text;
      for (size_t i = at + 4; i + 1 < at + 4 + count; i += 2)
        text += static_cast<char16_t>(file.at(i) | file.at(i + 1) << 8);
      values.push_back(ToUtf8(text));
      at += 4 + count;
    }
    return values;
  }
  static Bytes FileBytes(std::u16string_view path) {
    std::ifstream file(ToUtf8(path), std::ios::binary);
    return Bytes(std::istreambuf_iterator<char>(file), {});
  }
  uint64_t Lost(EDamage kind) const { return data->GetLedger().GetCount(kind); }

  const SJetLayout* layout = nullptr;
  std::map<uint32_t, Bytes> pages;
  std::unique_ptr<CAccessData> data;
  CAccessTable* table = nullptr;

 private:
  std::filesystem::path m_folder;
};

using Texts = std::vector<std::string>;

}  // namespace tolvane
