#include "automation/TableCompletion.h"

#include <utility>

#include "automation/AutomationTableDef.h"
#include "automation/EngineCalls.h"
#include "automation/EngineProperties.h"
#include "platform/Text.h"

namespace tolvane {

namespace {

constexpr std::u16string_view kStopped =
    u"The save was stopped before all its keys and properties were made.";

constexpr std::pair<int32_t, std::u16string_view> kAttributeNames[] = {
    {kDaoAutoIncrement, u"AutoNumber"},
    {kDaoHyperlinkField, u"hyperlink"},
    {kDaoFixedField, u"text of fixed length"}};

constexpr int32_t kFailOnError = 128;

std::u16string LostCounter(const SCounter& counter) {
  return u"AutoNumber \"" + counter.field + u"\" counts on behind " + ToDecimal(counter.highest) +
         u", its highest number, and not behind " + ToDecimal(counter.last) + u", as in the source";
}

class CCompletion {
 public:
  CCompletion(AutomationObject tableDef, const std::function<bool()>& isWanted, CDaoTableChange& change)
      : m_tableDef(std::move(tableDef)), m_isWanted(isWanted), m_change(change) {}

  // No call sets the next number: a row that is added and deleted again does. No stored row has that number.
  CDaoResult RaiseCounter(const AutomationObject& database, std::u16string_view table,
                          const SCounter& counter) {
    if (IsStopped()) {
      ++m_change.properties;
      return CDaoResult::Ok();
    }
    const std::u16string field = u"[" + counter.field + u"]", number = ToDecimal(counter.last);
    const std::u16string of = u"[" + Text(table) + u"]";
    CEngineCalls added(EOperation::Update), removed(EOperation::Update);
    added.Do(database, u"Execute",
             {u"INSERT INTO " + of + u" (" + field + u") VALUES (" + number + u")", kFailOnError});
    if (added.IsOk())
      removed.Do(database, u"Execute",
                 {u"DELETE FROM " + of + u" WHERE " + field + u" = " + number, kFailOnError});
    for (const CEngineCalls* calls : {&added, &removed}) {
      const CDaoResult result = calls->GetResult();
      if (result.IsOk()) continue;
      if (EndsSave(result.code)) return result;
      ++m_change.properties;
      Tell(calls == &added ? LostCounter(counter) + u": " + result.text
                           : u"The record " + field + u" = " + number +
                                 u" is none of the source's: it raised the AutoNumber, and the engine did "
                                 u"not delete it again. Delete it by hand: " +
                                 result.text);
    }
    return CDaoResult::Ok();
  }

  // Only told: the field is there, and its values are.
  CDaoResult LookAtField(const std::u16string& name, int32_t attributes) {
    if (IsStopped()) return CDaoResult::Ok();
    CEngineCalls calls(EOperation::Field);
    const AutomationObject field =
        calls.GetObject(calls.GetObject(m_tableDef, u"Fields"), u"Item", {Text(name)});
    const int32_t present = NumberOf(calls.Get(field, u"Attributes"));
    if (!calls.IsOk()) {
      if (CDaoResult result = calls.GetResult(); EndsSave(result.code)) return result;
      Tell(u"Column \"" + name + u"\": its attributes could not be checked: " + calls.GetResult().text);
      return CDaoResult::Ok();
    }
    for (const auto& [bit, kind] : kAttributeNames) {
      if ((attributes & ~present & bit) == 0) continue;
      ++m_change.properties;
      Tell(u"Column \"" + name + u"\" is no " + Text(kind) +
           u" any more: the engine dropped this without an error.");
    }
    return CDaoResult::Ok();
  }

  CDaoResult MakeKey(const CDaoIndexInfo& index) {
    if (IsStopped()) {
      ++m_change.indexes;
      return CDaoResult::Ok();
    }
    const CDaoResult refusal = MakeIndex(m_tableDef, index);
    if (refusal.IsOk() || EndsSave(refusal.code)) return refusal;
    ++m_change.indexes;
    CDaoIndexInfo weaker = index;
    weaker.primary = weaker.unique = weaker.required = false;
    const CDaoResult result = MakeIndex(m_tableDef, weaker);
    if (EndsSave(result.code)) return result;
    Tell(u"Index \"" + index.name +
         (result.IsOk() ? u"\" is no key any more: " : u"\" could not be created: ") + refusal.text);
    return CDaoResult::Ok();
  }

