// Rebuilds the text behind "FROM " from the join rows of one query.
//
// Rows of the same pair of tables become one join; a join that reaches a table of an earlier one nests that
// one's text. Work is linear in the rows and in the length of the result.
#pragma once

#include <cstddef>
#include <list>
#include <memory>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

#include "query/QueryAttributes.h"
#include "query/TList.h"

namespace tolvane {

// Text that grows at both ends and swallows others without copying.
class CJoinText {
 public:
  CJoinText() = default;
  explicit CJoinText(std::u16string text) { Append(std::move(text)); }
  void Prepend(std::u16string text);
  void Append(std::u16string text);
  void Append(CJoinText&& other);
  [[nodiscard]] std::u16string ToString() const;
  [[nodiscard]] bool Equals(const CJoinText& other) const;

 private:
  std::list<std::u16string> m_pieces;
  size_t m_length = 0;
};

// One join, possibly with others nested in it. The tables that it covers are those whose group leads to it.
class CQueryJoinStatement {
 public:
  virtual ~CQueryJoinStatement() = default;

  CJoinText text;
};

class CQueryJoinBuilder {
 public:
  virtual ~CQueryJoinBuilder() = default;

  void AddJoinRow(std::unique_ptr<CQueryAttributes> row) { m_rows.Append(std::move(row)); }
  // Empty when there is no join row. Call once: it uses up the rows.
  std::u16string GetJoinText();
  // "1" INNER JOIN, "2" LEFT JOIN, "3" RIGHT JOIN; anything else gives an empty text.
  static std::u16string_view GetKindKeyword(std::u16string_view code);

 private:
  using Statements = std::list<CQueryJoinStatement>;

  struct SSide {
    CJoinText text;
    Statements::iterator statement;  // whose text it is; end() when it is a text of its own
  };

  void MergeSamePairs();
  void AddStatement(const CQueryAttributes& row);
  SSide ResolveSide(const std::u16string& tableText, const std::u16string& name);
  CJoinText ComposeText(const CQueryAttributes& row, SSide left, SSide right);
  // The group of a table; a new one, without a statement, for a table not met before.
  size_t GroupOf(const std::u16string& table);
  size_t RootOf(size_t group);

  // Tables that stand in one statement form one group (disjoint sets, merged when a join connects two). A
  // table stands in at most one statement: joining it replaces the statements that held it.
  struct SGroup {
    size_t parent;
    Statements::iterator statement;  // of a root; end() before the first join
  };

  CTList<CQueryAttributes> m_rows;
  Statements m_statements;
  std::vector<SGroup> m_groups;
  std::unordered_map<std::u16string, size_t> m_groupOfTable;
};

}  // namespace tolvane
