// Data files as a vanished disk or another program may leave them: row by row, and value by value.
#include "fuzz/FuzzFile.h"
#include "fuzz/FuzzInput.h"
#include "store/RowReader.h"
#include "store/StoredValueReader.h"

namespace tolvane {
namespace {

void ReadRows(const std::u16string& path, size_t columns, size_t size) {
  CTableRowReader rows(columns);
  if (!rows.Open(SFilePart(path))) return;
  std::vector<uint8_t> bytes;
  for (uint64_t row = 0; rows.BeginRow(); row++) {
    Require(row <= size);
    for (size_t i = 0; i < columns; i++) {
      if ((row + i) % 3 == 0) continue;  // what is not read is passed over
      if (uint32_t count = 0; i % 2 == 0)
        rows.ReadRecord(bytes);
      else if (rows.BeginRecord(count))
        rows.GetStream().ReadRecord(count, bytes);
      Require(bytes.size() <= size);
    }
  }
}

void FindValues(const std::u16string& path, size_t columns, size_t size) {
  CStoredValueReader values;
  if (!values.Open(SFilePart(path))) return;
  std::vector<uint8_t> bytes;
  for (uint64_t place = 0; place <= size; place += 1 + size / 16)
    for (size_t column = 0; column < columns; column++)
      if (uint32_t count = 0; values.Find(place, column, count)) values.GetStream().ReadRecord(count, bytes);
}

}  // namespace
}  // namespace tolvane

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  using namespace tolvane;
  CFuzzInput input(data, size);
  const size_t columns = 1 + input.TakeByte() % 8;
  const std::span<const uint8_t> bytes = input.Rest();
  const std::u16string path = WriteInput(bytes.data(), bytes.size());
  ReadRows(path, columns, bytes.size());
  FindValues(path, columns, bytes.size());
  return 0;
}
