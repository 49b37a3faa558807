#include "embedded/StoredText.h"

#include "format/Bytes.h"
#include "format/CompressedText.h"
#include "platform/CodePage.h"
#include "platform/Text.h"

namespace tolvane {

std::u16string_view WithoutByteOrderMarks(std::u16string_view text) {
  while (BeginsWithByteOrderMark(text)) text.remove_prefix(1);
  return text;
}

STextLoss AppendStoredText(const STextLayout& layout, std::u16string_view text, ETextForm form,
                           std::vector<uint8_t>& out) {
  STextLoss loss;
  const bool isMarked = BeginsWithByteOrderMark(text);
  if (isMarked && !layout.IsCodePage() && form != ETextForm::Plain && CanSwitchText(text)) {
    out.insert(out.end(), std::begin(kWideTextHead), std::end(kWideTextHead));
    AppendUnits(out, text);
    return loss;
  }
  loss.mark = isMarked;
  text = WithoutByteOrderMarks(text);
  if (layout.IsCodePage())
    loss.replaced = EncodeCodePage(kGeneralCodePage, text, out);
  else if (form == ETextForm::CompressedIfPossible && CanCompressText(text))
    AppendCompressedText(text, out);
  else
    AppendUnits(out, text);
  return loss;
}

void AppendPlainText(const STextLayout& layout, std::span<const uint8_t> stored, std::vector<uint8_t>& out) {
  if (layout.IsCodePage())
    out.insert(out.end(), stored.begin(), stored.end());
  else
    AppendPlainUtf16(stored, out);
}

void AppendOuterText(const STextLayout& layout, std::span<const uint8_t> stored, std::vector<uint8_t>& out) {
  AppendPlainText(layout, stored, out);
  if (!layout.IsCodePage() && BeginsWithByteOrderMark(UnitsOf(out))) out.assign(stored.begin(), stored.end());
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
