#include "engine/DatabaseStart.h"

#include <array>
#include <cstddef>
#include <cstring>
#include <span>
#include <string_view>
#include <vector>

#include "format/PageHead.h"

namespace tolvane {

namespace {

// Mail programs, card images and some recovery tools leave bytes of their own in front of a file:
//
//   0          start                              start + 2 pages
//   | foreign  | 00 01 00 00 "Standard " ... | .. | 02 01 ...       definition of the catalogue
//
// Another start than 0 is believed only where both stand, where a file that begins at 0 has neither, and
// where what stands in front are no pages of a database: pages of another file can lie inside a damaged one.
// A database that is stored in another one's OLE object is cut into pieces there and shows no second mark.
constexpr size_t kBytesSearched = size_t{1} << 20;
constexpr int kStartsTried = 16;
// Foreign bytes look like the head of a page by chance; hardly twice.
constexpr int kHeadsByChance = 1;

uint32_t PageSizeOf(std::string_view header) {
  const bool isJet3 = header.size() > kHeaderVersion && header[kHeaderVersion] == 0;
  return (isJet3 ? kLayoutJet3 : kLayoutJet4).pageSize;
}

std::span<const uint8_t> BytesOf(std::string_view text) {
  return {reinterpret_cast<const uint8_t*>(text.data()), text.size()};
}

bool HasPages(std::string_view foreign, uint32_t pageSize) {
  int heads = 0;
  for (size_t at = pageSize; at + 2 <= foreign.size(); at += pageSize)
    if (HasPageType(BytesOf(foreign.substr(at)))) heads++;
  return heads > kHeadsByChance;
}

std::string_view ReadText(CPageReader& file, std::vector<uint8_t>& buffer) {
  const size_t size = file.ReadFile(0, buffer);
  return {reinterpret_cast<const char*>(buffer.data()), size};
}

}  // namespace

bool HasHeader(CPageReader& file, uint64_t start) {
  std::array<uint8_t, kHeaderText.size()> head{};
  return file.ReadFile(start, head) == head.size() &&
         std::memcmp(head.data(), kHeaderText.data(), head.size()) == 0;
}

bool HasCatalogue(CPageReader& file, uint64_t start, uint32_t pageSize) {
  std::array<uint8_t, 2> head{};
  file.ReadFile(start + uint64_t{kObjectsPage} * pageSize, head);
  return IsPageOf(head, kPageDefinition);
}

uint64_t FindDatabaseStart(CPageReader& file) {
  if (HasHeader(file, 0) || HasCatalogue(file, 0, kLayoutJet3.pageSize) ||
      HasCatalogue(file, 0, kLayoutJet4.pageSize))
    return 0;
  std::vector<uint8_t> buffer(kBytesSearched);
  const std::string_view text = ReadText(file, buffer);
  size_t start = text.find(kHeaderText);
  for (int tried = 0; tried < kStartsTried && start != std::string_view::npos; ++tried) {
    const uint32_t pageSize = PageSizeOf(text.substr(start));
    if (HasCatalogue(file, start, pageSize) && !HasPages(text.substr(0, start), pageSize)) return start;
    start = text.find(kHeaderText, start + 1);
  }
  return 0;
}

}  // namespace tolvane
