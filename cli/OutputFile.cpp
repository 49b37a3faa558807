#include "cli/OutputFile.h"

#include "cli/Session.h"
#include "platform/FileCust.h"
#include "platform/Files.h"
#include "platform/Process.h"

namespace tolvane {

namespace {

constexpr std::u16string_view kPrefix = u"Tolvane_";

SFailure Refuse(EExitStatus status, const std::u16string& path, std::u16string_view message) {
  return {status, AboutFile(path, message)};
}

SFailure RefuseExisting(const std::u16string& path) {
  return Refuse(EExitStatus::Failed, path,
                u"The output exists already. Replace it with --overwrite, or name another file with -o.");
}

}  // namespace

std::u16string MakePartialName() {
  constexpr std::u16string_view kDigits = u"0123456789abcdef";
  std::u16string name = u"tolvane-";
  const SGuidBytes random = MakeGuid();
  for (size_t i = 0; i < 6; ++i) {
    name += kDigits[random.bytes[i] >> 4];
    name += kDigits[random.bytes[i] & 15];
  }
  return name + u".partial";
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
  const std::u16string partial = folder + MakePartialName();
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
