#include "cli/Failures.h"

#include "platform/Files.h"
#include "platform/Process.h"
#include "platform/Text.h"

namespace tolvane {

std::u16string AboutFile(std::u16string_view path, std::u16string_view message) {
  return std::u16string(path) + u": " + std::u16string(message);
}

SFailure FailedOn(std::u16string_view path, std::u16string_view message) {
  return {EExitStatus::Failed, AboutFile(path, message)};
}

SFailure WrongUsageOf(std::u16string_view path, std::u16string_view message) {
  return {EExitStatus::WrongUsage, AboutFile(path, message)};
}

SFailure RefuseSource(const std::u16string& path, const SSourceVerdict& verdict) {
  std::u16string_view advice;
  EExitStatus status = EExitStatus::Failed;
  switch (verdict.state) {
    case ESourceState::Missing:
      advice = u" Check the name and the folder.";
      break;
    case ESourceState::NotReadable:
      advice = u" Check its permissions, or copy it to a healthy disk first.";
      break;
    case ESourceState::Folder:
    case ESourceState::Device:
      advice = u" Name a database file.";
      break;
    case ESourceState::Empty:
    case ESourceState::TooShort:
      advice = u" There is nothing to recover.";
      status = EExitStatus::Nothing;
      break;
    case ESourceState::Encrypted:
      advice = u" Remove the encryption in Access, then repair the result.";
      break;
    case ESourceState::Foreign:
      status = EExitStatus::Nothing;
      break;
    case ESourceState::Ok:
      break;
  }
  return {status, AboutFile(path, verdict.reason + std::u16string(advice))};
}

SFailure RefuseOutput(const std::u16string& path, const SOutputVerdict& verdict, std::u16string_view option) {
  const std::u16string with(option);
  std::u16string advice;
  EExitStatus status = EExitStatus::Failed;
  switch (verdict.state) {
    case EOutputState::IsSource:
    case EOutputState::IsTemplate:
      status = EExitStatus::WrongUsage;
      advice = u" Name another file with " + with + u".";
      break;
    case EOutputState::NoName:
      status = EExitStatus::WrongUsage;
      break;
    case EOutputState::Folder:
      advice = u" Name a file in it.";
      break;
    case EOutputState::Device:
      advice = u" Name a file.";
      break;
    case EOutputState::Exists:
      advice = u" Replace it with --overwrite, or name another file with " + with + u".";
      break;
    case EOutputState::NoFolder:
      advice = u" Create it first, or name another one with " + with + u".";
      break;
    case EOutputState::NotWritable:
    case EOutputState::NotNamed:
      advice = u" Name another one with " + with + u".";
      break;
    case EOutputState::Ok:
      break;
  }
  return {status, AboutFile(path, verdict.reason + advice)};
}

SFailure NoWorkFolder(const CRunFolder& folder) {
  return {EExitStatus::Failed, u"There is no folder for temporary files: " + folder.GetProblem() +
                                   u". Name another folder with --work-dir."};
}

std::optional<SFailure> MakeFolder(const std::u16string& path, std::u16string_view option) {
  if (path.empty() || GetFileKind(path) == EFileKind::Folder) return std::nullopt;
  if (FileExists(path))
    return FailedOn(path, u"This is no folder. Name one with " + std::u16string(option) + u".");
  if (CreateFolder(path)) return std::nullopt;
  return FailedOn(path, u"The folder cannot be created: " + SystemMessage(LastSystemError()) + u".");
}

SFailure StoppedByUser() {
  return {EExitStatus::Stopped, u"Stopped. Nothing was written."};
}

SFailure NoThread() {
  return {EExitStatus::Failed, u"The system has no room for another thread."};
}

}  // namespace tolvane
