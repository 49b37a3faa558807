// Rows and their values: the frame, its fields, wrapped results, the records of data files and the texts of
// values.
#include <array>

#include "format/CalculatedValue.h"
#include "format/RowFrame.h"
#include "fuzz/FuzzInput.h"
#include "render/ExactText.h"
#include "store/ValueRecord.h"

namespace tolvane {
namespace {

void Show(uint8_t type, uint8_t scale, std::span<const uint8_t> record) {
  for (const bool isResult : {false, true}) {
    SValue value;
    std::u16string text;
    if (TakeValue({type, scale, isResult}, record, value)) MakeExactText(value, text);
  }
}

// A wrapped value is the same however its bytes come.
void Unwrap(uint8_t type, std::span<const uint8_t> field, size_t step) {
  const auto whole = UnwrapCalculated(field);
  CCalculatedUnwrapper unwrapper;
  size_t taken = 0;
  for (size_t at = 0; at < field.size(); at += step)
    taken += unwrapper.Take(field.subspan(at, std::min(step, field.size() - at))).size();
  if (!whole) return;
  Require(unwrapper.IsWhole() && taken == whole->size());
  ResultBytes room{};
  if (const std::optional<SValue> value = MakeResult(type, *whole, room)) {
    std::u16string text;
    MakeExactText(*value, text);
    StoreResult(*value);
  }
}

void Cut(CFuzzInput& input) {
  const SLayout& layout = input.TakeLayout();
  SRowShape shape;
  shape.columnsEver = input.TakeByte();
  shape.variableColumnsEver = input.TakeByte();
  shape.maximumStoredColumns = input.TakeByte();
  shape.firstVariableNumber = input.TakeByte();
  std::array<SColumnDefinition, 8> columns;
  for (SColumnDefinition& column : columns) {
    column.type = input.TakeByte() % static_cast<uint8_t>(kColumnTypes.size());
    column.flags = input.TakeByte();
    column.number = input.TakeByte();
    column.variableIndex = input.TakeByte();
    column.fixedOffset = input.TakeByte();
    column.length = LengthOfType(column.type);
  }
  const size_t step = 1 + input.TakeByte();
  const std::span<const uint8_t> row = input.Rest();
  CRowFrame frame(layout.row);
  if (row.empty() || !frame.Cut(row, shape)) return;
  if (const auto measure = frame.Measure()) Require(measure->slack <= row.size());
  for (const SColumnDefinition& column : columns) {
    CRowFrame::Field field;
    if (!FindColumnValue(frame, column, field) || !field) continue;
    Show(column.type, static_cast<uint8_t>(column.number), *field);
    Unwrap(column.type, *field, step);
  }
}

}  // namespace
}  // namespace tolvane

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  tolvane::CFuzzInput input(data, size);
  tolvane::Cut(input);
  return 0;
}