  CDaoResult Set(const AutomationObject& owner, std::u16string_view of,
                 const std::vector<CDaoProperty>& properties) {
    for (const CDaoProperty& property : properties) {
      if (IsStopped()) {
        ++m_change.properties;
        continue;
      }
      const CDaoResult result = SetProperty(owner, property);
      if (result.IsOk()) continue;
      if (EndsSave(result.code)) return result;
      ++m_change.properties;
      Tell(Text(of) + u" has lost its property \"" + property.name + u"\": " + result.text);
    }
    return CDaoResult::Ok();
  }

  CDaoResult SetOfField(const std::u16string& name, const std::vector<CDaoProperty>& properties) {
    if (IsStopped()) return Set(nullptr, {}, properties);
    CEngineCalls calls(EOperation::Field);
    const AutomationObject field =
        calls.GetObject(calls.GetObject(m_tableDef, u"Fields"), u"Item", {Text(name)});
    if (calls.IsOk()) return Set(field, u"Column \"" + name + u"\"", properties);
    const CDaoResult result = calls.GetResult();
    if (EndsSave(result.code)) return result;
    m_change.properties += properties.size();
    Tell(u"Column \"" + name + u"\" has lost its properties: " + result.text);
    return CDaoResult::Ok();
  }

 private:
  // From then on what is not made is only counted.
  bool IsStopped() {
    if (m_isStopped || !m_isWanted || m_isWanted()) return m_isStopped;
    m_isStopped = true;
    Tell(Text(kStopped));
    return true;
  }
  void Tell(const std::u16string& text) { m_change.text += (m_change.text.empty() ? u"" : u" ") + text; }

  AutomationObject m_tableDef;
  const std::function<bool()>& m_isWanted;
  CDaoTableChange& m_change;
  bool m_isStopped = false;
};

bool LacksNumbers(const SWaitingTable& table) {
  return table.counter && table.counter->last > table.counter->highest;
}

void LoseAll(const SWaitingTable& table, CDaoTableChange& change, std::u16string_view reason) {
  change.indexes += table.indexes.size();
  change.properties += table.properties.size() + (LacksNumbers(table) ? 1 : 0);
  for (const auto& [field, properties] : table.fieldProperties) change.properties += properties.size();
  if (change.indexes + change.properties != 0) change.text = reason;
}

}  // namespace

CDaoResult CompleteTable(const AutomationObject& database, std::u16string_view name,
                         const SWaitingTable& table, const std::function<bool()>& isWanted,
                         CDaoTableChange& change) {
  if (table.indexes.empty() && table.properties.empty() && table.fieldProperties.empty() &&
      table.attributes.empty() && !LacksNumbers(table))
    return CDaoResult::Ok();
  if (isWanted && !isWanted()) {
    LoseAll(table, change, kStopped);
    return CDaoResult::Ok();
  }
  CEngineCalls calls(EOperation::Table);
  AutomationObject tableDef = calls.GetObject(calls.GetObject(database, u"TableDefs"), u"Item", {Text(name)});
  if (!calls.IsOk()) {
    if (CDaoResult result = calls.GetResult(); EndsSave(result.code)) return result;
    LoseAll(table, change, u"It has lost its keys and properties: " + calls.GetResult().text);
    return CDaoResult::Ok();
  }
  CCompletion completion(tableDef, isWanted, change);
  if (LacksNumbers(table))
    if (CDaoResult result = completion.RaiseCounter(database, name, *table.counter); !result.IsOk())
      return result;
  for (const auto& [field, attributes] : table.attributes)
    if (CDaoResult result = completion.LookAtField(field, attributes); !result.IsOk()) return result;
  for (const CDaoIndexInfo& index : table.indexes)
    if (CDaoResult result = completion.MakeKey(index); !result.IsOk()) return result;
  for (const auto& [field, properties] : table.fieldProperties)
    if (CDaoResult result = completion.SetOfField(field, properties); !result.IsOk()) return result;
  return completion.Set(tableDef, u"It", table.properties);
}

}  // namespace tolvane
