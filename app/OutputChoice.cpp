#include "app/OutputChoice.h"

#include "app/OutputFile.h"
#include "app/TextSearch.h"
#include "platform/FileCust.h"
#include "platform/Files.h"
#include "platform/Text.h"

namespace tolvane {

namespace {

constexpr size_t kMaximumReason = 1024;

std::u16string OutputExtension(const SOutputOrigin& origin) {
  const std::u16string_view name = FileNameOf(origin.corruptedPath);
  const size_t dot = name.rfind(u'.');
  if (dot != std::u16string_view::npos && dot + 1 < name.size()) return std::u16string(name.substr(dot + 1));
  return origin.isAce ? u"accdb" : u"mdb";
}

// Why the path cannot be taken; empty when it can.
std::u16string RefusePath(const std::u16string& path, const SOutputOrigin& origin) {
  if (path.size() > kMaximumPathLength) return u"File name should be less than 245 characters.";
  const std::u16string_view name = FileNameOf(path);
  if (name == u".mdb" || name == u".accdb") return u"Please provide a valid file name.";
  if (IsSameFile(path, origin.corruptedPath) || IsSameFile(path, origin.templatePath))
    return u"The repaired database cannot be saved over the file that it is made from. Please provide "
           u"another file name.";
  return {};
}

bool HasExtension(std::u16string_view path, std::u16string_view extension) {
  const size_t dot = path.rfind(u'.');
  return dot != std::u16string_view::npos && FoldCase(path.substr(dot + 1)) == FoldCase(extension);
}

// The dialog has asked about overwriting. The file stays until the new one is whole.
bool CanReplace(CDialogs& dialogs, const std::u16string& path) {
  if (!FileExists(path)) return true;
  CFileCust file;
  if (file.Open(path, EFileAccess::ReadWrite, EFileShare::None, EFileCreation::OpenExisting)) return true;
  const std::u16string reason = SystemMessage(file.GetLastErrorCode()).substr(0, kMaximumReason);
  dialogs.ShowMessage(u"File" + path + u" cannot be overwritten.\n" + reason, EMessageIcon::None);
  return false;
}

// A name that is taken grows by a number and the extension once more.
std::u16string FindFreePath(std::u16string path, const std::u16string& extension) {
  path += u"." + extension;
  for (uint32_t number = 1; FileExists(path); ++number) path += ToDecimal(number) + u"." + extension;
  return path;
}

}  // namespace

SFileQuestion AskForOutputFile(const SOutputOrigin& origin) {
  SFileQuestion question;
  question.defaultExtension = OutputExtension(origin);
  question.defaultName = std::u16string(kOutputPrefix) + std::u16string(FileNameOf(origin.corruptedPath));
  question.folder = FolderOf(origin.corruptedPath);
  const std::u16string folded = FoldCase(question.defaultExtension);
  if (folded == u"accdb") {
    question.filter = u"MS Access Files (*.accdb)|*.accdb||";
  } else if (folded == u"mdb") {
    question.filter = u"MS Access Files (*.mdb)|*.mdb||";
  } else {
    question.filter = u"MS Access Files (*.accdb;*.mdb)|*.accdb;*.mdb||";
  }
  return question;
}

std::u16string ChooseOutput(CDialogs& dialogs, const SOutputOrigin& origin, std::u16string& lastPath) {
  const SFileQuestion question = AskForOutputFile(origin);
  std::u16string path;
  for (;;) {
    path = dialogs.ChooseSaveFile(question);
    if (path.empty()) return {};
    const std::u16string refusal = RefusePath(path, origin);
    if (refusal.empty()) break;
    dialogs.ShowMessage(refusal, EMessageIcon::Warning);
  }
  lastPath = path;
  if (!HasExtension(path, question.defaultExtension)) return FindFreePath(path, question.defaultExtension);
  return CanReplace(dialogs, path) ? path : std::u16string();
}

}  // namespace tolvane
