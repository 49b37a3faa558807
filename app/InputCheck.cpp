#include "app/InputCheck.h"

#include <algorithm>

#include "app/Losses.h"
#include "app/StartChoice.h"
#include "app/TextSearch.h"
#include "app/ViewTexts.h"
#include "engine/DBFileReader.h"
#include "engine/SourceCheck.h"
#include "platform/ErrorHandler.h"
#include "platform/Files.h"

namespace tolvane {

namespace {

constexpr std::u16string_view kOtherCopyAdvice =
    u"Look for another copy: in a backup, in the mail that it came with, or among the earlier versions that "
    u"the system keeps.";
constexpr std::u16string_view kDecryptAdvice =
    u"Open it in Access with its password and remove the password or encryption; then repair that file. If "
    u"Access cannot open it, only an older copy helps.";
constexpr std::u16string_view kTemplateAdvice =
    u"Choose a healthy database of the same structure as the damaged one, such as a backup or an empty copy "
    u"of it.";
constexpr std::u16string_view kTakeTemplateAdvice =
    u"If there is a healthy database of the same structure, such as a backup or an empty copy, go back and "
    u"repair with Template Mode.";

std::optional<SInputProblem> CheckReadable(const std::u16string& path) {
  if (!CanRead(path)) return SInputProblem{u"File '" + path + u"' does not exist or access is denied."};
  if (GetFileKind(path) == EFileKind::Folder)
    return SInputProblem{u"'" + path + u"' is a folder. Choose the database file in it."};
  CDBFileReader reader;
  CErrorHandler handler;
  reader.SetPath(path);
  if (reader.Open(handler)) {
    reader.Close();
    return std::nullopt;
  }
  return SInputProblem{handler.GetMessageText() + u"\n\nFile: " + path +
                       u"\nIf another program has it open, close that program or repair a copy of the file."};
}

// One of the user's, with rows, all of which had room.
bool HasWholeTable(const CAccessData& data) {
  const std::set<uint64_t> cut = ListCutTables(data);
  return std::ranges::any_of(data.GetTables(), [&cut](const auto& table) {
    return HasContent(*table) && !IsSystemTable(*table) && table->header.rowCount > 0 &&
           !cut.contains(table->GetDefinitionOffset());
  });
}

std::u16string_view AdviceFor(ESourceState state) {
  switch (state) {
    case ESourceState::Encrypted:
      return kDecryptAdvice;
    case ESourceState::Foreign:
      return {};  // the cause says it
    default:
      return kOtherCopyAdvice;
  }
}

}  // namespace

bool HasDatabaseEnding(std::u16string_view path) {
  const std::u16string ending = FoldCase(ExtensionOf(path));
  return ending == u"mdb" || ending == u"accdb";
}

std::optional<SInputProblem> CheckInput(const COvRepairFileManager& manager) {
  const bool isTemplateMode = manager.GetMode().IsAdvance();
  const std::u16string templatePath = manager.GetTemplatePath();
  if (auto incomplete = CheckStartChoice({isTemplateMode, manager.GetCorruptedPath(), templatePath}))
    return SInputProblem{*std::move(incomplete), EMessageIcon::Information};
  auto problem = CheckReadable(manager.GetCorruptedPath());
  return problem || !isTemplateMode ? problem : CheckReadable(templatePath);
}

bool IsNothingFound(const CAccessData* data) {
  return !data || IsNothingRecovered(*data) || data->GetLedger().GetCount(EDamage::UnfitTemplate) > 0 ||
         (LacksRoom(data) && !HasWholeTable(*data));
}

bool LacksRoom(const CAccessData* data) {
  return data && data->GetLedger().GetCount(EDamage::SkippedTable) > 0;
}

std::set<uint64_t> ListCutTables(const CAccessData& data) {
  std::set<uint64_t> tables;
  for (const auto& place : data.GetLedger().GetPlaces(EDamage::SkippedTable)) tables.insert(place.definition);
  return tables;
}

SNothingFound ExplainNothing(const COvRepairFileManager& manager) {
  const std::u16string path = manager.GetCorruptedPath();
  const CAccessData* const data = manager.GetData();
  if (const SSourceVerdict verdict = CheckSource(path); verdict.state != ESourceState::Ok)
    return {std::u16string(verdict.state == ESourceState::Encrypted ? kEncryptedHint : kNothingFoundHint),
            path + u": " + verdict.reason, std::u16string(AdviceFor(verdict.state))};
  if (LacksRoom(data)) return {std::u16string(kNoRoomHint), {}, {}};
  if (manager.GetMode().IsAdvance()) {
    const std::u16string templatePath = manager.GetTemplatePath();
    const SSourceVerdict verdict = CheckSource(templatePath);
    return {std::u16string(kUnfitTemplateHint),
            u"Template " + templatePath + u": " +
                (verdict.state != ESourceState::Ok ? verdict.reason
                                                   : u"No row of the damaged file fits one of its tables."),
            std::u16string(kTemplateAdvice)};
  }
  if (data && data->GetLedger().GetCount(EDamage::LostTable) > 0)
    return {std::u16string(kNothingFoundHint), path + u": The definitions of all tables are gone.",
            std::u16string(kTakeTemplateAdvice)};
  if (data && !data->source.otherStarts.empty())
    return {std::u16string(kNothingFoundHint),
            path +
                u": The file holds pages of several databases, and no table of the first one is among those "
                u"that could be told to be its own.",
            std::u16string(kOtherCopyAdvice)};
  std::u16string cause =
      path +
      u": No page of the file defines a table. It may be no Access database, or overwritten as a whole.";
  if (!HasDatabaseEnding(path)) cause += u" Its name does not end in .mdb or .accdb: is it the right file?";
  return {std::u16string(kNothingFoundHint), std::move(cause), std::u16string(kOtherCopyAdvice)};
}

}  // namespace tolvane
