#include "automation/TableCompletion.h"

#include "automation/AutomationTableDef.h"
#include "automation/EngineCalls.h"
#include "automation/EngineProperties.h"

namespace tolvane {

namespace {

// Nothing more can be stored.
bool EndsAll(EDaoError code) {
  return code == EDaoError::EngineGone || code == EDaoError::DiskFull || code == EDaoError::DiskError;
}

class CCompletion {
 public:
  CCompletion(AutomationObject tableDef, CDaoTableChange& change)
      : m_tableDef(std::move(tableDef)), m_change(change) {}

  CDaoResult MakeKey(const CDaoIndexInfo& index) {
    const CDaoResult refusal = MakeIndex(m_tableDef, index);
    if (refusal.IsOk() || EndsAll(refusal.code)) return refusal;
    ++m_change.indexes;
    CDaoIndexInfo weaker = index;
    weaker.primary = weaker.unique = weaker.required = false;
    const CDaoResult result = MakeIndex(m_tableDef, weaker);
    if (EndsAll(result.code)) return result;
    Tell(u"Index \"" + index.name +
         (result.IsOk() ? u"\" is no key any more: " : u"\" could not be created: ") + refusal.text);
    return CDaoResult::Ok();
  }

  CDaoResult Set(const AutomationObject& owner, std::u16string_view of,
                 const std::vector<CDaoProperty>& properties) {
    for (const CDaoProperty& property : properties) {
      const CDaoResult result = SetProperty(owner, property);
      if (result.IsOk()) continue;
      if (EndsAll(result.code)) return result;
      ++m_change.properties;
      Tell(Text(of) + u" has lost its property \"" + property.name + u"\": " + result.text);
    }
    return CDaoResult::Ok();
  }

  CDaoResult SetOfField(const std::u16string& name, const std::vector<CDaoProperty>& properties) {
    CEngineCalls calls(EOperation::Field);
    const AutomationObject field =
        calls.GetObject(calls.GetObject(m_tableDef, u"Fields"), u"Item", {Text(name)});
    if (calls.IsOk()) return Set(field, u"Column \"" + name + u"\"", properties);
    const CDaoResult result = calls.GetResult();
    if (EndsAll(result.code)) return result;
    m_change.properties += properties.size();
    Tell(u"Column \"" + name + u"\" has lost its properties: " + result.text);
    return CDaoResult::Ok();
  }

 private:
  void Tell(const std::u16string& text) { m_change.text += (m_change.text.empty() ? u"" : u" ") + text; }

  AutomationObject m_tableDef;
  CDaoTableChange& m_change;
};

}  // namespace

CDaoResult CompleteTable(const AutomationObject& database, std::u16string_view name,
                         const SWaitingTable& table, CDaoTableChange& change) {
  if (table.indexes.empty() && table.properties.empty() && table.fieldProperties.empty())
    return CDaoResult::Ok();
  CEngineCalls calls(EOperation::Table);
  AutomationObject tableDef = calls.GetObject(calls.GetObject(database, u"TableDefs"), u"Item", {Text(name)});
  if (!calls.IsOk()) {
    if (CDaoResult result = calls.GetResult(); EndsAll(result.code)) return result;
    change.indexes += table.indexes.size();
    change.properties += table.properties.size();
    for (const auto& [field, properties] : table.fieldProperties) change.properties += properties.size();
    change.text = u"It has lost its keys and properties: " + calls.GetResult().text;
    return CDaoResult::Ok();
  }
  CCompletion completion(tableDef, change);
  for (const CDaoIndexInfo& index : table.indexes)
    if (CDaoResult result = completion.MakeKey(index); !result.IsOk()) return result;
  for (const auto& [field, properties] : table.fieldProperties)
    if (CDaoResult result = completion.SetOfField(field, properties); !result.IsOk()) return result;
  return completion.Set(tableDef, u"It", table.properties);
}

}  // namespace tolvane
