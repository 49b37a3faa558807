// What the consistency checker has to say about a file: findings, each under the rule that is broken, and
// notes. docs/checker.md lists the rules.
#pragma once

#include <concepts>
#include <cstdint>
#include <map>
#include <string>
#include <string_view>
#include <vector>

#include "platform/Text.h"

namespace tolvane {

// Error: no sound file breaks the rule. Doubt: files in long use break it, and engines read them all the
// same.
enum class ESeverity : uint8_t { Error, Doubt };

inline constexpr uint32_t kNoPage = 0xFFFFFFFF, kNoRow = 0xFFFFFFFF;

struct SPlace {
  uint32_t page = kNoPage;
  uint32_t row = kNoRow;  // slot on the page
};

struct SFinding {
  ESeverity severity = ESeverity::Error;
  std::string_view rule;  // a literal such as "E7"
  SPlace place;
  std::u16string table;  // empty where the finding belongs to no table
  std::u16string text;
};

struct SRuleCount {
  uint64_t errors = 0, doubts = 0;
};

inline void AppendPart(std::u16string& text, std::u16string_view part) {
  text += part;
}
template <std::integral T>
void AppendPart(std::u16string& text, T number) {
  text += ToDecimal(number);
}

// Texts and numbers one after the other.
template <class... Parts>
std::u16string Say(const Parts&... parts) {
  std::u16string text;
  (AppendPart(text, parts), ...);
  return text;
}

// All findings are counted, the first ones of each rule are kept: memory does not grow with the damage.
class CFindings {
 public:
  explicit CFindings(size_t keptPerRule) : m_keptPerRule(keptPerRule) {}

  // Findings from here on belong to this table.
  void EnterTable(std::u16string_view name) { m_table = name; }
  // `rule` must be a literal; the parts are texts and numbers.
  template <class... Parts>
  void Error(std::string_view rule, SPlace place, const Parts&... parts) {
    Add(ESeverity::Error, rule, place, Say(parts...));
  }
  template <class... Parts>
  void Doubt(std::string_view rule, SPlace place, const Parts&... parts) {
    Add(ESeverity::Doubt, rule, place, Say(parts...));
  }
  // What was not looked at, and why; each text once.
  template <class... Parts>
  void Note(const Parts&... parts) {
    AddNote(Say(parts...));
  }

  [[nodiscard]] uint64_t CountErrors() const { return m_errors; }
  [[nodiscard]] const std::vector<SFinding>& GetFindings() const { return m_findings; }
  [[nodiscard]] const std::map<std::string_view, SRuleCount>& GetCounts() const { return m_counts; }
  [[nodiscard]] const std::vector<std::u16string>& GetNotes() const { return m_notes; }

 private:
  void Add(ESeverity severity, std::string_view rule, SPlace place, std::u16string text);
  void AddNote(std::u16string text);

  const size_t m_keptPerRule;
  std::u16string m_table;
  std::vector<SFinding> m_findings;
  std::map<std::string_view, SRuleCount> m_counts;
  uint64_t m_errors = 0;
  std::vector<std::u16string> m_notes;
};

}  // namespace tolvane
