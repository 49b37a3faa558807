#include "tests/embedded/StoredTable.h"

#include <gtest/gtest.h>

#include "checker/SystemRow.h"
#include "checker/TableCheck.h"
#include "format/SystemTables.h"

namespace tolvane::test {
namespace {

// The file and what the checker needs to walk over it; findings are not kept.
class COpenedFile {
 public:
  explicit COpenedFile(const std::u16string& path) : m_isOpen(m_file.Open(path) == ECheckVerdict::Checked) {
    EXPECT_TRUE(m_isOpen) << ToUtf8(path);
  }
  SCheckContext& Context() { return m_context; }

 private:
  CCheckedFile m_file;
  bool m_isOpen;
  CFindings m_findings{0};
  CPageLedger m_ledger{m_findings, m_file.GetPageCount()};
  SCheckContext m_context{m_file, m_findings, m_ledger, {}, {}, {}, {}, {}, {}};
};

uint32_t FindDefinition(const std::u16string& path, std::u16string_view name) {
  COpenedFile file(path);
  CUsageCheck usage(file.Context());
  CTableCheck objects(file.Context(), usage);
  uint32_t page = 0;
  if (!objects.Open(kObjectsPage)) return page;
  objects.CheckRows([&](const CRowView& row, SPlace) {
    const CSystemRow object(file.Context().file, row);
    if (object.GetText(kObjectsName) == name && object.GetNumber<int16_t>(kObjectsType) == kObjectTable)
      page = object.GetNumber<uint32_t>(kObjectsId).value_or(0);
  });
  return page;
}

std::string ToString(std::span<const uint8_t> bytes) {
  return {bytes.begin(), bytes.end()};
}

}  // namespace

SStoredTable ReadStoredTable(const std::u16string& path, std::u16string_view name) {
  SStoredTable table;
  table.page = FindDefinition(path, name);
  COpenedFile file(path);
  CUsageCheck usage(file.Context());
  CTableCheck check(file.Context(), usage);
  CLongValueCheck longValues(file.Context());
  std::vector<uint8_t> bytes;
  const bool isThere = table.page != 0 && check.Open(table.page);
  EXPECT_TRUE(isThere) << ToUtf8(name);
  if (!isThere) return table;
  check.CheckRows([&](const CRowView& row, SPlace place) {
    file.Context().longValues.Clear();  // the check has followed each of them already
    table.pointers.push_back(MakeRowPointer(place.page, place.row));
    std::vector<Value>& stored = table.stored.emplace_back();
    std::vector<Value>& values = table.rows.emplace_back();
    for (const SCheckedColumn& column : check.GetTable().columns) {
      const std::optional<std::span<const uint8_t>> value = row.Get(column);
      stored.push_back(value ? Value(ToString(*value)) : std::nullopt);
      values.push_back(stored.back());
      if (!value || !column.HoldsLongValues()) continue;
      longValues.CheckValue(column, *value, place, kLongestLongValue, bytes);
      values.back() = ToString(bytes);
    }
  });
  table.autoNumber = check.GetTable().autoNumber;
  table.columns = check.GetTable().columns;
  table.pages = check.GetTable().ownedPages;
  for (const SCheckedRealIndex& index : check.GetTable().realIndexes) table.indexFlags.push_back(index.flags);
  return table;
}

std::vector<uint32_t> ReadStoredMap(const std::u16string& path, uint32_t pointer) {
  COpenedFile file(path);
  CPageSet set;
  EXPECT_TRUE(CUsageCheck(file.Context()).Load(pointer, u"a test", set));
  std::vector<uint32_t> pages;
  set.ForEach([&](uint32_t page) { pages.push_back(page); });
  return pages;
}

std::u16string TextOf(const Value& value, bool isJet3) {
  const std::string bytes = value.value_or("(null)");
  const bool isCompressed = bytes.starts_with("\xFF\xFE");
  std::u16string text;
  if (isJet3 || isCompressed) {
    for (size_t i = isCompressed ? 2 : 0; i < bytes.size(); i++) text += static_cast<uint8_t>(bytes[i]);
    return text;
  }
  for (size_t i = 0; i + 1 < bytes.size(); i += 2)
    text += static_cast<char16_t>(static_cast<uint8_t>(bytes[i]) | static_cast<uint8_t>(bytes[i + 1]) << 8);
  return text;
}

EStoredAs KindOf(const Value& stored) {
  return static_cast<EStoredAs>(static_cast<uint8_t>(stored.value().at(3)) >> 6);
}

}  // namespace tolvane::test
