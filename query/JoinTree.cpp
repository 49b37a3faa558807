#include "query/JoinTree.h"

#include <utility>

#include "query/SqlName.h"
#include "query/SqlScanner.h"

namespace tolvane {
namespace {

constexpr size_t kSourceBit = ~(~size_t{0} >> 1);

std::u16string_view KindWords(int16_t kind) {
  if (kind == kJoinLeft) return u" LEFT JOIN ";
  if (kind == kJoinRight) return u" RIGHT JOIN ";
  return u" INNER JOIN ";
}

}  // namespace

void CJoinTree::AddSource(std::u16string_view name, std::u16string text) {
  m_byName.try_emplace(FoldedName(name), m_sources.size());
  m_sources.push_back({std::move(text)});
}

size_t CJoinTree::SourceOf(std::u16string_view name, bool& isKnown) {
  const auto [found, isNew] = m_byName.try_emplace(FoldedName(PlainName(name)), m_sources.size());
  if (isNew) {
    isKnown = false;
    m_sources.push_back({BracketedIfNeeded(name)});
  }
  return found->second;
}

size_t CJoinTree::RootOf(size_t source) const {
  while (m_sources[source].parent != kNone) source = m_sources[source].parent;
  return source;
}

// The join that brought two sources together: the latest on the way between them.
size_t CJoinTree::JoinBetween(size_t one, size_t other) const {
  size_t join = kNone;
  while (one != other) {
    // kNone, the root's, is the greatest number.
    size_t& lower = m_sources[one].join < m_sources[other].join ? one : other;
    join = m_sources[lower].join;
    lower = m_sources[lower].parent;
  }
  return join;
}

bool CJoinTree::AddJoin(const SQueryRow& row) {
  bool isKnown = true;
  const size_t left = SourceOf(row.name1 ? *row.name1 : std::u16string_view(), isKnown);
  const size_t right = SourceOf(row.name2 ? *row.name2 : std::u16string_view(), isKnown);
  if (left == right) return false;
  const std::u16string_view condition = row.expression ? *row.expression : std::u16string_view();
  size_t upper = RootOf(left), lower = RootOf(right);
  if (upper == lower) {
    m_joins[JoinBetween(left, right)].conditions.push_back(condition);
    return isKnown;
  }
  const auto operand = [this](size_t root) {
    return m_sources[root].top == kNone ? root | kSourceBit : m_sources[root].top;
  };
  m_joins.push_back({row.flag.value_or(kJoinInner), operand(upper), operand(lower), {condition}});
  if (m_sources[upper].size < m_sources[lower].size) std::swap(upper, lower);
  m_sources[upper].size += m_sources[lower].size;
  m_sources[lower].parent = upper;
  m_sources[lower].join = m_joins.size() - 1;
  m_sources[upper].top = m_joins.size() - 1;
  return isKnown;
}

std::u16string CJoinTree::GetText() const {
  std::u16string text;
  std::vector<bool> isWritten(m_sources.size());
  for (size_t i = 0; i < m_sources.size(); ++i) {
    const size_t root = RootOf(i);
    if (isWritten[root]) continue;
    isWritten[root] = true;
    if (!text.empty()) text += u", ";
    AppendTree(root, text);
  }
  return text;
}

void CJoinTree::AppendConditions(const SJoin& join, std::u16string& text) {
  text += u" ON ";
  const bool isOne = join.conditions.size() == 1;
  for (size_t i = 0; i < join.conditions.size(); ++i) {
    if (i > 0) text += u" AND ";
    if (!isOne) text += u'(';
    text += join.conditions[i];
    if (!isOne) text += u')';
  }
}

// Each join is met three times: before its left side, before its right side and behind it.
void CJoinTree::AppendTree(size_t source, std::u16string& text) const {
  const size_t top = m_sources[source].top;
  struct SStep {
    size_t operand;
    int stage;
  };
  std::vector<SStep> steps{{top == kNone ? source | kSourceBit : top, 0}};
  while (!steps.empty()) {
    const SStep step = steps.back();
    steps.pop_back();
    if ((step.operand & kSourceBit) != 0) {
      text += m_sources[step.operand & ~kSourceBit].text;
      continue;
    }
    const SJoin& join = m_joins[step.operand];
    const bool isNested = step.operand != top;
    if (step.stage == 0) {
      if (isNested) text += u'(';
      steps.push_back({step.operand, 1});
      steps.push_back({join.left, 0});
    } else if (step.stage == 1) {
      text += KindWords(join.kind);
      steps.push_back({step.operand, 2});
      steps.push_back({join.right, 0});
    } else {
      AppendConditions(join, text);
      if (isNested) text += u')';
    }
  }
}

}  // namespace tolvane
