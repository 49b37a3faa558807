#include "cli/Failures.h"

#include <algorithm>
#include <iterator>

#include "platform/Files.h"

namespace tolvane {

namespace {

// What a refused file ends a command with, and what helps.
template <class State>
struct SRefusal {
  State state;
  EExitStatus status = EExitStatus::Failed;
  std::u16string_view advice;  // behind " with" comes the option that names a file
};

constexpr SRefusal<ESourceState> kSourceRefusals[] = {
    {ESourceState::Missing, EExitStatus::Failed, u" Check the name and the folder."},
    {ESourceState::NotReadable, EExitStatus::Failed,
     u" Check its permissions, or copy it to a healthy disk first."},
    {ESourceState::Folder, EExitStatus::Failed, u" Name a database file."},
    {ESourceState::Device, EExitStatus::Failed, u" Name a database file."},
    {ESourceState::Empty, EExitStatus::Nothing, u" There is nothing to recover."},
    {ESourceState::TooShort, EExitStatus::Nothing, u" There is nothing to recover."},
    {ESourceState::Encrypted, EExitStatus::Failed,
     u" Remove the encryption in Access, then repair the result."},
    {ESourceState::Foreign, EExitStatus::Nothing, u""},
};

constexpr SRefusal<EOutputState> kOutputRefusals[] = {
    {EOutputState::IsSource, EExitStatus::WrongUsage, u" Name another file with"},
    {EOutputState::IsTemplate, EExitStatus::WrongUsage, u" Name another file with"},
    {EOutputState::NoName, EExitStatus::WrongUsage, u""},
    {EOutputState::Folder, EExitStatus::Failed, u" Name a file in it."},
    {EOutputState::Device, EExitStatus::Failed, u" Name a file."},
    {EOutputState::Exists, EExitStatus::Failed, u" Replace it with --overwrite, or name another file with"},
    {EOutputState::NoFolder, EExitStatus::Failed, u" Create it first, or name another one with"},
    {EOutputState::NotWritable, EExitStatus::Failed, u" Name another one with"},
    {EOutputState::NotNamed, EExitStatus::Failed, u" Name another one with"},
};

template <class State, size_t N>
const SRefusal<State>& FindRefusal(const SRefusal<State> (&refusals)[N], State state) {
  static constexpr SRefusal<State> kOther{};
  const auto* const found = std::ranges::find(refusals, state, &SRefusal<State>::state);
  return found == std::end(refusals) ? kOther : *found;
}

}  // namespace

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
  const SRefusal<ESourceState>& refusal = FindRefusal(kSourceRefusals, verdict.state);
  return {refusal.status, AboutFile(path, verdict.reason + std::u16string(refusal.advice))};
}

SFailure RefuseOutput(const std::u16string& path, const SOutputVerdict& verdict, std::u16string_view option) {
  const SRefusal<EOutputState>& refusal = FindRefusal(kOutputRefusals, verdict.state);
  std::u16string text = verdict.reason + std::u16string(refusal.advice);
  if (text.ends_with(u" with")) (text += u" ").append(option) += u".";
  return {refusal.status, AboutFile(path, text)};
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
