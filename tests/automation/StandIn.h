// A database engine that stands in for an installed one: it has the objects and the members that we call,
// keeps tables and rows in memory, records each call as a line of text, and fails where it is told to. Behind
// its own COM server it is installed in the tests' Wine (StandInServer_win.cpp); elsewhere tests speak to it
// directly.
#pragma once

#include <functional>
#include <map>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "automation/AutomationObject.h"

namespace tolvane {

class CStandInObject;
using StandInObject = std::shared_ptr<CStandInObject>;

// What an engine and its objects share.
struct SStandInWorld {
  std::function<void(const std::string&)> record;
  // What is to fail: "17" the 17th call, or the begin of a line; behind it after a bar the error number, or
  // "hang", "gone", "ignored" or, for a process of its own, "exit" or "hang, exit". Empty: nothing. Asked at
  // each call.
  std::function<std::string()> failure;
  int calls = 0;
  bool refusesJet3 = false;
  std::string version = "16.0";

  SCallEnd Call(const std::string& line);
};

class CStandInObject : public CAutomationObject, public std::enable_shared_from_this<CStandInObject> {
 public:
  CStandInObject(std::shared_ptr<SStandInWorld> world, std::u16string_view kind, CStandInObject* owner)
      : m_world(std::move(world)), m_kind(kind), m_owner(owner) {}
  SCallEnd Invoke(ECall kind, std::u16string_view name, const AutomationValues& arguments,
                  AutomationValue* answer) override;

 private:
  using Row = std::vector<AutomationValue>;

  [[nodiscard]] std::string GetLabel() const;
  SCallEnd Answer(ECall kind, std::u16string_view name, const AutomationValues& arguments,
                  AutomationValue& answer);
  SCallEnd AnswerCollection(std::u16string_view name, const AutomationValues& arguments,
                            AutomationValue& answer);
  SCallEnd AnswerRows(std::u16string_view name);
  SCallEnd OpenDatabase(std::u16string_view name, const AutomationValues& arguments, AutomationValue& answer);
  SCallEnd OpenRows(const std::u16string& sql, AutomationValue& answer);
  SCallEnd Create(std::u16string_view name, const AutomationValues& arguments, AutomationValue& answer);
  SCallEnd Append(const AutomationObject& member);
  SCallEnd AnswerValue(std::u16string_view name, const AutomationValues& arguments, AutomationValue& answer);
  // 0, or the number of the error that the rows make of the index.
  [[nodiscard]] int32_t CheckIndex(const CStandInObject& index, const std::vector<Row>& rows) const;
  StandInObject GetCollection(std::u16string_view name);
  [[nodiscard]] bool IsCollection() const { return m_kind.ends_with(u's') && m_kind != u"Rows"; }
  [[nodiscard]] std::u16string GetName() const;

  std::shared_ptr<SStandInWorld> m_world;
  const std::u16string m_kind;
  CStandInObject* m_owner;  // of a collection; of a database its engine
  std::map<std::u16string, AutomationValue, std::less<>> m_values;
  std::map<std::u16string, StandInObject, std::less<>> m_collections;  // of an engine: databases
  std::vector<StandInObject> m_members;
  std::vector<Row> m_rows;  // of a table
  StandInObject m_table;    // of rows: where they go
};

AutomationObject MakeStandInEngine(std::shared_ptr<SStandInWorld> world);
// As the lines show a value: 5, 'text', True, bytes[3].
std::string DescribeValue(const AutomationValue& value);

}  // namespace tolvane
