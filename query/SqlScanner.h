// Cuts Access SQL into tokens, as far as clauses need it: names, literals and parentheses are told apart,
// expressions are not understood. Linear; no recursion, whatever the nesting.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace tolvane {

enum class ESqlToken : uint8_t {
  Word,       // letters, digits, "_" and everything above U+007F
  Bracketed,  // [name]
  Literal,    // "text", 'text' or #date#
  Symbol,     // one unit
};

struct SSqlToken {
  ESqlToken kind;
  size_t start;
  size_t end;      // behind the last unit
  uint32_t depth;  // open parentheses before the token; "(" and its ")" share one depth
  size_t partner;  // of "(" the number of the token that closes it, if there is one
};

class CSqlScanner {
 public:
  // `sql` must outlive the scanner.
  explicit CSqlScanner(std::u16string_view sql);

  // False when a parenthesis, a bracket or a text literal is left open or closed once too often.
  [[nodiscard]] bool IsBalanced() const { return m_isBalanced; }
  [[nodiscard]] size_t GetCount() const { return m_tokens.size(); }
  [[nodiscard]] const SSqlToken& operator[](size_t i) const { return m_tokens[i]; }

  [[nodiscard]] std::u16string_view GetText(size_t i) const {
    return m_sql.substr(m_tokens[i].start, m_tokens[i].end - m_tokens[i].start);
  }
  // The text from the start of token `first` to the end of the token before `last`.
  [[nodiscard]] std::u16string_view GetText(size_t first, size_t last) const;

  // ASCII letters of any case; never true for a bracketed name or a literal.
  [[nodiscard]] bool IsWord(size_t i, std::u16string_view keyword) const;
  [[nodiscard]] bool IsSymbol(size_t i, char16_t unit) const;
  // The first token in [first, last) at `depth` that is this word or symbol; `last` when there is none.
  [[nodiscard]] size_t FindWord(size_t first, size_t last, uint32_t depth, std::u16string_view keyword) const;
  [[nodiscard]] size_t FindSymbol(size_t first, size_t last, uint32_t depth, char16_t unit) const;

 private:
  size_t EndOfToken(size_t start, ESqlToken& kind);

  std::u16string_view m_sql;
  std::vector<SSqlToken> m_tokens;
  bool m_isBalanced = true;
};

// With ASCII letters in one case.
std::u16string FoldedName(std::u16string_view name);
// The name without its brackets and the blanks around it.
std::u16string_view PlainName(std::u16string_view name);

}  // namespace tolvane
