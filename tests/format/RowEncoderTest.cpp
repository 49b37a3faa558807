// Rows of every length come back value by value.
#include "format/RowEncoder.h"

#include <gtest/gtest.h>

#include <algorithm>

namespace tolvane::test {
namespace {

STableDefinition MakeDefinition(size_t textColumns) {
  STableDefinition definition;
  definition.columns.resize(textColumns);
  for (SColumnDefinition& column : definition.columns) {
    column.type = kTypeText;
    column.length = 255;
  }
  definition.LayOutColumns();
  return definition;
}

// `sizes` are those of the values; every fifth one is null where they are 0.
void ExpectRoundTrip(const SLayout& layout, const STableDefinition& definition,
                     const std::vector<size_t>& sizes) {
  CRowEncoder encoder(layout, definition);
  encoder.Begin();
  std::vector<std::optional<std::vector<uint8_t>>> values(sizes.size());
  for (size_t i = 0; i < sizes.size(); i++) {
    if (sizes[i] == 0 && i % 5 == 0) continue;
    values[i] = std::vector<uint8_t>(sizes[i], static_cast<uint8_t>(i + 1));
    encoder.Set(definition.columns[i], *values[i]);
  }
  if (encoder.IsTooLong()) return;
  std::vector<uint8_t> row(encoder.GetRowSize());
  encoder.Write(row);
  for (size_t i = 0; i < sizes.size(); i++) {
    std::optional<std::span<const uint8_t>> read;
    ASSERT_TRUE(ReadRowColumn(layout, definition, row, definition.columns[i], read)) << row.size();
    ASSERT_EQ(read.has_value(), values[i].has_value());
    if (!read) continue;
    ASSERT_TRUE(std::ranges::equal(*read, *values[i])) << "row of " << row.size() << " bytes, value " << i;
  }
}

// Few columns of every length; and the most of them, where the FF that is "none" in a jump table is the
// number of the end's offset, too.
TEST(RowEncoder, EveryLengthComesBack) {
  const STableDefinition few = MakeDefinition(8), most = MakeDefinition(255);
  for (const SLayout* layout : {&kLayoutJet3, &kLayoutJet4}) {
    for (size_t total = 0; total < 8 * 255; total++) {
      std::vector<size_t> front(8), back(8), spread(255), last(255);
      for (size_t i = 0, left = total; i < 8; i++) {
        front[i] = back[7 - i] = std::min<size_t>(left, 255);
        left -= front[i];
      }
      for (const auto& sizes : {front, back, std::vector<size_t>(8, total / 8)})
        ExpectRoundTrip(*layout, few, sizes);
      for (size_t i = 0; i < total; i++) spread[i * 89 % 255]++;
      last[254 - total % 3] = total;
      for (const auto& sizes : {spread, last}) ExpectRoundTrip(*layout, most, sizes);
    }
  }
}

}  // namespace
}  // namespace tolvane::test
