#include "embedded/ObjectName.h"

#include <algorithm>
#include <string>
#include <vector>

#include "embedded/StoredText.h"
#include "format/TextKey.h"

namespace tolvane {
namespace {

constexpr std::u16string_view kForbidden = u".!`[]";
constexpr char16_t kFirstPrintable = u' ';

CDaoResult InvalidName(std::u16string_view kind, std::u16string_view why) {
  std::u16string text(u"The ");
  text.append(kind).append(u" name is not allowed: it ").append(why).append(u".");
  return {EDaoError::InvalidName, std::move(text)};
}

}  // namespace

CDaoResult CheckObjectName(const SLayout& layout, std::u16string_view kind, std::u16string_view name) {
  if (WithoutByteOrderMarks(name).empty()) return InvalidName(kind, u"is empty");
  if (name.size() > kMaxNameLength) return InvalidName(kind, u"is longer than 64 characters");
  if (name.front() == u' ') return InvalidName(kind, u"begins with a blank");
  if (name.find_first_of(kForbidden) != std::u16string_view::npos)
    return InvalidName(kind, u"contains one of the characters . ! ` [ ]");
  if (std::any_of(name.begin(), name.end(), [](char16_t unit) { return unit < kFirstPrintable; }))
    return InvalidName(kind, u"contains a control character");
  std::vector<uint8_t> stored;
  if (AppendStoredText(layout.text, name, ETextForm::Plain, stored).replaced != 0)
    return InvalidName(kind, u"contains a character that the code page 1252 does not hold");
  return CDaoResult::Ok();
}

std::vector<uint8_t> EncodeName(const SLayout& layout, std::u16string_view name) {
  std::vector<uint8_t> bytes;
  AppendStoredText(layout.text, name, ETextForm::Plain, bytes);
  return bytes;
}

std::string MakeNameKey(const SLayout& layout, std::u16string_view name) {
  return MakeNameKey(layout.text.IsCodePage(), EncodeName(layout, name));
}

bool IsNameBefore(const SLayout& layout, std::u16string_view a, std::u16string_view b) {
  return MakeNameKey(layout, a) < MakeNameKey(layout, b);
}

}  // namespace tolvane
