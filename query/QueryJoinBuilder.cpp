#include "query/QueryJoinBuilder.h"

#include <iterator>
#include <utility>

namespace tolvane {

void CJoinText::Prepend(std::u16string text) {
  m_length += text.size();
  m_pieces.push_front(std::move(text));
}

void CJoinText::Append(std::u16string text) {
  m_length += text.size();
  m_pieces.push_back(std::move(text));
}

void CJoinText::Append(CJoinText&& other) {
  m_length += other.m_length;
  other.m_length = 0;
  m_pieces.splice(m_pieces.end(), other.m_pieces);
}

std::u16string CJoinText::ToString() const {
  std::u16string text;
  text.reserve(m_length);
  for (const std::u16string& piece : m_pieces) text += piece;
  return text;
}

bool CJoinText::Equals(const CJoinText& other) const {
  return m_length == other.m_length && ToString() == other.ToString();
}

std::u16string_view CQueryJoinBuilder::GetKindKeyword(std::u16string_view code) {
  if (code == u"1") return u"INNER JOIN";
  if (code == u"2") return u"LEFT JOIN";
  if (code == u"3") return u"RIGHT JOIN";
  return {};
}

std::u16string CQueryJoinBuilder::GetJoinText() {
  MergeSamePairs();
  while (const std::unique_ptr<CQueryAttributes> row = m_rows.TakeFront()) AddStatement(*row);
  // Joins that share no table with the first group are not written.
  return m_statements.empty() ? std::u16string() : m_statements.front().text.ToString();
}

// Three conditions of one pair become "((e1) AND (e2)) AND (e3)". The kind of the first row stays.
void CQueryJoinBuilder::MergeSamePairs() {
  struct SPair {
    std::unique_ptr<CQueryAttributes> first;
    size_t foldedRows = 0;
    std::u16string folded;  // what follows the first condition
  };
  std::vector<SPair> groups;
  std::unordered_map<std::u16string, size_t> byPair;
  while (std::unique_ptr<CQueryAttributes> row = m_rows.TakeFront()) {
    // The length in front keeps ("a", "bc") and ("ab", "c") apart, whatever units the names hold.
    std::u16string pair = {static_cast<char16_t>(row->Name1.size() >> 16),
                           static_cast<char16_t>(row->Name1.size())};
    pair += row->Name1;
    pair += row->Name2;
    const auto [found, isNew] = byPair.emplace(std::move(pair), groups.size());
    if (isNew) {
      groups.push_back({std::move(row), 0, {}});
      continue;
    }
    SPair& group = groups[found->second];
    ++group.foldedRows;
    group.folded += u") AND (";
    group.folded += row->Expression;
    group.folded += u')';
  }
  for (SPair& group : groups) {
    if (group.foldedRows > 0)
      group.first->Expression =
          std::u16string(group.foldedRows, u'(') + group.first->Expression + group.folded;
    m_rows.Append(std::move(group.first));
  }
}

CQueryJoinBuilder::SSide CQueryJoinBuilder::ResolveSide(const std::u16string& tableText,
                                                        const std::u16string& name) {
  if (!tableText.empty()) return {CJoinText(tableText), m_statements.end()};
  const auto statement = m_groups[RootOf(GroupOf(name))].statement;
  if (statement == m_statements.end()) return {CJoinText(name), statement};
  return {CJoinText(), statement};
}

size_t CQueryJoinBuilder::GroupOf(const std::u16string& table) {
  const auto [found, isNew] = m_groupOfTable.emplace(table, m_groups.size());
  if (isNew) m_groups.push_back({m_groups.size(), m_statements.end()});
  return found->second;
}

size_t CQueryJoinBuilder::RootOf(size_t group) {
  while (m_groups[group].parent != group) {
    m_groups[group].parent = m_groups[m_groups[group].parent].parent;
    group = m_groups[group].parent;
  }
  return group;
}

// Takes the texts of the statements that the sides stand for: those statements hold one of the row's tables
// and are about to be removed.
CJoinText CQueryJoinBuilder::ComposeText(const CQueryAttributes& row, SSide left, SSide right) {
  const auto none = m_statements.end();
  const CJoinText& leftText = left.statement == none ? left.text : left.statement->text;
  const CJoinText& rightText = right.statement == none ? right.text : right.statement->text;
  const bool isSameStatement = left.statement != none && left.statement == right.statement;
  const bool isSameText = isSameStatement || leftText.Equals(rightText);

  CJoinText text = left.statement == none ? std::move(left.text) : std::move(left.statement->text);
  if (isSameText) {
    text.Append(u" AND (" + row.Expression + u")");
    return text;
  }
  text.Prepend(u"(");
  text.Append(u") " + std::u16string(GetKindKeyword(row.Flag)) + u" (");
  text.Append(right.statement == none ? std::move(right.text) : std::move(right.statement->text));
  text.Append(u") ON (" + row.Expression + u")");
  return text;
}

void CQueryJoinBuilder::AddStatement(const CQueryAttributes& row) {
  CJoinText text =
      ComposeText(row, ResolveSide(row.leftTable, row.Name1), ResolveSide(row.rightTable, row.Name2));

  const size_t left = RootOf(GroupOf(row.Name1));
  const size_t right = RootOf(GroupOf(row.Name2));
  for (const size_t root : {left, right}) {
    Statements::iterator& held = m_groups[root].statement;
    if (held != m_statements.end()) m_statements.erase(held);
    held = m_statements.end();
  }
  m_groups[right].parent = left;
  m_statements.emplace_back().text = std::move(text);
  m_groups[left].statement = std::prev(m_statements.end());
}

}  // namespace tolvane
