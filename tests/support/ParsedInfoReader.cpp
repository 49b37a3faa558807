#include "tests/support/ParsedInfoReader.h"

#include <algorithm>
#include <cstddef>

namespace tolvane::test {

namespace {

using Bytes = std::span<const uint8_t>;

uint32_t Get32(Bytes bytes, size_t offset) {
  uint32_t value = 0;
  for (size_t i = 4; i-- > 0;) value = value << 8 | (offset + i < bytes.size() ? bytes[offset + i] : 0u);
  return value;
}

// Up to the zero unit; a text that is cut ends at the cut.
std::u16string GetText(Bytes bytes, size_t offset, size_t units) {
  std::u16string text;
  for (size_t at = offset; at + 1 < bytes.size() && at < offset + 2 * units; at += 2) {
    const auto unit = static_cast<char16_t>(bytes[at] | bytes[at + 1] << 8);
    if (unit == 0) break;
    text += unit;
  }
  return text;
}

bool ReadColumn(Bytes item, SReadColumn& column) {
  column.name = GetText(item, 8, 256);
  column.size = Get32(item, 520);
  column.type = Get32(item, 524);
  column.flags = item[528];
  if (item[529] == 1) {
    column.complexName = GetText(item, 534, 256);
    for (size_t at = 1046; at < 1062; at += 4)
      column.complexNumbers.push_back(static_cast<int32_t>(Get32(item, at)));
    if (Get32(item, 530) != column.complexName.size()) return false;
  }
  return Get32(item, 0) == 1062 && Get32(item, 4) == column.name.size() && item[529] <= 1;
}

bool ReadTable(Bytes record, SReadTable& table) {
  table.name = GetText(record, 8, 256);
  table.dataFile = GetText(record, 1032, 512);
  if (record.size() >= 3084) table.rowCount = Get32(record, 3080);
  if (record.size() < 3100) return true;
  const uint32_t blobLength = Get32(record, 3088);
  table.columnCount = Get32(record, 3096);
  if (blobLength != 4 + table.columnCount * 1062) return false;
  const Bytes blob = record.subspan(3096, std::min<size_t>(blobLength, record.size() - 3096));
  for (size_t at = 8; at + 1062 <= blob.size(); at += 2124) {
    table.columns.emplace_back();
    if (!ReadColumn(blob.subspan(at, 1062), table.columns.back())) return false;
  }
  return table.columns.size() <= table.columnCount;
}

}  // namespace

SReadParsedInfo ReadParsedInfo(Bytes file) {
  constexpr size_t kHeaders = 4092 + 1020;
  SReadParsedInfo info;
  if (file.size() < kHeaders) return info;
  info.path = GetText(file, 0, 1024);
  size_t at = kHeaders;
  for (uint32_t left = Get32(file, 4092); left > 0; left--) {
    const size_t length = Get32(file, at);
    if (length < 1552 || length > file.size() - at) return info;
    info.tables.emplace_back();
    if (!ReadTable(file.subspan(at, length), info.tables.back())) return info;
    at += length;
  }
  info.isSound = at == file.size();
  return info;
}

}  // namespace tolvane::test
