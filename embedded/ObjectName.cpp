#include "embedded/ObjectName.h"

#include <string>
#include <vector>

#include "dao/NameRules.h"
#include "embedded/StoredText.h"
#include "format/TextKey.h"

namespace tolvane {

CDaoResult CheckObjectName(const SLayout& layout, std::u16string_view kind, std::u16string_view name) {
  if (BeginsWithByteOrderMark(name)) return InvalidName(kind, u"begins with a byte order mark");
  if (CDaoResult result = CheckName(kind, name); !result.IsOk()) return result;
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
