#include "engine/RescueMap.h"

#include <algorithm>
#include <charconv>
#include <limits>
#include <optional>

#include "platform/ErrorHandler.h"
#include "platform/FileCust.h"
#include "platform/Text.h"
#include "platform/TextUnits.h"

namespace tolvane {

namespace {

constexpr uint64_t kLongestMap = uint64_t{64} << 20;
constexpr char kRead = '+';
constexpr std::string_view kBlockStatuses = "?*/-+";
constexpr std::string_view kRescueStatuses = "?*/-FG+";
constexpr std::string_view kBlanks = " \t\r";

// The next word of a line; empty at its end.
std::string_view TakeWord(std::string_view& line) {
  line.remove_prefix(std::min(line.find_first_not_of(kBlanks), line.size()));
  const std::string_view word = line.substr(0, line.find_first_of(kBlanks));
  line.remove_prefix(word.size());
  return word;
}

// As C writes numbers: decimal, 0x and hexadecimal, 0 and octal.
std::optional<uint64_t> TakeNumber(std::string_view& line) {
  std::string_view word = TakeWord(line);
  int base = 10;
  if (word.starts_with("0x") || word.starts_with("0X")) {
    base = 16;
    word.remove_prefix(2);
  } else if (word.size() > 1 && word.front() == '0') {
    base = 8;
  }
  uint64_t number = 0;
  const auto [end, error] = std::from_chars(word.data(), word.data() + word.size(), number, base);
  if (word.empty() || error != std::errc() || end != word.data() + word.size()) return std::nullopt;
  return number;
}

std::optional<char> TakeStatus(std::string_view& line, std::string_view known) {
  const std::string_view word = TakeWord(line);
  if (word.size() != 1 || known.find(word.front()) == std::string_view::npos) return std::nullopt;
  return word.front();
}

void AddHole(std::vector<SFileRange>& holes, const SFileRange& hole) {
  if (!holes.empty() && holes.back().offset + holes.back().length == hole.offset)
    holes.back().length += hole.length;
  else
    holes.push_back(hole);
}

}  // namespace

SRescueMap ReadRescueMap(std::string_view text) {
  SRescueMap map;
  bool hasPlace = false;
  uint64_t end = 0;  // of the blocks so far
  uint64_t number = 0;
  const auto refuse = [&] {
    map.holes.clear();
    map.problem = u"Line " + ToDecimal(number) + u" is none of a ddrescue map.";
    return map;
  };
  while (!text.empty()) {
    ++number;
    std::string_view line = CutPart(text, '\n');
    line = line.substr(0, line.find('#'));
    if (line.find_first_not_of(kBlanks) == std::string_view::npos) continue;
    const std::optional<uint64_t> offset = TakeNumber(line);
    if (!offset) return refuse();
    if (!hasPlace) {
      if (!TakeStatus(line, kRescueStatuses)) return refuse();
      hasPlace = true;
      continue;
    }
    const std::optional<uint64_t> length = TakeNumber(line);
    const std::optional<char> status = TakeStatus(line, kBlockStatuses);
    if (!length || !status || *offset < end || *length > std::numeric_limits<uint64_t>::max() - *offset)
      return refuse();
    end = *offset + *length;
    if (*status != kRead && *length > 0) AddHole(map.holes, {*offset, *length});
  }
  if (end == 0) map.problem = u"The file is no ddrescue map: it has no blocks.";
  return map;
}

SRescueMap LoadRescueMap(const std::u16string& path) {
  SRescueMap map;
  CFileCust file;
  if (!file.Open(path, EFileAccess::Read, EFileShare::ReadWrite, EFileCreation::OpenExisting)) {
    map.problem = u"The map cannot be read: " + SystemMessage(file.GetLastErrorCode()) + u".";
    return map;
  }
  const uint64_t length = file.GetLength();
  if (length > kLongestMap) {
    map.problem = u"The file is too long for a ddrescue map.";
    return map;
  }
  std::string text(static_cast<size_t>(length), '\0');
  CErrorHandler handler;
  text.resize(file.ReadAt(0, {reinterpret_cast<uint8_t*>(text.data()), text.size()}, handler));
  if (handler.HasError()) {
    map.problem = u"The map cannot be read: " + handler.GetMessageText();
    return map;
  }
  return ReadRescueMap(text);
}

}  // namespace tolvane
