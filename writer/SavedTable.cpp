#include "writer/SavedTable.h"

#include <algorithm>

#include "platform/Text.h"

namespace tolvane {

namespace {
void KeepFirst(std::u16string& reason, const std::u16string& other) {
  if (reason.empty()) reason = other;
}
}  // namespace

std::u16string DescribeEngineError(const CDaoEngineError& error) {
  std::u16string text = u"Error " + ToDecimal(error.number) + u" of " + error.call + u", " +
                        ToDecimal(error.count) + (error.count == 1 ? u" time: " : u" times: ") +
                        error.description;
  std::ranges::replace_if(
      text, [](char16_t unit) { return unit < u' '; }, u' ');
  return text;
}

ESaveStep FailSave(SSaveSummary& summary, const CDaoResult& result) {
  summary.failure = result.text;
  return ESaveStep::Failed;
}

bool NeedsOtherName(EDaoError code) {
  return code == EDaoError::TableExists || code == EDaoError::QueryExists || code == EDaoError::InvalidName;
}

void Remark(SSaveSummary& summary, CJobContext& job, std::u16string text) {
  job.log.Append(text);
  summary.notes.push_back(std::move(text));
}

void LoseRecords(SSavedTable& saved, uint64_t count, const std::u16string& reason) {
  if (count == 0) return;
  saved.loss.records += count;
  KeepFirst(saved.loss.reason, reason);
}

void LoseField(SSavedTable& saved, const std::u16string& reason) {
  ++saved.loss.fields;
  KeepFirst(saved.loss.reason, reason);
}

}  // namespace tolvane
