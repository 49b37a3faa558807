// The FROM part of a stored query as text: its sources, and its join rows as a tree of nested joins.
//
// A row whose two sources stand apart joins them, with all that is joined to them already; a row whose
// sources stand together is one more condition of the join that brought them together. Rows may come in any
// order. Trees that no row connects stand side by side.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

#include "format/SavedQuery.h"

namespace tolvane {

// Takes rows one by one, in their order; sources before joins. Rows must outlive the tree. The work is linear
// but for a logarithm; no recursion.
class CJoinTree {
 public:
  // `text` is how the source is written in front of its alias or name.
  void AddSource(std::u16string_view name, std::u16string text);
  // False when a side is no source; it is then written as if it were one.
  bool AddJoin(const SQueryRow& row);
  // Without the keyword FROM; empty without a source.
  [[nodiscard]] std::u16string GetText() const;

 private:
  static constexpr size_t kNone = ~size_t{0};
  struct SSource {
    std::u16string text;
    // Sources that stand together form a tree of parents of logarithmic height. `join` connected this one to
    // its parent; towards the root these numbers grow.
    size_t parent = kNone;
    size_t join = kNone;
    size_t size = 1;     // of a root: sources below it
    size_t top = kNone;  // of a root: the join that holds all others, kNone for a source alone
  };
  struct SJoin {
    int16_t kind;
    size_t left, right;  // joins, or sources counted from behind the end
    std::vector<std::u16string_view> conditions;
  };

  size_t SourceOf(std::u16string_view name, bool& isKnown);
  [[nodiscard]] size_t RootOf(size_t source) const;
  [[nodiscard]] size_t JoinBetween(size_t one, size_t other) const;
  void AppendTree(size_t source, std::u16string& text) const;
  static void AppendConditions(const SJoin& join, std::u16string& text);

  std::vector<SSource> m_sources;
  std::vector<SJoin> m_joins;
  std::unordered_map<std::u16string, size_t> m_byName;  // folded
};

}  // namespace tolvane
