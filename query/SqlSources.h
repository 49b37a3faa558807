// The FROM part of a query: its sources and its joins, as rows.
#pragma once

#include <cstddef>
#include <string>
#include <unordered_map>
#include <vector>

#include "format/SavedQuery.h"
#include "query/SqlScanner.h"

namespace tolvane {

// Reads tokens [first, last), the text behind FROM or UPDATE, and appends a row per source and a row per join
// condition. Nested joins come before the joins that use them. False when the text is no list of sources.
// Linear: the tokens are walked once, with a stack of its own for the parentheses.
class CSqlSources {
 public:
  CSqlSources(const CSqlScanner& scanner, size_t first, size_t last)
      : m_scanner(scanner), m_next(first), m_last(last) {}
  bool Read();

  [[nodiscard]] std::vector<SQueryRow>& GetSources() { return m_sources; }
  [[nodiscard]] std::vector<SQueryRow>& GetJoins() { return m_joins; }

 private:
  // Numbers [first, last) of tokens or of sources. Sources stand in the order of the text, so that every
  // operand of a join is a range of them.
  struct SRange {
    size_t first = 0;
    size_t last = 0;
    [[nodiscard]] bool Holds(size_t number) const { return number >= first && number < last; }
  };
  // What stands between an opening parenthesis (or a comma) and its end.
  struct SFrame {
    SRange left;
    int joinKind = 0;  // of the join whose right side is being read
    bool isParenthesis = false;
  };

  bool ReadOperand();
  bool ReadSource();
  [[nodiscard]] size_t EndOfName(size_t first) const;
  bool CompleteOperand(SRange operand);
  bool TakeJoin(SFrame& frame, SRange right);
  int ReadJoinKeyword();
  size_t FindConditionEnd() const;
  void AddConditions(SRange tokens, int kind, SRange left, SRange right);
  [[nodiscard]] std::vector<SRange> SplitAtAnd(SRange tokens) const;
  void AddJoinRow(SRange tokens, int kind, SRange left, SRange right);
  [[nodiscard]] const std::u16string& NameOf(size_t source) const;

  const CSqlScanner& m_scanner;
  size_t m_next;
  size_t m_last;
  std::vector<SFrame> m_frames;
  bool m_wantsOperand = true;
  std::vector<SQueryRow> m_sources;
  std::unordered_map<std::u16string, size_t> m_sourceOfName;  // names without the case of ASCII letters
  std::vector<SQueryRow> m_joins;
};

}  // namespace tolvane
