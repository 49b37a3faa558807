#include "query/SqlSources.h"

#include <utility>

namespace tolvane {
bool CSqlSources::Read() {
  m_frames.emplace_back();
  while (m_next < m_last) {
    if (!m_wantsOperand || !ReadOperand()) return false;
  }
  return m_frames.size() == 1 && !m_wantsOperand;
}

bool CSqlSources::ReadOperand() {
  if (m_scanner.IsSymbol(m_next, u'(')) {
    m_frames.emplace_back().isParenthesis = true;
    ++m_next;
    return true;
  }
  return ReadSource();
}

// A table or query name, perhaps with dots, and an alias behind AS.
bool CSqlSources::ReadSource() {
  const size_t first = m_next;
  m_next = EndOfName(first);
  if (first == m_next) return false;
  SQueryRow row;
  row.attribute = kQuerySource;
  row.name1 = PlainName(m_scanner.GetText(first, m_next));
  if (m_next < m_last && m_scanner.IsWord(m_next, u"AS")) {
    const size_t alias = ++m_next;
    m_next = EndOfName(alias);
    if (alias == m_next) return false;
    row.name2 = PlainName(m_scanner.GetText(alias, m_next));
  }
  const size_t number = m_sources.size();
  m_sources.push_back(std::move(row));
  m_sourceOfName[FoldedName(NameOf(number))] = number;
  return CompleteOperand({number, number + 1});
}

// Names without brackets may hold signs, as Order-Lines and Orders(old) do: what touches belongs to them.
size_t CSqlSources::EndOfName(size_t first) const {
  constexpr std::u16string_view kEnds = u"),;=<>";
  const auto isName = [this](size_t i) {
    return m_scanner[i].kind == ESqlToken::Word || m_scanner[i].kind == ESqlToken::Bracketed;
  };
  if (first >= m_last || !isName(first)) return first;
  size_t end = first + 1;
  while (end < m_last && m_scanner[end].start == m_scanner[end - 1].end) {
    if (m_scanner.IsSymbol(end, u'(')) {
      end = m_scanner[end].partner + 1;
      continue;
    }
    const bool isSign = m_scanner[end].kind == ESqlToken::Symbol &&
                        kEnds.find(m_scanner.GetText(end).front()) == std::u16string_view::npos;
    if (!isSign && !(isName(end) && m_scanner[end - 1].kind == ESqlToken::Symbol)) break;
    ++end;
  }
  return end;
}

// A source or a closed parenthesis: the left side of a join, or the right side of the one begun.
bool CSqlSources::CompleteOperand(SRange operand) {
  for (;;) {
    SFrame& frame = m_frames.back();
    if (frame.joinKind == 0) {
      frame.left = operand;
    } else if (!TakeJoin(frame, operand)) {
      return false;
    }
    frame.joinKind = ReadJoinKeyword();
    m_wantsOperand = frame.joinKind != 0;
    if (m_wantsOperand || m_next >= m_last) return true;
    if (m_scanner.IsSymbol(m_next, u',') && m_frames.size() == 1) {
      ++m_next;
      m_wantsOperand = true;
      return true;
    }
    if (!m_scanner.IsSymbol(m_next, u')') || !frame.isParenthesis) return false;
    ++m_next;
    operand = frame.left;
    m_frames.pop_back();
  }
}

int CSqlSources::ReadJoinKeyword() {
  constexpr std::u16string_view kKinds[] = {u"INNER", u"LEFT", u"RIGHT"};
  for (int kind = 0; kind < 3; ++kind) {
    if (m_next >= m_last || !m_scanner.IsWord(m_next, kKinds[kind])) continue;
    const size_t join = m_next + (m_scanner.IsWord(m_next + 1, u"OUTER") ? 2 : 1);
    if (join >= m_last || !m_scanner.IsWord(join, u"JOIN")) return 0;
    m_next = join + 1;
    return kind + 1;
  }
  return 0;
}

bool CSqlSources::TakeJoin(SFrame& frame, SRange right) {
  if (m_next >= m_last || !m_scanner.IsWord(m_next, u"ON")) return false;
  const size_t first = ++m_next;
  m_next = FindConditionEnd();
  if (first == m_next) return false;
  AddConditions({first, m_next}, frame.joinKind, frame.left, right);
  frame.left.last = right.last;
  return true;
}

// A condition runs to the next join of its level, to the comma behind it or to the parenthesis around it.
size_t CSqlSources::FindConditionEnd() const {
  size_t i = m_next;
  while (i < m_last) {
    const uint32_t depth = m_scanner[m_next].depth;
    if (m_scanner[i].depth < depth) break;
    if (m_scanner[i].depth == depth) {
      if (m_scanner.IsSymbol(i, u',')) break;
      const bool isKind =
          m_scanner.IsWord(i, u"INNER") || m_scanner.IsWord(i, u"LEFT") || m_scanner.IsWord(i, u"RIGHT");
      if (isKind && (m_scanner.IsWord(i + 1, u"JOIN") || m_scanner.IsWord(i + 1, u"OUTER"))) break;
    }
    ++i;
  }
  return i;
}

// "(a) AND (b)" becomes two rows; anything else is one. Of parentheses around a row's condition one pair is
// left out: it belongs to the statement, further ones to the condition.
void CSqlSources::AddConditions(SRange tokens, int kind, SRange left, SRange right) {
  struct SPart {
    SRange tokens;
    bool isOpened;  // its own parentheses are left out already
  };
  std::vector<SPart> parts{{tokens, false}};
  while (!parts.empty()) {
    const SPart part = parts.back();
    parts.pop_back();
    const std::vector<SRange> conditions = SplitAtAnd(part.tokens);
    if (conditions.empty() || (conditions.size() == 1 && part.isOpened)) {
      AddJoinRow(part.tokens, kind, left, right);
    } else if (conditions.size() == 1) {
      parts.push_back({{part.tokens.first + 1, part.tokens.last - 1}, true});
    } else {
      for (size_t i = conditions.size(); i-- > 0;) parts.push_back({conditions[i], false});
    }
  }
}

// The members of "(a) AND (b) AND ..." with their parentheses; one for "(a)"; none for any other text.
std::vector<CSqlSources::SRange> CSqlSources::SplitAtAnd(SRange tokens) const {
  std::vector<SRange> members;
  for (size_t i = tokens.first; i < tokens.last && m_scanner.IsSymbol(i, u'(');) {
    const size_t end = m_scanner[i].partner + 1;
    members.push_back({i, end});
    if (end == tokens.last) return members;
    if (!m_scanner.IsWord(end, u"AND")) break;
    i = end + 1;
  }
  return {};
}

void CSqlSources::AddJoinRow(SRange tokens, int kind, SRange left, SRange right) {
  // The first table of either side that the condition names; without one, the neighbours of the join.
  size_t leftTable = left.last - 1;
  size_t rightTable = right.first;
  bool hasLeft = false;
  bool hasRight = false;
  for (size_t i = tokens.first; i + 1 < tokens.last && !(hasLeft && hasRight); ++i) {
    if (!m_scanner.IsSymbol(i + 1, u'.') && !m_scanner.IsSymbol(i + 1, u'!')) continue;
    const auto named = m_sourceOfName.find(FoldedName(PlainName(m_scanner.GetText(i))));
    if (named == m_sourceOfName.end()) continue;
    if (!hasLeft && left.Holds(named->second)) {
      leftTable = named->second;
      hasLeft = true;
    } else if (!hasRight && right.Holds(named->second)) {
      rightTable = named->second;
      hasRight = true;
    }
  }
  SQueryRow row;
  row.attribute = kQueryJoin;
  row.flag = static_cast<int16_t>(kind);
  row.name1 = NameOf(leftTable);
  row.name2 = NameOf(rightTable);
  row.expression = m_scanner.GetText(tokens.first, tokens.last);
  m_joins.push_back(std::move(row));
}

const std::u16string& CSqlSources::NameOf(size_t source) const {
  const SQueryRow& row = m_sources[source];
  return row.name2 ? *row.name2 : *row.name1;
}

}  // namespace tolvane
