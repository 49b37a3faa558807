#include "query/SqlName.h"

#include <algorithm>
#include <array>

#include "query/SqlScanner.h"

namespace tolvane {
namespace {

// Sorted; what would end or change a clause where a name stands.
constexpr std::array<std::u16string_view, 56> kKeywords{
    u"all",     u"alter",      u"and",    u"any",    u"as",       u"asc",         u"between", u"by",
    u"create",  u"date",       u"delete", u"desc",   u"distinct", u"distinctrow", u"drop",    u"exists",
    u"from",    u"group",      u"having", u"in",     u"inner",    u"insert",      u"into",    u"is",
    u"join",    u"key",        u"left",   u"level",  u"like",     u"not",         u"null",    u"number",
    u"on",      u"option",     u"or",     u"order",  u"outer",    u"parameters",  u"percent", u"pivot",
    u"primary", u"references", u"right",  u"select", u"set",      u"some",        u"table",   u"text",
    u"top",     u"transform",  u"union",  u"update", u"value",    u"values",      u"where",   u"with"};
static_assert(std::ranges::is_sorted(kKeywords));

bool IsPlainUnit(char16_t unit) {
  return (unit >= u'0' && unit <= u'9') || (unit >= u'A' && unit <= u'Z') || (unit >= u'a' && unit <= u'z') ||
         unit == u'_' || unit > 0xBF;
}

}  // namespace

std::u16string BracketedIfNeeded(std::u16string_view name) {
  if (name.find_first_of(u"[]") != std::u16string_view::npos) return std::u16string(name);
  const bool isPlain = !name.empty() && std::ranges::all_of(name, IsPlainUnit) &&
                       !(name[0] >= u'0' && name[0] <= u'9') && name[0] != u'_' &&
                       !std::ranges::binary_search(kKeywords, FoldedName(name));
  std::u16string text(isPlain ? u"" : u"[");
  text += name;
  if (!isPlain) text += u']';
  return text;
}

}  // namespace tolvane
