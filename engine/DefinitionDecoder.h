// Decodes table definitions into the model: header counts, columns with their names, indexes.
//
//   header | R statistics blocks | N column descriptors | N names | R real indexes | L logical indexes | ...
//
// A definition that is cut gives the columns that fit, then one empty column, and the indexes before the cut.
// Work and memory are bounded by the file's length and by the limits below, whatever the counts say.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <span>
#include <string_view>
#include <vector>

#include "engine/Source.h"
#include "format/Definition.h"
#include "model/AccessData.h"
#include "model/RecoveryRules.h"
#include "status/JobContext.h"

namespace tolvane {

class CDefinitionDecoder {
 public:
  // Over all definitions; far above what real databases hold. Past them tables get no more of the kind.
  static constexpr size_t kMaximumColumns = size_t{1} << 18;
  static constexpr size_t kMaximumIndexes = size_t{1} << 18;

  // Layout and rules outlive the decoder. The code page is that of Jet 3 names.
  CDefinitionDecoder(const SLayout& layout, const SRecoveryRules& rules, uint32_t codePage);

  // Decodes every candidate of the list, until the job is stopped. Broken definitions are counted in the
  // ledger, except those on pages that the file says are free.
  void ParseTableDefinitions(CAccessData& data, CSource& definitions, const CJobContext& job);
  // One definition, put together. False when something in it is missing or cannot be true.
  bool Decode(std::span<const uint8_t> definition, CAccessTable& table);

 private:
  // What is read of one definition, and where.
  struct SWalk {
    CByteView bytes;
    uint64_t length;        // of the buffer
    uint64_t position = 0;  // of the part that comes next
    uint32_t columnCount = 0;
    uint32_t realIndexCount = 0;
    bool isSound = true;
    std::vector<uint8_t> room{};

    // Valid until the next call.
    std::span<const uint8_t> Get(uint64_t at, size_t size) { return bytes.GetBlock(at, size, room); }
  };

  // How many rows and which pages the catalogue has, which no two files share. No database is without a row.
  void TakeOwnHeader(CSource& definitions, CAccessTable& catalogue) const;
  void ReadHeader(SWalk& walk, CAccessTable& table) const;
  void ReadColumns(SWalk& walk, CAccessTable& table);
  [[nodiscard]] CAccessColumn ReadColumn(std::span<const uint8_t> block) const;
  void ReadNames(SWalk& walk, CAccessTable& table);
  // Each puts the name at the walk's position into m_name, empty when there is none, and answers how many
  // bytes it takes behind its length.
  uint32_t ReadUtf16Name(SWalk& walk);
  uint32_t ReadByteName(SWalk& walk);
  void PutName(std::u16string_view name);
  void ReadRealIndexes(SWalk& walk, CAccessTable& table);
  // `wholeSlots` of its slots lie inside the definition.
  [[nodiscard]] CAccessTableIndex ReadRealIndex(std::span<const uint8_t> block, size_t wholeSlots,
                                                uint32_t columnCount) const;
  void ReadLogicalIndexes(SWalk& walk, CAccessTable& table) const;
  // Gives each real index the name of the entry that carries it, a foreign key's only where there is no
  // other.
  void NameIndexes(SWalk& walk, CAccessTable& table);

  const SLayout& m_layout;
  const SRecoveryRules& m_rules;
  uint32_t m_codePage;
  size_t m_columnsLeft = kMaximumColumns;
  size_t m_indexesLeft = kMaximumIndexes;

  // The name being read, ended by a zero unit. Raw Jet 3 names are copied over the one before, whose tail
  // stays.
  std::array<char16_t, CAccessColumn::kNameUnits + 1> m_name{};
};

}  // namespace tolvane
