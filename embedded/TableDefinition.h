// A table's definition in memory, and its block of bytes on the definition pages.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "embedded/PageFile.h"
#include "format/Definition.h"

namespace tolvane {

struct STableDefinition {
  uint8_t tableType = kUserTable;
  uint32_t rowCount = 0;
  uint32_t autoNumber = 0;     // the last one given
  uint32_t complexNumber = 0;  // likewise for all complex columns together
  uint16_t columnsEver = 0;
  uint16_t variableEver = 0;
  uint32_t ownedMap = 0;
  uint32_t freeMap = 0;
  std::vector<SColumnDefinition> columns;  // in stored order; of users' tables by display number = number
  std::vector<SRealIndex> realIndexes;
  std::vector<SLogicalIndex> logicalIndexes;  // by name

  // Numbers the columns in their present order and places them in the row; flags, types and lengths are
  // given.
  void LayOutColumns();
  [[nodiscard]] size_t GetFixedPartSize() const;
  [[nodiscard]] const SColumnDefinition* FindColumn(uint16_t number) const;
};

std::vector<uint8_t> EncodeDefinition(const SLayout& layout, const STableDefinition& definition);
// False when the block is not a sound definition.
bool DecodeDefinition(const SLayout& layout, std::span<const uint8_t> block, STableDefinition& definition);

// Pages that a block of this size takes.
size_t CountDefinitionPages(const SLayout& layout, size_t blockSize);
// Writes the block to `pages`; the first one is the definition's own number. Missing pages are allocated.
CDaoResult StoreDefinition(CPageFile& file, const STableDefinition& definition, std::vector<uint32_t>& pages);
CDaoResult LoadDefinition(CPageFile& file, uint32_t firstPage, STableDefinition& definition,
                          std::vector<uint32_t>& pages);

}  // namespace tolvane
