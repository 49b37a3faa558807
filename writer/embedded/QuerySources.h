// The FROM part of a query: its sources and its joins, as rows.
#pragma once

#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

#include "writer/embedded/QueryText.h"
#include "writer/embedded/SqlScanner.h"

namespace tolvane {

// Reads tokens [first, last), the text behind FROM or UPDATE, and appends a row per source and a row per join
// condition. Nested joins come before the joins that use them. False when the text is no list of sources.
// The tokens are walked once, with a stack of its own for the parentheses.
class CQuerySources {
 public:
  CQuerySources(const CSqlScanner& scanner, size_t first, size_t last)
      : m_scanner(scanner), m_next(first), m_last(last) {}
  bool Read();

  [[nodiscard]] std::vector<SStoredQueryRow>& GetSources() { return m_sources; }
  [[nodiscard]] std::vector<SStoredQueryRow>& GetJoins() { return m_joins; }

 private:
  using Tables = std::vector<size_t>;  // indexes into m_sources
  // What stands between an opening parenthesis (or a comma) and its end.
  struct SFrame {
    Tables left;
    int joinKind = 0;  // of the join whose right side is being read
    bool isParenthesis = false;
  };

  bool ReadOperand();
  bool ReadSource();
  bool CompleteOperand(Tables tables);
  bool TakeJoin(SFrame& frame, Tables right);
  int ReadJoinKeyword();
  size_t FindConditionEnd() const;
  void AddConditions(size_t first, size_t last, int kind, const Tables& left, const Tables& right);
  void AddJoinRow(size_t first, size_t last, int kind, const Tables& left, const Tables& right);
  [[nodiscard]] const std::u16string& NameOf(size_t source) const;
  [[nodiscard]] bool Mentions(size_t first, size_t last, size_t source) const;

  const CSqlScanner& m_scanner;
  size_t m_next;
  size_t m_last;
  std::vector<SFrame> m_frames;
  bool m_wantsOperand = true;
  std::vector<SStoredQueryRow> m_sources;
  std::vector<SStoredQueryRow> m_joins;
};

}  // namespace tolvane
