// Where the parts of a table definition are, told by the parts themselves: what the header counts may be
// wrong.
//
//   header | statistics[R] | columns[N] | names[N] | real indexes[R] | logical indexes[L] | names[L] | maps |
//   FFFF
//
// In a sound definition the counts lead from part to part to its end. In a damaged one columns and indexes
// are known by what each of them looks like, and the tail by leading to the end. Any bytes may be asked
// about; the work is linear in their number.
#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>
#include <vector>

#include "format/Layout.h"

namespace tolvane {

// Whether counts and names lead to the definition's end, and the counts of columns ever made allow for its
// columns.
bool IsWholeDefinition(std::span<const uint8_t> definition, const SLayout& layout);

// Whether the bytes at `at` look like a column. Jet 4 columns bear a mark; Jet 3 ones must make sense.
bool IsColumn(std::span<const uint8_t> definition, const SLayout& layout, size_t at);

struct SColumnBlock {
  size_t start = 0;
  uint32_t columnCount = 0;  // those overwritten among the others included
  uint32_t recognised = 0;
  uint32_t realCount = 0;  // real indexes, whose statistics stand in front
  [[nodiscard]] size_t EndIn(const SLayout& layout) const {
    return start + size_t{layout.column.size} * columnCount;
  }
};
// The longest run of columns behind a possible number of statistics, that of the header first.
std::optional<SColumnBlock> FindColumns(std::span<const uint8_t> definition, const SLayout& layout);

// From the real indexes to the end.
struct SDefinitionTail {
  size_t start = 0;
  uint32_t logicalCount = 0;
  size_t end = 0;
  bool hasNames = true;  // false: of the indexes; the tail then ends in front of them
};
// The whole tail that begins nearest behind `from`, else one without names; none where it has other damage.
// No more maps stand in it than there are columns that have one.
std::optional<SDefinitionTail> FindTail(std::span<const uint8_t> definition, const SLayout& layout,
                                        size_t from, const SColumnBlock& columns);

// Names that stand one behind the other.
class CNameWalk {
 public:
  CNameWalk(std::span<const uint8_t> definition, const SLayout& layout)
      : m_bytes(definition), m_layout(layout) {}

  // Behind the name at `at`; none where no name stands there.
  [[nodiscard]] std::optional<size_t> EndOfName(size_t at) const;
  [[nodiscard]] std::optional<size_t> EndOfNames(size_t at, uint64_t count) const;
  // Where each of `count` names begins between the two places; 0 for those that were overwritten.
  [[nodiscard]] std::vector<size_t> FindNames(size_t from, size_t to, uint32_t count) const;

 private:
  std::span<const uint8_t> m_bytes;
  const SLayout& m_layout;
};

// What a page says for being the first one of a definition.
enum class EFirstPage : uint8_t {
  No,
  Possible,  // head, mark or type are overwritten, and the columns are there
  Sure,
};
EFirstPage JudgeFirstPage(std::span<const uint8_t> page, const SLayout& layout);
// Whether a page that is one for sure cannot be a further page of another definition.
bool ProvesFirstPage(std::span<const uint8_t> page, const SLayout& layout);

}  // namespace tolvane
