#include "cli/OutputFile.h"

#include <algorithm>

#include "cli/Session.h"
#include "platform/FileCust.h"
#include "platform/Files.h"
#include "platform/TextUnits.h"
#include "store/RunMark.h"

namespace tolvane {

namespace {

constexpr std::u16string_view kPrefix = u"Tolvane_";
constexpr std::u16string_view kPartialMark = u".tolvane-";
constexpr std::u16string_view kPartialEnding = u".partial";
// Keeps a partial name within what file systems take, in UTF-8 too.
constexpr size_t kNameKept = 60;

SFailure Refuse(EExitStatus status, const std::u16string& path, std::u16string_view message) {
  return {status, AboutFile(path, message)};
}

SFailure RefuseExisting(const std::u16string& path) {
  return Refuse(EExitStatus::Failed, path,
                u"The output exists already. Replace it with --overwrite, or name another file with -o.");
}

// Of the names that a file has while it is being written, up to the run mark.
std::u16string PartialPrefix(std::u16string_view path) {
  std::u16string_view name = FileNameOf(path).substr(0, kNameKept);
  if (!name.empty() && IsHighSurrogate(name.back())) name.remove_suffix(1);
  return std::u16string(name) + std::u16string(kPartialMark);
}

}  // namespace

std::u16string MakePartialPath(std::u16string_view path) {
  return std::u16string(FolderOf(path)) + PartialPrefix(path) + MakeRunMark() +
         std::u16string(kPartialEnding);
}

std::vector<std::u16string> RemoveStalePartials(std::u16string_view path) {
  const std::u16string folder(FolderOf(path)), prefix = PartialPrefix(path);
  std::vector<std::u16string> removed;
  for (const std::u16string& name : ListFolder(folder.empty() ? u"." : folder)) {
    std::u16string_view mark = name;
    if (!mark.starts_with(prefix) || !mark.ends_with(kPartialEnding)) continue;
    mark.remove_prefix(prefix.size());
    mark.remove_suffix(std::min(mark.size(), kPartialEnding.size()));
    const std::u16string partial = folder + name;
    if (IsStaleRunMark(mark) && GetFileKind(partial) == EFileKind::File && RemoveFile(partial))
      removed.push_back(partial);
  }
  return removed;
}

std::u16string DefaultOutputPath(std::u16string_view source) {
  std::u16string path(FolderOf(source));
  path += kPrefix;
  path += FileNameOf(source);
  return path;
}

COutputFile::~COutputFile() {
  if (!m_partialPath.empty()) RemoveFile(m_partialPath);
}

std::optional<SFailure> COutputFile::Prepare(const SArguments& arguments) {
  m_path = arguments.output.empty() ? DefaultOutputPath(arguments.source) : arguments.output;
  m_mayOverwrite = arguments.mayOverwrite;
  if (auto failure = CheckPath(arguments)) return failure;
  return ReservePartial();
}

std::optional<SFailure> COutputFile::CheckPath(const SArguments& arguments) const {
  if (IsSameFile(m_path, arguments.source))
    return Refuse(
        EExitStatus::WrongUsage, m_path,
        u"The output is the damaged file itself, which is never written. Name another file with -o.");
  if (IsSameFile(m_path, arguments.templatePath))
    return Refuse(EExitStatus::WrongUsage, m_path,
                  u"The output is the template, which is never written. Name another file with -o.");
  switch (GetFileKind(m_path)) {
    case EFileKind::Folder:
      return Refuse(EExitStatus::Failed, m_path, u"The output is a folder. Name a file in it.");
    case EFileKind::Other:
      return Refuse(EExitStatus::Failed, m_path, u"The output is a device. Name a file.");
    case EFileKind::File:
      if (!m_mayOverwrite) return RefuseExisting(m_path);
      break;
    case EFileKind::Missing:
      if (FileExists(m_path) && !m_mayOverwrite) return RefuseExisting(m_path);  // a link to nowhere
      break;
  }
  if (FileNameOf(m_path).empty())
    return Refuse(EExitStatus::WrongUsage, m_path, u"The output has no file name.");
  return std::nullopt;
}

std::optional<SFailure> COutputFile::ReservePartial() {
  const std::u16string folder(FolderOf(m_path));
  if (!folder.empty() && GetFileKind(folder) != EFileKind::Folder)
    return Refuse(EExitStatus::Failed, m_path,
                  u"The output's folder does not exist. Create it first, or name another one with -o.");
  m_removed = RemoveStalePartials(m_path);
  const std::u16string partial = MakePartialPath(m_path);
  CFileCust file;
  if (!file.Open(partial, EFileAccess::Write, EFileShare::None, EFileCreation::CreateNew))
    return Refuse(EExitStatus::Failed, m_path,
                  u"No file can be written in the output's folder: " +
                      SystemMessage(file.GetLastErrorCode()) + u". Name another one with -o.");
  file.Close();
  m_partialPath = partial;
  return std::nullopt;
}

std::optional<SFailure> COutputFile::Complete() {
  if (!m_mayOverwrite && FileExists(m_path)) return RefuseExisting(m_path);
  if (!RenameFile(m_partialPath, m_path))
    return Refuse(EExitStatus::Failed, m_path,
                  u"The output cannot get its name: " + SystemMessage(LastSystemError()));
  m_partialPath.clear();
  return std::nullopt;
}

}  // namespace tolvane
