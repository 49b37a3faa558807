#include "writer/embedded/EmbeddedEngine.h"

#include <algorithm>
#include <utility>

#include "platform/Files.h"
#include "writer/embedded/EmbeddedDatabase.h"

namespace tolvane {
namespace {

// The last page below 2 GiB.
constexpr uint32_t kMostPages = static_cast<uint32_t>(kMaxFileLength / kLayoutJet4.pageSize - 1);

class CEmbeddedEngine : public CDaoEngine {
 public:
  explicit CEmbeddedEngine(const SEmbeddedLimits& limits)
      : m_maxPages(limits.maxPages == 0 ? kMostPages : std::min(limits.maxPages, kMostPages)),
        m_tempFolder(limits.tempFolder.empty() ? GetTempFolder() : limits.tempFolder) {}

  CDaoResult CreateDatabase(std::u16string_view path, std::u16string_view, int32_t options,
                            std::unique_ptr<CDaoDatabase>& database) override {
    database.reset();
    if ((options & kDaoVersionJet3) != 0)
      return {EDaoError::NotSupported, u"Jet 3 output is not supported yet. Nothing was written."};
    if (FileExists(path)) return {EDaoError::DatabaseExists, u"The database file exists already."};
    auto file = std::make_shared<CEmbeddedFile>(m_maxPages);
    file->SetTempFolder(m_tempFolder);
    if (CDaoResult result = file->Create(path); !result.IsOk()) return result;
    database = std::make_unique<CEmbeddedDatabase>(std::move(file));
    return CDaoResult::Ok();
  }

  CDaoResult OpenDatabase(std::u16string_view path, bool, bool readOnly, std::u16string_view,
                          std::unique_ptr<CDaoDatabase>& database) override {
    database.reset();
    if (!FileExists(path)) return {EDaoError::NotFound, u"The database file does not exist."};
    auto file = std::make_shared<CEmbeddedFile>(m_maxPages);
    file->SetTempFolder(m_tempFolder);
    const EFileAccess access = readOnly ? EFileAccess::Read : EFileAccess::ReadWrite;
    if (CDaoResult result = file->Open(path, access); !result.IsOk()) return result;
    database = std::make_unique<CEmbeddedDatabase>(std::move(file));
    return CDaoResult::Ok();
  }

 private:
  const uint32_t m_maxPages;
  const std::u16string m_tempFolder;
};

}  // namespace

std::unique_ptr<CDaoEngine> MakeEmbeddedEngine(const SEmbeddedLimits& limits) {
  return std::make_unique<CEmbeddedEngine>(limits);
}

}  // namespace tolvane
