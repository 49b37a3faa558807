// What people hand in: the words of a command line, one a line, and the map of a rescue.
#include "cli/CommandArguments.h"
#include "engine/RescueMap.h"
#include "platform/Text.h"
#include "platform/TextUnits.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  using namespace tolvane;
  const std::string_view bytes(reinterpret_cast<const char*>(data), size);
  std::vector<std::u16string> words;
  for (std::string_view rest = bytes; !rest.empty();) words.push_back(FromUtf8(CutPart(rest, '\n')));
  const SParsedArguments parsed = ParseArguments(words);
  if (parsed.isEnd && parsed.text.empty()) std::abort();

  uint64_t end = 0;  // holes are in order and apart
  for (const SFileRange& hole : ReadRescueMap(bytes).holes) {
    if (hole.offset < end || hole.length == 0) std::abort();
    end = hole.offset + hole.length + 1;
  }
  return 0;
}
