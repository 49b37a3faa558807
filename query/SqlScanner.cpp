#include "query/SqlScanner.h"

#include <algorithm>

namespace tolvane {
namespace {

// The engine's dates are short; a "#" without a partner this near is a symbol.
constexpr size_t kLongestDate = 64;

bool IsBlank(char16_t unit) {
  return unit == u' ' || (unit >= u'\t' && unit <= u'\r') || unit == 0;
}

bool IsWordUnit(char16_t unit) {
  return (unit >= u'0' && unit <= u'9') || (unit >= u'A' && unit <= u'Z') || (unit >= u'a' && unit <= u'z') ||
         unit == u'_' || unit > 0x7F;
}

char16_t Folded(char16_t unit) {
  return unit >= u'A' && unit <= u'Z' ? static_cast<char16_t>(unit + (u'a' - u'A')) : unit;
}

}  // namespace

std::u16string FoldedName(std::u16string_view name) {
  std::u16string folded(name);
  for (char16_t& unit : folded) unit = Folded(unit);
  return folded;
}

CSqlScanner::CSqlScanner(std::u16string_view sql) : m_sql(sql) {
  std::vector<size_t> open;
  for (size_t i = 0; i < sql.size();) {
    if (IsBlank(sql[i])) {
      ++i;
      continue;
    }
    SSqlToken token{ESqlToken::Symbol, i, i + 1, static_cast<uint32_t>(open.size()), 0};
    if (sql[i] == u'(') {
      open.push_back(m_tokens.size());
    } else if (sql[i] == u')') {
      m_isBalanced = m_isBalanced && !open.empty();
      if (!open.empty()) {
        m_tokens[open.back()].partner = m_tokens.size();
        open.pop_back();
      }
      token.depth = static_cast<uint32_t>(open.size());
    } else {
      token.end = EndOfToken(i, token.kind);
    }
    m_tokens.push_back(token);
    i = token.end;
  }
  m_isBalanced = m_isBalanced && open.empty();
}

size_t CSqlScanner::EndOfToken(size_t start, ESqlToken& kind) {
  const char16_t first = m_sql[start];
  if (first == u'[' || first == u'"' || first == u'\'') {
    kind = first == u'[' ? ESqlToken::Bracketed : ESqlToken::Literal;
    // A doubled quote simply starts the next literal; both lie behind each other.
    const size_t close = m_sql.find(first == u'[' ? u']' : first, start + 1);
    if (close != std::u16string_view::npos) return close + 1;
    m_isBalanced = false;
    return m_sql.size();
  }
  if (first == u'#') {
    const size_t close = m_sql.substr(0, start + kLongestDate).find(u'#', start + 1);
    if (close == std::u16string_view::npos) return start + 1;
    kind = ESqlToken::Literal;
    return close + 1;
  }
  if (!IsWordUnit(first)) return start + 1;
  kind = ESqlToken::Word;
  size_t end = start + 1;
  while (end < m_sql.size() && IsWordUnit(m_sql[end])) ++end;
  return end;
}

std::u16string_view CSqlScanner::GetText(size_t first, size_t last) const {
  if (first >= last) return {};
  return m_sql.substr(m_tokens[first].start, m_tokens[last - 1].end - m_tokens[first].start);
}

bool CSqlScanner::IsWord(size_t i, std::u16string_view keyword) const {
  if (i >= m_tokens.size() || m_tokens[i].kind != ESqlToken::Word) return false;
  const std::u16string_view text = GetText(i);
  if (!std::ranges::equal(text, keyword, [](char16_t a, char16_t b) { return Folded(a) == Folded(b); }))
    return false;
  // Behind a dot or an exclamation mark stands a name, whatever it spells.
  return i == 0 || !(IsSymbol(i - 1, u'.') || IsSymbol(i - 1, u'!'));
}

bool CSqlScanner::IsSymbol(size_t i, char16_t unit) const {
  return i < m_tokens.size() && m_tokens[i].kind == ESqlToken::Symbol && m_sql[m_tokens[i].start] == unit;
}

size_t CSqlScanner::FindWord(size_t first, size_t last, uint32_t depth, std::u16string_view keyword) const {
  while (first < last && !(m_tokens[first].depth == depth && IsWord(first, keyword))) ++first;
  return first;
}

size_t CSqlScanner::FindSymbol(size_t first, size_t last, uint32_t depth, char16_t unit) const {
  while (first < last && !(m_tokens[first].depth == depth && IsSymbol(first, unit))) ++first;
  return first;
}

std::u16string_view PlainName(std::u16string_view name) {
  while (!name.empty() && IsBlank(name.front())) name.remove_prefix(1);
  while (!name.empty() && IsBlank(name.back())) name.remove_suffix(1);
  // "[a].[b]" begins and ends with brackets that are no pair.
  const bool isBracketed = name.size() >= 2 && name.front() == u'[' && name.find(u']') == name.size() - 1;
  return isBracketed ? name.substr(1, name.size() - 2) : name;
}

}  // namespace tolvane
