#include "embedded/EmbeddedEngine.h"

#include <algorithm>
#include <thread>
#include <utility>

#include "embedded/EmbeddedDatabase.h"
#include "embedded/Locale.h"
#include "platform/Files.h"

namespace tolvane {
namespace {

const SLayout& ChooseLayout(int32_t options) {
  if ((options & kDaoVersionAce) != 0) return kLayoutAce;
  return (options & kDaoVersionJet3) != 0 ? kLayoutJet3 : kLayoutJet4;
}

class CEmbeddedEngine : public CDaoEngine {
 public:
  explicit CEmbeddedEngine(const SEmbeddedLimits& limits)
      : m_maxPages(limits.maxPages),
        m_tempFolder(limits.tempFolder.empty() ? GetTempFolder() : limits.tempFolder),
        m_identity(limits.identity ? limits.identity : std::make_shared<CIdentity>()),
        m_threads(limits.threads != 0 ? limits.threads : std::max(std::thread::hardware_concurrency(), 1U)) {}

  CDaoResult CreateDatabase(std::u16string_view path, std::u16string_view locale, int32_t options,
                            std::unique_ptr<CDaoDatabase>& database) override {
    database.reset();
    STextOrder order;
    const SLayout& layout = ChooseLayout(options);
    if (CDaoResult result = TakeLocale(layout, locale, order); !result.IsOk()) return result;
    if (FileExists(path)) return {EDaoError::DatabaseExists, u"The database file exists already."};
    auto file = MakeFile(layout);
    if (CDaoResult result = file->Create(path, order); !result.IsOk()) return result;
    database = std::make_unique<CEmbeddedDatabase>(std::move(file));
    return CDaoResult::Ok();
  }

  CDaoResult OpenDatabase(std::u16string_view path, bool, bool readOnly, std::u16string_view,
                          std::unique_ptr<CDaoDatabase>& database) override {
    database.reset();
    if (!FileExists(path)) return {EDaoError::NotFound, u"The database file does not exist."};
    auto file = MakeFile(ProbeFileLayout(path));
    const EFileAccess access = readOnly ? EFileAccess::Read : EFileAccess::ReadWrite;
    if (CDaoResult result = file->Open(path, access); !result.IsOk()) return result;
    database = std::make_unique<CEmbeddedDatabase>(std::move(file));
    return CDaoResult::Ok();
  }

 private:
  [[nodiscard]] std::shared_ptr<CEmbeddedFile> MakeFile(const SLayout& layout) const {
    auto file = std::make_shared<CEmbeddedFile>(layout, m_maxPages, m_identity);
    file->SetTempFolder(m_tempFolder);
    file->SetThreads(m_threads);
    return file;
  }

  const uint32_t m_maxPages;
  const std::u16string m_tempFolder;
  const std::shared_ptr<CIdentity> m_identity;
  const uint32_t m_threads;
};

}  // namespace

std::unique_ptr<CDaoEngine> MakeEmbeddedEngine(const SEmbeddedLimits& limits) {
  return std::make_unique<CEmbeddedEngine>(limits);
}

}  // namespace tolvane
