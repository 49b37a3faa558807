// Calls of an installed engine, one after the other until one fails, and what their failures mean.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>

#include "automation/AutomationObject.h"
#include "dao/dao.h"

namespace tolvane {

// What is being done: the same number means one thing while a name is given and another while a row is
// stored.
enum class EOperation : uint8_t {
  Database,  // creating or opening it, its properties
  Table,
  Field,
  Index,
  Query,
  Relation,
  Rows,   // opening and closing them
  Value,  // of one field
  Update,
};

// The meaning of an engine's error number; a number without a meaning here stands for itself.
EDaoError MeaningOf(EOperation operation, int32_t number);
// A row is refused for what is in it: its key is there already, or a rule of its table forbids it.
bool IsRowRefusal(int32_t number);
// The text ends in the number: "... (error 3022)".
CDaoResult MakeResult(EOperation operation, const SCallEnd& end);

// After a failure nothing more is called, and all answers are empty.
class CEngineCalls {
 public:
  explicit CEngineCalls(EOperation operation) : m_operation(operation) {}

  AutomationValue Get(const AutomationObject& object, std::u16string_view name,
                      const AutomationValues& arguments = {});
  AutomationObject GetObject(const AutomationObject& object, std::u16string_view name,
                             const AutomationValues& arguments = {});
  void Put(const AutomationObject& object, std::u16string_view name, AutomationValue value);
  void Do(const AutomationObject& object, std::u16string_view name, const AutomationValues& arguments = {});
  // What a method answers.
  AutomationObject Make(const AutomationObject& object, std::u16string_view name,
                        const AutomationValues& arguments = {});
  AutomationValue Ask(const AutomationObject& object, std::u16string_view name,
                      const AutomationValues& arguments = {});
  // Puts `member` into a collection of the object.
  void Append(const AutomationObject& object, std::u16string_view collection, const AutomationObject& member);

  [[nodiscard]] bool IsOk() const { return m_end.IsOk(); }
  [[nodiscard]] const SCallEnd& GetEnd() const { return m_end; }
  [[nodiscard]] CDaoResult GetResult() const { return MakeResult(m_operation, m_end); }

 private:
  AutomationValue Call(ECall kind, const AutomationObject& object, std::u16string_view name,
                       const AutomationValues& arguments);

  const EOperation m_operation;
  SCallEnd m_end;
};

// A short or long number; 0: it is none.
int32_t NumberOf(const AutomationValue& value);

inline std::u16string Text(std::u16string_view text) {
  return std::u16string(text);
}

}  // namespace tolvane
