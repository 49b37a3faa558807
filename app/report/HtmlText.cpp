#include "app/report/HtmlText.h"

#include "app/VisibleText.h"
#include "platform/Text.h"
#include "platform/TextUnits.h"

namespace tolvane {

namespace {

constexpr size_t kLongestName = 300;
constexpr char16_t kReplacement = 0xFFFD;
constexpr char16_t kEllipsis = 0x2026;

// Code points that are no characters, of which HTML allows none.
bool IsForbidden(char16_t unit) {
  return (unit >= 0xFDD0 && unit <= 0xFDEF) || unit >= 0xFFFE;
}

std::string_view EntityOf(char16_t unit) {
  switch (unit) {
    case u'&':
      return "&amp;";
    case u'<':
      return "&lt;";
    case u'>':
      return "&gt;";
    case u'"':
      return "&quot;";
    case u'\'':
      return "&#39;";
    default:
      return {};
  }
}

// The last two characters of each plane are none.
bool IsNoCharacter(char16_t high, char16_t low) {
  return (high & 0x3F) == 0x3F && (low & 0x3FE) == 0x3FE;
}

std::u16string_view Cut(std::u16string_view text, size_t mostUnits) {
  if (text.size() <= mostUnits) return text;
  text = text.substr(0, mostUnits);
  if (IsHighSurrogate(text.back())) text.remove_suffix(1);
  return text;
}

}  // namespace

std::string GroupedNumber(uint64_t number) {
  std::string digits = std::to_string(number);
  for (size_t at = digits.size(); at > 3; at -= 3) digits.insert(at - 3, 1, ',');
  return digits;
}

void CHtml::Escape(std::u16string_view recovered) {
  const std::u16string text = ToVisible(recovered);
  std::u16string plain;
  const auto flush = [this, &plain] {
    AppendUtf8(plain, m_text);
    plain.clear();
  };
  for (size_t i = 0; i < text.size(); ++i) {
    const char16_t unit = text[i];
    if (const std::string_view entity = EntityOf(unit); !entity.empty()) {
      flush();
      m_text += entity;
    } else if (IsHighSurrogate(unit) && i + 1 < text.size() && IsLowSurrogate(text[i + 1])) {
      ++i;
      if (IsNoCharacter(unit, text[i])) {
        plain += kReplacement;
      } else {
        plain += {unit, text[i]};
      }
    } else {
      plain += IsForbidden(unit) ? kReplacement : unit;
    }
  }
  flush();
}

CHtml& CHtml::Text(std::u16string_view text) {
  Escape(text);
  return *this;
}

CHtml& CHtml::Text(std::string_view ascii) {
  return Text(FromAscii(ascii));
}

CHtml& CHtml::Number(uint64_t number) {
  return Raw(GroupedNumber(number));
}

CHtml& CHtml::Name(std::u16string_view name) {
  Raw("<bdi>").Text(Cut(name, kLongestName));
  if (name.size() > kLongestName) Escape({&kEllipsis, 1});
  return Raw("</bdi>");
}

CHtml& CHtml::Code(std::u16string_view text, size_t mostUnits) {
  Raw("<pre><code>");
  const std::u16string_view kept = Cut(text, mostUnits);
  for (std::u16string_view rest = kept; !rest.empty();) {
    std::u16string_view line = CutPart(rest, u'\n');
    if (line.ends_with(u'\r')) line.remove_suffix(1);
    Text(line).Raw("\n");
  }
  Raw("</code></pre>\n");
  if (kept.size() < text.size())
    Raw("<p>").Number(text.size() - kept.size()).Raw(" more characters are in <code>--json</code>.</p>\n");
  return *this;
}

CHtml& CHtml::Heading(std::string_view id, std::string_view text) {
  return Raw("<h2 id=\"").Raw(id).Raw("\">").Text(text).Raw("</h2>\n");
}

CHtml& CHtml::Paragraph(std::u16string_view text) {
  return Raw("<p>").Text(text).Raw("</p>\n");
}

CHtml& CHtml::BeginTable(std::string_view caption, const std::vector<std::string_view>& headings) {
  Raw("<div class=\"wide\"><table><caption>").Text(caption).Raw("</caption><thead><tr>");
  for (std::string_view heading : headings) {
    const bool isNumber = heading.starts_with('#');
    if (isNumber) heading.remove_prefix(1);
    Raw(isNumber ? "<th scope=\"col\" class=\"n\">" : "<th scope=\"col\">").Text(heading).Raw("</th>");
  }
  return Raw("</tr></thead><tbody>\n");
}

CHtml& CHtml::NumberCell(uint64_t number, bool isMarked) {
  return Raw(isMarked && number > 0 ? "<td class=\"n bad\">" : "<td class=\"n\">")
      .Number(number)
      .Raw("</td>");
}

CHtml& CHtml::TextCell(std::u16string_view text) {
  return Raw("<td>").Text(text).Raw("</td>");
}

}  // namespace tolvane
