#include "engine/SourceCheck.h"

#include <algorithm>
#include <string_view>
#include <vector>

#include "engine/ForeignFile.h"
#include "format/PageHead.h"
#include "platform/Files.h"

namespace tolvane {

namespace {

// Pages that are looked at to tell whether they are encoded.
constexpr uint64_t kPagesLookedAt = 64;

// What the encryption description starts with.
constexpr uint32_t kAgileVersion = 4 | 4 << 16;

// The text "Standard ... DB" or "MSISAM Database", and the fixed page number of the catalogue.
bool IsPlausible(const CSource::Header& header) {
  const std::string_view name(reinterpret_cast<const char*>(header.data()) + kHeaderName, 15);
  return (name.starts_with("Standard ") || name == "MSISAM Database") &&
         GetLittle<uint32_t>(header, kHeaderDefinitions) == kObjectsPage;
}

// Encoded pages are noise: hardly one has a page type and the formatting mark.
bool ArePagesPlain(CSource& source, uint32_t pageSize) {
  CPageReader& reader = source.GetPages();
  std::vector<uint8_t> page(pageSize);
  uint64_t sampled = 0;
  uint64_t formatted = 0;
  const uint64_t end = std::min(reader.GetPageCount(pageSize), kPagesLookedAt + 1);
  for (uint64_t number = 1; number < end && !source.IsStopped(); number++) {
    if (!reader.ReadPage(number * pageSize, page)) continue;
    if (IsBlankPage(page)) continue;
    sampled++;
    if (HasPageType(page)) formatted++;
  }
  return sampled == 0 || formatted * 4 > sampled;
}

// Anything else there is no description: the file is damaged or no database at all.
bool IsKnownEncryption(uint32_t version) {
  const uint32_t major = version & 0xFFFF;
  return version == kAgileVersion || (version >> 16 == 2 && major >= 2 && major <= 4);
}

// Empty when the pages can be read.
std::u16string_view EncryptionScheme(CSource& source, uint32_t pageSize) {
  const CSource::Header& header = source.GetHeader();
  const bool hasKey = IsPlausible(header) && GetLittle<uint32_t>(header, kHeaderDatabaseKey) != 0;
  const bool isAce = header[kHeaderVersion] > 1;
  const uint32_t version = GetLittle<uint32_t>(header, kHeaderEncryptionLength + 2);
  const bool hasDescription =
      isAce && GetLittle<uint16_t>(header, kHeaderEncryptionLength) != 0 && IsKnownEncryption(version);
  if ((!hasKey && !hasDescription) || ArePagesPlain(source, pageSize)) return {};
  if (!hasDescription) return u"Jet encoding";
  return version == kAgileVersion ? u"agile encryption, AES" : u"RC4 CryptoAPI";
}

SSourceVerdict Judge(CSource& source) {
  const uint64_t length = source.GetPages().GetContentLength();
  if (length == 0) return {ESourceState::Empty, u"The file is empty."};
  const bool saysJet3 = source.GetFacts().versionByte == 0;
  const uint32_t pageSize = (saysJet3 ? kLayoutJet3 : kLayoutJet4).pageSize;
  if (std::u16string reason = TellForeignFile(source); !reason.empty())
    return {ESourceState::Foreign, std::move(reason)};
  if (length < pageSize) return {ESourceState::TooShort, u"The file is shorter than one page of a database."};
  if (const std::u16string_view scheme = EncryptionScheme(source, pageSize); !scheme.empty())
    return {ESourceState::Encrypted, u"The database is encrypted (" + std::u16string(scheme) +
                                         u"). Its pages cannot be read without decrypting it first."};
  return {};
}

}  // namespace

SSourceVerdict OpenSource(CSource& source, const std::u16string& path) {
  source.Close();
  switch (GetFileKind(path)) {
    case EFileKind::Missing:
      return {ESourceState::Missing, u"The file does not exist."};
    case EFileKind::Folder:
      return {ESourceState::Folder, u"This is a folder, not a file."};
    case EFileKind::DeadLink:
      return {ESourceState::Missing, u"This is a link to a file that does not exist."};
    case EFileKind::Other:
      return {ESourceState::Device, u"This is a device, not a file."};
    case EFileKind::File:
      break;
  }
  CErrorHandler handler;
  if (!source.Open(path, handler))
    return {ESourceState::NotReadable, u"The file cannot be read: " + handler.GetMessageText()};
  return Judge(source);
}

SSourceVerdict CheckSource(const std::u16string& path) {
  CSource source;
  return OpenSource(source, path);
}

}  // namespace tolvane
