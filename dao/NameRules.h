// Names that every format and engine takes. An installed engine would take some others at first, and then not
// find what bears them.
#pragma once

#include <algorithm>
#include <string>
#include <string_view>

#include "dao/dao.h"
#include "format/Layout.h"

namespace tolvane {

inline CDaoResult InvalidName(std::u16string_view kind, std::u16string_view why) {
  std::u16string text(u"The ");
  text.append(kind).append(u" name is not allowed: it ").append(why).append(u".");
  return {EDaoError::InvalidName, std::move(text)};
}

// `kind` is for the message: "table".
inline CDaoResult CheckName(std::u16string_view kind, std::u16string_view name) {
  constexpr std::u16string_view kForbidden = u".!`[]";
  constexpr char16_t kFirstPrintable = u' ';
  if (name.empty()) return InvalidName(kind, u"is empty");
  if (name.size() > kMaxNameLength) return InvalidName(kind, u"is longer than 64 characters");
  if (name.front() == u' ') return InvalidName(kind, u"begins with a blank");
  if (name.find_first_of(kForbidden) != std::u16string_view::npos)
    return InvalidName(kind, u"contains one of the characters . ! ` [ ]");
  if (std::ranges::any_of(name, [](char16_t unit) { return unit < kFirstPrintable; }))
    return InvalidName(kind, u"contains a control character");
  return CDaoResult::Ok();
}

}  // namespace tolvane
