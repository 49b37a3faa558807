// A database file of data pages for tests of the row walk: sound pages first, then one lie.
#pragma once

#include <algorithm>
#include <cstdint>
#include <map>
#include <memory>
#include <string>
#include <vector>

#include "engine/RecordParser.h"
#include "store/ValueStream.h"
#include "tests/engine/EngineTest.h"

namespace tolvane {

using Texts = std::vector<std::string>;

inline Bytes Joined(Bytes head, const Bytes& tail) {
  head.insert(head.end(), tail.begin(), tail.end());
  return head;
}

// Rows are packed from the page's end downwards.
class CTestPage : public CPageBytes {
 public:
  CTestPage(const SLayout& layout, uint32_t owner)
      : CPageBytes(layout.pageSize), m_layout(layout), m_lowest(layout.pageSize) {
    Put8(0, kPageData).Put8(1, kPageFormatted).Put32(kOwnerOffset, owner);
  }
  CTestPage& Row(const Bytes& row, uint16_t flags = 0) {
    m_lowest -= static_cast<uint32_t>(row.size());
    PutBytes(m_lowest, row);
    return Slot(m_lowest | flags);
  }
  // An entry as it stands, whatever the rows are.
  CTestPage& Slot(uint32_t word) {
    Put16(m_layout.data.slots + 2 * m_slots++, word);
    Put16(m_layout.data.slotCount, m_slots);
    Put16(kFreeBytesOffset, m_lowest - m_layout.data.slots - 2 * m_slots);
    return *this;
  }

 private:
  const SLayout& m_layout;
  uint32_t m_lowest = 0;
  uint32_t m_slots = 0;
};

// Runs the record parser over pages put together by a test and reads back what it wrote.
class CRowTest : public CEngineTest {
 protected:
  static constexpr uint32_t kTablePage = 3;

  void SetUp() override {
    CEngineTest::SetUp();
    Start(kLayoutJet4);
  }

  // A new file and a new table, on definition page 3.
  void Start(const SLayout& newLayout) {
    layout = &newLayout;
    pages.clear();
    data = std::make_unique<CAccessData>(rules, GetWorkFolder());
    table = &data->GetTables().AddTable(uint64_t{kTablePage} * layout->pageSize);
  }

  CAccessColumn& AddFixed(uint8_t type, uint16_t number, uint16_t offset, uint16_t length) {
    return AddColumn(
        {.type = type, .number = number, .flags = kColumnFixed, .fixedOffset = offset, .length = length});
  }
  CAccessColumn& AddVariable(uint8_t type, uint16_t number, uint16_t index, uint16_t length = 255) {
    table->header.variableColumnCount++;
    return AddColumn({.type = type, .number = number, .variableIndex = index, .flags = 0, .length = length});
  }
  // The row of a table whose only column is of variable length.
  Bytes OneColumnRow(const Bytes& value) const {
    const Bytes row = Joined(layout->isJet3 ? Hex("01") : Hex("0100"), value);
    const auto end = static_cast<uint8_t>(row.size());
    return Joined(row, layout->isJet3 ? Bytes{end, 1, 1, 1} : Bytes{end, 0, 2, 0, 1, 0, 1});
  }

  CTestPage NewPage(uint32_t owner = kTablePage) const { return CTestPage(*layout, owner); }
  // Puts a page into the file; a page of the table's is credited to it.
  void Put(uint32_t number, const CTestPage& page, bool isOfTable = true) {
    pages[number] = page.GetBytes();
    if (isOfTable) table->dataPages.Add(uint64_t{number} * layout->pageSize);
  }

  void Parse() {
    Bytes file;
    const uint32_t last = pages.empty() ? kTablePage : std::max(kTablePage, pages.rbegin()->first);
    for (uint32_t number = 0; number <= last; number++)
      file = Joined(std::move(file), pages.count(number) != 0 ? pages[number] : Bytes(layout->pageSize, 0));
    COpenedFile source(file, *layout);
    CPageClaims claims(source, data->GetTables(), homeless, ShownJob());
    CRecordParser(rules, ShownJob()).ParseRecords(*data, source, claims);
  }
  // The values of a table that holds only this row.
  Texts Decode(const Bytes& row) {
    table->dataPages = {};
    Put(4, NewPage().Row(row));
    Parse();
    return Values();
  }
  std::string DecodeOne(const Bytes& row) {
    const Texts texts = Decode(row);
    return texts.size() == 1 ? texts[0] : "no row";
  }

  // All values of the table's data file in UTF-8.
  Texts Values() const {
    CValueStream stream;
    stream.Open(table->GetRecords());
    Texts values;
    uint32_t count = 0;
    for (std::u16string text; stream.ReadCount(count) && stream.ReadText(count, text);)
      values.push_back(ToUtf8(text));
    return values;
  }
  uint64_t Lost(EDamage kind) const { return data->GetLedger().GetCount(kind); }

  const SLayout* layout = nullptr;
  SRecoveryRules rules = kStandardRules;
  std::map<uint32_t, Bytes> pages;
  std::vector<SHomelessPage> homeless;
  std::unique_ptr<CAccessData> data;
  CAccessTable* table = nullptr;

 private:
  CAccessColumn& AddColumn(const SColumnSpec& spec) {
    CAccessColumn column;
    column.type = spec.type;
    column.number = spec.number;
    column.variableIndex = spec.variableIndex;
    column.flags = spec.flags;
    column.fixedOffset = spec.fixedOffset;
    column.length = spec.length;
    table->columns.Add(std::move(column));
    table->header.highestColumnNumber = static_cast<uint16_t>(spec.number + 1);
    return *table->columns.GetAt(table->columns.GetCount() - 1);
  }
};

}  // namespace tolvane
