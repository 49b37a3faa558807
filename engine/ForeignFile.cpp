#include "engine/ForeignFile.h"

#include <algorithm>
#include <array>
#include <string_view>
#include <vector>

#include "platform/Files.h"

namespace tolvane {

namespace {

constexpr size_t kBytesSeen = 65536;  // the head of a mail may be long

struct SMagic {
  std::string_view start;
  const char16_t* reason;
};

constexpr std::array<SMagic, 8> kMagics{{
    {"PK\x03\x04",
     u"The file is a ZIP archive or an Office document. Unpack it and name the database that is in it."},
    {"\x1F\x8B", u"The file is compressed (gzip). Unpack it and name the database that is in it."},
    {"7z\xBC\xAF\x27\x1C", u"The file is a 7-Zip archive. Unpack it and name the database that is in it."},
    {"Rar!", u"The file is a RAR archive. Unpack it and name the database that is in it."},
    {"BZh", u"The file is compressed (bzip2). Unpack it and name the database that is in it."},
    {"\xFD"
     "7zXZ",
     u"The file is compressed (xz). Unpack it and name the database that is in it."},
    {"MSCF", u"The file is a cabinet archive. Unpack it and name the database that is in it."},
    {"SQLite format 3", u"The file is an SQLite database, not one of Access."},
}};

// What a mail says of its attachment, and the header of a database, "\0\1\0\0Standard Jet DB" and the like,
// as base64 spells it.
constexpr std::array<std::string_view, 3> kMailSigns{"Content-Transfer-Encoding: base64", "AAEAAFN0YW5kYXJk",
                                                     "AAEAAE1TSVNBTS"};

// A lock file has no page, but a list of who has the database open:
//
//   0        32       64
//   | computer | user | ...      each ended by a zero byte
constexpr size_t kLockField = 32;
constexpr size_t kLockRecord = 2 * kLockField;
constexpr uint64_t kMostLockRecords = 255;

bool IsLockField(std::string_view field) {
  const size_t end = field.find('\0');
  return end != std::string_view::npos && end > 0 &&
         std::all_of(field.begin(), field.begin() + static_cast<ptrdiff_t>(end),
                     [](char c) { return c >= ' ' && c <= '~'; });
}

bool IsLockFile(std::string_view head, uint64_t length) {
  if (length == 0 || length % kLockRecord != 0 || length > kMostLockRecords * kLockRecord) return false;
  return head.size() >= kLockRecord && IsLockField(head.substr(0, kLockField)) &&
         IsLockField(head.substr(kLockField, kLockField));
}

bool IsMailPart(std::string_view head) {
  return std::ranges::any_of(
      kMailSigns, [head](std::string_view sign) { return head.find(sign) != std::string_view::npos; });
}

bool HasOwnHeader(const CSource& source) {
  const CSource::Header& header = source.GetHeader();
  return std::equal(kEngineNameJet.begin(), kEngineNameJet.begin() + 9, &header[kHeaderName]);  // "Standard "
}

}  // namespace

std::u16string TellForeignFile(CSource& source) {
  if (source.HasPages() || HasOwnHeader(source)) return {};
  CPageReader& pages = source.GetPages();
  std::vector<uint8_t> bytes(kBytesSeen);
  bytes.resize(pages.ReadFile(0, bytes));
  const std::string_view head(reinterpret_cast<const char*>(bytes.data()), bytes.size());
  for (const SMagic& magic : kMagics)
    if (head.starts_with(magic.start)) return magic.reason;
  if (IsMailPart(head))
    return u"The file is an attachment as mails carry it (base64), not the database itself. Save the "
           u"attachment from the mail program, or decode it (base64 -d), and name the result.";
  if (IsLockFile(head, pages.GetFileLength()))
    return u"The file is the lock file of a database, which only lists who had it open. Name the database: "
           u"the file of the same name that ends in .mdb or .accdb.";
  return {};
}

}  // namespace tolvane
