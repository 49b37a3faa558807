#include "automation/EngineCalls.h"

#include <algorithm>
#include <iterator>
#include <optional>
#include <utility>

#include "platform/Text.h"

namespace tolvane {

namespace {

// Where a number means something else than EDaoError says, or has no place there.
struct SMeaning {
  int32_t number;
  std::optional<EOperation> operation;  // none: any other
  EDaoError meaning;
};
constexpr SMeaning kMeanings[] = {
    // "Invalid argument" is said of versions and locales, of types and sizes, of names and of full disks.
    {3001, EOperation::Database, EDaoError::InvalidArgument},
    {3001, EOperation::Field, EDaoError::InvalidDataType},
    {3001, EOperation::Value, EDaoError::DataConversion},
    {3001, std::nullopt, EDaoError::NotSupported},
    // "Object already exists", in a collection or in the catalogue; an index stands for its relation.
    {3012, EOperation::Table, EDaoError::TableExists},
    {3012, EOperation::Relation, EDaoError::RelationExists},
    {3284, EOperation::Relation, EDaoError::RelationExists},
    {3284, EOperation::Index, EDaoError::NotSupported},
    {3367, EOperation::Table, EDaoError::TableExists},
    {3367, EOperation::Field, EDaoError::DuplicateField},
    {3367, EOperation::Query, EDaoError::QueryExists},
    {3367, EOperation::Relation, EDaoError::RelationExists},
    // Names.
    {3005, std::nullopt, EDaoError::InvalidName},
    // A type mismatch, as the system says it.
    {static_cast<int32_t>(0x80020005), std::nullopt, EDaoError::DataConversion},
};

// Key there already or null; a value required, empty or against a rule.
constexpr int32_t kRowRefusals[] = {3022, 3058, 3314, 3315, 3316, 3317, 3320};

}  // namespace

EDaoError MeaningOf(EOperation operation, int32_t number) {
  for (const SMeaning& meaning : kMeanings)
    if (meaning.number == number && meaning.operation.value_or(operation) == operation)
      return meaning.meaning;
  return EDaoError{number};
}

bool IsRowRefusal(int32_t number) {
  return std::ranges::find(kRowRefusals, number) != std::end(kRowRefusals);
}

CDaoResult MakeResult(EOperation operation, const SCallEnd& end) {
  if (end.IsOk()) return CDaoResult::Ok();
  if (end.isGone) return {EDaoError::EngineGone, end.description};
  std::u16string text =
      end.description.empty() ? u"The installed database engine refused this." : end.description;
  std::ranges::replace_if(
      text, [](char16_t unit) { return unit < u' '; }, u' ');
  return {MeaningOf(operation, end.number), std::move(text) + u" (error " + ToDecimal(end.number) + u")"};
}

int32_t NumberOf(const AutomationValue& value) {
  if (const auto* const number = std::get_if<int16_t>(&value)) return *number;
  const auto* const number = std::get_if<int32_t>(&value);
  return number != nullptr ? *number : 0;
}

AutomationValue CEngineCalls::Call(ECall kind, const AutomationObject& object, std::u16string_view name,
                                   const AutomationValues& arguments) {
  AutomationValue answer;
  if (m_end.IsOk() && !object) m_end = {static_cast<int32_t>(EDaoError::ItemNotFound), {}, false};
  if (m_end.IsOk()) m_end = object->Invoke(kind, name, arguments, kind == ECall::Put ? nullptr : &answer);
  return m_end.IsOk() ? std::move(answer) : AutomationValue();
}

namespace {

AutomationObject ObjectOf(AutomationValue value) {
  auto* const object = std::get_if<AutomationObject>(&value);
  return object != nullptr ? std::move(*object) : nullptr;
}

}  // namespace

AutomationValue CEngineCalls::Get(const AutomationObject& object, std::u16string_view name,
                                  const AutomationValues& arguments) {
  return Call(ECall::Get, object, name, arguments);
}
AutomationObject CEngineCalls::GetObject(const AutomationObject& object, std::u16string_view name,
                                         const AutomationValues& arguments) {
  return ObjectOf(Call(ECall::Get, object, name, arguments));
}
void CEngineCalls::Put(const AutomationObject& object, std::u16string_view name, AutomationValue value) {
  Call(ECall::Put, object, name, {std::move(value)});
}
void CEngineCalls::Do(const AutomationObject& object, std::u16string_view name,
                      const AutomationValues& arguments) {
  Call(ECall::Method, object, name, arguments);
}
AutomationObject CEngineCalls::Make(const AutomationObject& object, std::u16string_view name,
                                    const AutomationValues& arguments) {
  return ObjectOf(Call(ECall::Method, object, name, arguments));
}
AutomationValue CEngineCalls::Ask(const AutomationObject& object, std::u16string_view name,
                                  const AutomationValues& arguments) {
  return Call(ECall::Method, object, name, arguments);
}
void CEngineCalls::Append(const AutomationObject& object, std::u16string_view collection,
                          const AutomationObject& member) {
  Do(GetObject(object, collection), u"Append", {member});
}

}  // namespace tolvane
