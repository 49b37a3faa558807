// Text on its way into an HTML page. Whatever a file holds comes out as text: nothing in it may become
// markup, reorder what stands around it, or be a character that HTML forbids.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace tolvane {

class CHtml {
 public:
  // Markup as it stands.
  CHtml& Raw(std::string_view markup) {
    m_text += markup;
    return *this;
  }
  // Own text, without a foreign name in it.
  CHtml& Text(std::u16string_view text);
  CHtml& Text(std::string_view ascii);
  CHtml& Number(uint64_t number);  // with its digits in groups
  // A name from the file, kept to its own direction of writing; shortened when it is longer than any name is.
  CHtml& Name(std::u16string_view name);
  // A text of several lines.
  CHtml& Code(std::u16string_view text, size_t mostUnits);

  // <h2>, with an anchor for the page's own links.
  CHtml& Heading(std::string_view id, std::string_view text);
  CHtml& Paragraph(std::u16string_view text);
  // The head of a table; a heading that begins with '#' is one of numbers. To be closed by EndTable.
  CHtml& BeginTable(std::string_view caption, const std::vector<std::string_view>& headings);
  CHtml& EndTable() { return Raw("</tbody></table></div>\n"); }
  CHtml& NumberCell(uint64_t number, bool isMarked = false);
  CHtml& TextCell(std::u16string_view text);

  [[nodiscard]] std::string Take() { return std::move(m_text); }

 private:
  void Escape(std::u16string_view recovered);

  std::string m_text;
};

// "1,234"
std::string GroupedNumber(uint64_t number);

}  // namespace tolvane
