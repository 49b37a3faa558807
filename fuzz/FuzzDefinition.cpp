// Table definitions: the decoder of each set of rules, the reader of all parts, and what it writes of a
// definition that is whole, which must read back as the same.
#include <set>

#include "engine/DefinitionDecoder.h"
#include "format/Definition.h"
#include "fuzz/FuzzInput.h"

namespace tolvane {
namespace {

std::u16string Widen(std::span<const uint8_t> stored) {
  return {stored.begin(), stored.end()};
}

std::vector<uint8_t> Narrow(std::u16string_view name) {
  std::vector<uint8_t> stored;
  for (const char16_t unit : name) stored.push_back(static_cast<uint8_t>(unit));
  return stored;
}

// Whether the writer could have been given it: it numbers columns by itself.
bool IsMade(const STableDefinition& definition) {
  std::set<uint16_t> numbers;
  for (const SColumnDefinition& column : definition.columns) numbers.insert(column.number);
  return definition.columns.size() <= 255 && numbers.size() == definition.columns.size();
}

void Read(const SLayout& layout, std::span<const uint8_t> block) {
  uint64_t faults = 0;
  const auto count = [&](const SDefinitionFault&) { faults++; };
  STableDefinition definition;
  if (!DecodeDefinition(layout, block, Widen, count, definition)) return;
  if (faults > 0 || !IsMade(definition)) return;
  const std::vector<uint8_t> first = EncodeDefinition(layout, definition, Narrow);
  STableDefinition again;
  Require(DecodeDefinition(layout, first, Widen, count, again) && faults == 0);
  Require(EncodeDefinition(layout, again, Narrow) == first);
}

void Decode(const SLayout& layout, std::span<const uint8_t> block, const SRecoveryRules& rules) {
  CDefinitionDecoder decoder(layout, rules, kGeneralCodePage);
  CAccessTable table(0, u"");
  decoder.Decode(block, table);
}

}  // namespace
}  // namespace tolvane

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  using namespace tolvane;
  CFuzzInput input(data, size);
  const SLayout& layout = input.TakeLayout();
  Read(layout, input.Rest());
  Decode(layout, input.Rest(), kExactRules);
  Decode(layout, input.Rest(), kStandardRules);
  return 0;
}
