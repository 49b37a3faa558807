#include "app/OutputFile.h"

#include <algorithm>

#include "app/TextSearch.h"
#include "platform/FileCust.h"
#include "platform/Files.h"
#include "platform/TextUnits.h"
#include "store/RunMark.h"

namespace tolvane {

namespace {

constexpr std::u16string_view kPartialMark = u".tolvane-";
constexpr std::u16string_view kPartialEnding = u".partial";
// Keeps a partial name within what file systems take, in UTF-8 too.
constexpr size_t kNameKept = 60;

constexpr std::u16string_view kExists = u"The output exists already.";

SOutputVerdict RefuseName(uint32_t error) {
  return {EOutputState::NotNamed, u"The output cannot get its name: " + SystemMessage(error) + u"."};
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
    if (!IsStaleRunMark(mark)) continue;
    const EFileKind kind = GetFileKind(partial);
    if ((kind == EFileKind::File && RemoveFile(partial)) ||
        (kind == EFileKind::Folder && RemoveFolderTree(partial)))
      removed.push_back(partial);
  }
  return removed;
}

std::u16string DefaultOutputPath(std::u16string_view source, std::u16string_view ending) {
  std::u16string path(FolderOf(source));
  path += kOutputPrefix;
  path += FileNameOf(source);
  if (ending.empty() || FoldCase(path).ends_with(FoldCase(ending))) return path;
  for (const std::u16string_view other : {u".mdb", u".accdb"})
    if (FoldCase(path).ends_with(FoldCase(other))) path.resize(path.size() - other.size());
  return path + std::u16string(ending);
}

COutputFile::~COutputFile() {
  Discard();
}

SOutputVerdict COutputFile::Reserve(const SOutputRequest& request) {
  Discard();
  m_removed.clear();
  m_request = request;
  if (SOutputVerdict verdict = CheckPath(); verdict.state != EOutputState::Ok) return verdict;
  m_removed = RemoveStalePartials(m_request.path);
  const std::u16string partial = MakePartialPath(m_request.path);
  CFileCust file;
  if (!file.Open(partial, EFileAccess::Write, EFileShare::None, EFileCreation::CreateNew))
    return {EOutputState::NotWritable, u"No file can be written in the output's folder: " +
                                           SystemMessage(file.GetLastErrorCode()) + u"."};
  file.Close();
  m_partialPath = partial;
  return {};
}

SOutputVerdict COutputFile::CheckPath() const {
  const std::u16string& path = m_request.path;
  if (IsSameFile(path, m_request.source))
    return {EOutputState::IsSource, u"The output is the damaged file itself, which is never written."};
  if (IsSameFile(path, m_request.templatePath))
    return {EOutputState::IsTemplate, u"The output is the template, which is never written."};
  switch (GetFileKind(path)) {
    case EFileKind::Folder:
      return {EOutputState::Folder, u"The output is a folder."};
    case EFileKind::Other:
      return {EOutputState::Device, u"The output is a device."};
    case EFileKind::File:
    case EFileKind::DeadLink:  // is there, and is replaced itself
    case EFileKind::Missing:
      if (!m_request.mayReplace && FileExists(path)) return {EOutputState::Exists, std::u16string(kExists)};
      break;
  }
  if (FileNameOf(path).empty()) return {EOutputState::NoName, u"The output has no file name."};
  const std::u16string folder(FolderOf(path));
  if (!folder.empty() && GetFileKind(folder) != EFileKind::Folder)
    return {EOutputState::NoFolder, u"The output's folder does not exist."};
  if (!IsNamePossible(path)) return RefuseName(LastSystemError());
  return {};
}

SOutputVerdict COutputFile::Complete() {
  if (!m_request.mayReplace && FileExists(m_request.path))
    return {EOutputState::Exists, std::u16string(kExists)};
  CFileCust file;
  if (!file.Open(m_partialPath, EFileAccess::ReadWrite, EFileShare::Read, EFileCreation::OpenExisting))
    return RefuseName(file.GetLastErrorCode());
  if (!file.Flush()) return RefuseName(file.GetLastErrorCode());
  file.Close();
  if (!RenameFile(m_partialPath, m_request.path)) return RefuseName(LastSystemError());
  SyncNames(FolderOf(m_request.path));
  m_partialPath.clear();
  return {};
}

void COutputFile::Discard() {
  if (!m_partialPath.empty()) RemoveFile(m_partialPath);
  m_partialPath.clear();
}

}  // namespace tolvane
