#include "embedded/StoredText.h"

#include <algorithm>

#include "format/Bytes.h"
#include "platform/CodePage.h"
#include "platform/Text.h"

namespace tolvane {
namespace {

constexpr uint8_t kCompressedMark[] = {0xFF, 0xFE};
constexpr size_t kShortestCompressed = 3;  // characters

// The engines compress a text only as a whole, and leave one or two characters plain.
bool CanCompress(std::u16string_view text) {
  return text.size() >= kShortestCompressed &&
         std::all_of(text.begin(), text.end(), [](char16_t unit) { return unit >= 1 && unit <= 0xFF; });
}

}  // namespace

std::u16string_view WithoutByteOrderMarks(std::u16string_view text) {
  while (!text.empty() && text.front() == 0xFEFF) text.remove_prefix(1);
  return text;
}

size_t AppendStoredText(const STextLayout& layout, std::u16string_view text, ETextForm form,
                        std::vector<uint8_t>& out) {
  text = WithoutByteOrderMarks(text);
  if (layout.IsCodePage()) return EncodeCodePage(kGeneralCodePage, text, out);
  if (form == ETextForm::Plain || !CanCompress(text)) {
    AppendUnits(out, text);
    return 0;
  }
  out.insert(out.end(), std::begin(kCompressedMark), std::end(kCompressedMark));
  const size_t at = out.size();
  out.resize(at + text.size());
  std::transform(text.begin(), text.end(), out.begin() + static_cast<std::ptrdiff_t>(at),
                 [](char16_t unit) { return static_cast<uint8_t>(unit); });
  return 0;
}

void AppendPlainText(const STextLayout& layout, std::span<const uint8_t> stored, std::vector<uint8_t>& out) {
  if (layout.IsCodePage() || stored.size() < 2 || stored[0] != kCompressedMark[0] ||
      stored[1] != kCompressedMark[1]) {
    out.insert(out.end(), stored.begin(), stored.end());
    return;
  }
  // A zero byte switches between one and two bytes a character.
  bool isCompressed = true;
  for (size_t i = 2; i < stored.size();) {
    if (stored[i] == 0) {
      isCompressed = !isCompressed;
      i++;
    } else if (isCompressed) {
      out.push_back(stored[i++]);
      out.push_back(0);
    } else if (i + 1 < stored.size()) {
      out.push_back(stored[i]);
      out.push_back(stored[i + 1]);
      i += 2;
    } else {
      break;
    }
  }
}

std::u16string DecodePlainText(const STextLayout& layout, std::span<const uint8_t> stored) {
  if (!layout.IsCodePage()) return UnitsOf(stored);
  std::u16string text;
  DecodeCodePage(kGeneralCodePage, stored, text);
  return text;
}

std::u16string DescribeReplaced(uint64_t count, std::u16string_view where) {
  if (count == 0) return {};
  std::u16string text = ToDecimal(count);
  text.append(count == 1 ? u" character that the code page " : u" characters that the code page ");
  text.append(ToDecimal(uint64_t{kGeneralCodePage})).append(u" does not hold ");
  return text.append(count == 1 ? u"was" : u"were").append(u" replaced in ").append(where);
}

}  // namespace tolvane
