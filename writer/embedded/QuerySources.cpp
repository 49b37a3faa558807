#include "writer/embedded/QuerySources.h"

#include <utility>

#include "platform/Text.h"

namespace tolvane {
namespace {

constexpr uint8_t kSource = 5;
constexpr uint8_t kJoin = 7;
// Far beyond what any engine runs.
constexpr size_t kMostSources = 256;

}  // namespace

bool CQuerySources::Read() {
  m_frames.emplace_back();
  while (m_next < m_last) {
    if (!m_wantsOperand || !ReadOperand()) return false;
  }
  return m_frames.size() == 1 && !m_wantsOperand;
}

bool CQuerySources::ReadOperand() {
  if (m_scanner.IsSymbol(m_next, u'(')) {
    SFrame frame;
    frame.isParenthesis = true;
    m_frames.push_back(std::move(frame));
    ++m_next;
    return true;
  }
  return ReadSource();
}

// A table or query name, perhaps with dots, and an alias with or without AS.
bool CQuerySources::ReadSource() {
  const auto isName = [this](size_t i) {
    return i < m_last && (m_scanner[i].kind == ESqlToken::Word || m_scanner[i].kind == ESqlToken::Bracketed);
  };
  if (!isName(m_next) || m_sources.size() >= kMostSources) return false;
  const size_t first = m_next++;
  while (m_scanner.IsSymbol(m_next, u'.') && isName(m_next + 1)) m_next += 2;

  SStoredQueryRow row;
  row.attribute = kSource;
  row.name1 = PlainName(m_scanner.GetText(first, m_next));
  if (m_next < m_last && m_scanner.IsWord(m_next, u"AS")) {
    ++m_next;
    if (!isName(m_next)) return false;
    row.name2 = PlainName(m_scanner.GetText(m_next++));
  }
  m_sources.push_back(std::move(row));
  return CompleteOperand({m_sources.size() - 1});
}

// A source or a closed parenthesis: the left side of a join, or the right side of the one begun.
bool CQuerySources::CompleteOperand(Tables tables) {
  for (;;) {
    SFrame& frame = m_frames.back();
    if (frame.joinKind == 0) {
      frame.left = std::move(tables);
    } else if (!TakeJoin(frame, std::move(tables))) {
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
    tables = std::move(frame.left);
    m_frames.pop_back();
  }
}

int CQuerySources::ReadJoinKeyword() {
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

bool CQuerySources::TakeJoin(SFrame& frame, Tables right) {
  if (m_next >= m_last || !m_scanner.IsWord(m_next, u"ON")) return false;
  const size_t first = m_next + 1;
  m_next = first;
  m_next = FindConditionEnd();
  if (first == m_next) return false;
  AddConditions(first, m_next, frame.joinKind, frame.left, right);
  // The longer list takes the shorter one, so that a chain of thousands of joins stays linear.
  if (frame.left.size() < right.size()) frame.left.swap(right);
  frame.left.insert(frame.left.end(), right.begin(), right.end());
  return true;
}

// A condition runs to the next join of its level, to the comma behind it or to the parenthesis around it.
size_t CQuerySources::FindConditionEnd() const {
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

// "(a) AND (b)" becomes two rows; anything else is one. Parentheses around the whole are left out.
void CQuerySources::AddConditions(size_t first, size_t last, int kind, const Tables& left,
                                  const Tables& right) {
  struct SRange {
    size_t first;
    size_t last;
  };
  std::vector<SRange> open{{first, last}};
  while (!open.empty()) {
    SRange range = open.back();
    open.pop_back();
    const bool isOpen = m_scanner.IsSymbol(range.first, u'(');
    const size_t close = isOpen ? m_scanner[range.first].partner : range.last;
    if (isOpen && close + 1 == range.last && close > range.first + 1) {
      open.push_back({range.first + 1, close});
      continue;
    }
    if (isOpen && close + 2 < range.last && m_scanner.IsWord(close + 1, u"AND") &&
        m_scanner.IsSymbol(close + 2, u'(')) {
      open.push_back({close + 2, range.last});
      open.push_back({range.first, close + 1});
      continue;
    }
    AddJoinRow(range.first, range.last, kind, left, right);
  }
}

void CQuerySources::AddJoinRow(size_t first, size_t last, int kind, const Tables& left, const Tables& right) {
  // The tables that the condition names; without a clear answer, the neighbours of the join.
  size_t leftTable = left.back();
  size_t rightTable = right.front();
  if (left.size() > 1 || right.size() > 1) {
    for (const size_t table : left)
      if (Mentions(first, last, table)) leftTable = table;
    for (const size_t table : right)
      if (Mentions(first, last, table)) rightTable = table;
  }
  SStoredQueryRow row;
  row.attribute = kJoin;
  row.flag = static_cast<int16_t>(kind);
  row.name1 = NameOf(leftTable);
  row.name2 = NameOf(rightTable);
  row.expression = m_scanner.GetText(first, last);
  m_joins.push_back(std::move(row));
}

const std::u16string& CQuerySources::NameOf(size_t source) const {
  const SStoredQueryRow& row = m_sources[source];
  return row.name2 ? *row.name2 : *row.name1;
}

bool CQuerySources::Mentions(size_t first, size_t last, size_t source) const {
  for (size_t i = first; i + 1 < last; ++i) {
    if ((m_scanner.IsSymbol(i + 1, u'.') || m_scanner.IsSymbol(i + 1, u'!')) &&
        EqualsIgnoreCase(PlainName(m_scanner.GetText(i)), NameOf(source)))
      return true;
  }
  return false;
}

}  // namespace tolvane
