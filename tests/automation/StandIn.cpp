#include "tests/automation/StandIn.h"

#include <algorithm>
#include <chrono>
#include <cstdlib>
#include <fstream>
#include <set>
#include <thread>
#include <utility>

#include "platform/Text.h"

namespace tolvane {

namespace {

constexpr size_t kLongText = 300, kShownText = 24;
constexpr std::chrono::seconds kHang{1};
constexpr int32_t kIgnored = 1;  // answered as well, and nothing was done

SCallEnd Fail(int32_t number, std::u16string_view text = u"as the stand-in was told") {
  return {number, std::u16string(text), false};
}

struct SDescriber {
  std::string operator()(SNoValue) const { return "-"; }
  std::string operator()(SNullValue) const { return "Null"; }
  std::string operator()(bool value) const { return value ? "True" : "False"; }
  std::string operator()(uint8_t value) const { return std::to_string(value) + "b"; }
  std::string operator()(int16_t value) const { return std::to_string(value) + "i"; }
  std::string operator()(int32_t value) const { return std::to_string(value); }
  std::string operator()(SCurrency value) const { return std::to_string(value.tenThousandths) + "/10000"; }
  std::string operator()(float value) const { return std::to_string(value) + "f"; }
  std::string operator()(double value) const { return std::to_string(value); }
  std::string operator()(SDateValue value) const { return "day " + std::to_string(value.days); }
  std::string operator()(const SDecimalValue& value) const {
    return (value.isNegative ? "-" : "") + std::to_string(value.words[2]) + "e-" +
           std::to_string(value.scale) + (value.words[0] + value.words[1] != 0 ? " and more" : "");
  }
  std::string operator()(const std::u16string& value) const {
    if (value.size() <= kLongText) return "'" + ToUtf8(value) + "'";
    return "'" + ToUtf8(value.substr(0, kShownText)) + "..." + std::to_string(value.size()) + "'";
  }
  std::string operator()(const std::vector<uint8_t>& value) const {
    return "bytes[" + std::to_string(value.size()) + "]";
  }
  std::string operator()(const AutomationObject&) const { return "object"; }
};

int32_t NumberOf(const AutomationValue& value) {
  if (const auto* const number = std::get_if<int16_t>(&value)) return *number;
  const auto* const number = std::get_if<int32_t>(&value);
  return number != nullptr ? *number : 0;
}
std::u16string TextOf(const AutomationValue& value) {
  const auto* const text = std::get_if<std::u16string>(&value);
  return text != nullptr ? *text : std::u16string();
}
bool IsSet(const AutomationValue& value) {
  const auto* const flag = std::get_if<bool>(&value);
  return flag != nullptr && *flag;
}
bool IsNothing(const AutomationValue& value) {
  return std::holds_alternative<SNoValue>(value) || std::holds_alternative<SNullValue>(value);
}

// The members that a collection cannot hold twice: what the engine says then.
int32_t TwiceError(std::u16string_view collection) {
  if (collection == u"TableDefs") return 3010;
  if (collection == u"Fields") return 3191;
  if (collection == u"Indexes") return 3284;
  return 3012;
}

// What the arguments of each Create... are, by name.
const std::map<std::u16string_view, std::vector<std::u16string_view>> kArguments{
    {u"TableDef", {u"Name", u"Attributes", u"SourceTableName", u"Connect"}},
    {u"Field", {u"Name", u"Type", u"Size"}},
    {u"Index", {u"Name"}},
    {u"QueryDef", {u"Name", u"SQL"}},
    {u"Relation", {u"Name", u"Table", u"ForeignTable", u"Attributes"}},
    {u"Property", {u"Name", u"Type", u"Value"}}};

const std::set<std::u16string_view> kCollections{u"Fields",    u"Indexes",    u"TableDefs",  u"QueryDefs",
                                                 u"Relations", u"Properties", u"Containers", u"Documents"};
// Properties that objects have by themselves.
const std::set<std::u16string_view> kOwnProperties{u"Required", u"AllowZeroLength", u"DefaultValue",
                                                   u"ValidationRule", u"ValidationText"};

}  // namespace

std::string DescribeValue(const AutomationValue& value) {
  return std::visit(SDescriber{}, value);
}

SCallEnd SStandInWorld::Call(const std::string& line) {
  ++calls;
  std::string shown = line;
  std::ranges::replace_if(
      shown, [](char unit) { return unit == '\r' || unit == '\n'; }, ' ');
  record(shown);
  std::string wanted = failure();
  if (wanted.empty()) return {};
  const size_t bar = std::min(wanted.find('|'), wanted.size());
  const std::string how = bar < wanted.size() ? wanted.substr(bar + 1) : "3799";
  wanted.resize(bar);
  if (wanted != std::to_string(calls) && (wanted.size() < 4 || !line.starts_with(wanted))) return {};
  if (how.starts_with("hang")) std::this_thread::sleep_for(kHang);
  if (how.ends_with("exit")) std::_Exit(EXIT_FAILURE);
  if (how == "gone" || how == "hang") return {-2147417848, u"The object invoked has disconnected", true};
  return Fail(how == "ignored" ? kIgnored : std::atoi(how.c_str()));
}

std::u16string CStandInObject::GetName() const {
  const auto name = m_values.find(u"Name");
  return name != m_values.end() ? TextOf(name->second) : std::u16string();
}

std::string CStandInObject::GetLabel() const {
  const std::string kind = ToUtf8(m_kind), name = ToUtf8(GetName());
  if (IsCollection() && m_owner != nullptr) return m_owner->GetLabel() + "." + kind;
  return name.empty() ? kind : kind + " " + name;
}

SCallEnd CStandInObject::Invoke(ECall kind, std::u16string_view name, const AutomationValues& arguments,
                                AutomationValue* answer) {
  std::string line = GetLabel() + "." + ToUtf8(name);
  std::string list;
  for (const AutomationValue& argument : arguments) {
    const auto* const object = std::get_if<AutomationObject>(&argument);
    const auto* const own = object != nullptr ? dynamic_cast<CStandInObject*>(object->get()) : nullptr;
    list += (list.empty() ? "" : ", ") + (own != nullptr ? own->GetLabel() : DescribeValue(argument));
  }
  if (kind == ECall::Put) line += " = " + list;
  if (kind == ECall::Method || (kind == ECall::Get && !arguments.empty())) line += "(" + list + ")";
  if (SCallEnd end = m_world->Call(line); !end.IsOk()) return end.number == kIgnored ? SCallEnd{} : end;
  AutomationValue answered;
  SCallEnd end = Answer(kind, name, arguments, answered);
  if (answer != nullptr) *answer = std::move(answered);
  return end;
}

SCallEnd CStandInObject::Answer(ECall kind, std::u16string_view name, const AutomationValues& arguments,
                                AutomationValue& answer) {
  if (kind == ECall::Put) {
    m_values[std::u16string(name)] = arguments.back();
    return {};
  }
  if (IsCollection()) return AnswerCollection(name, arguments, answer);
  if (kind == ECall::Get && kCollections.contains(name)) {
    answer = AutomationObject(GetCollection(name));
    return {};
  }
  if (kind == ECall::Get && name == u"Version") {
    answer = FromUtf8(m_world->version);
    return {};
  }
  if (kind == ECall::Get) {
    const auto value = m_values.find(name);
    if (value != m_values.end()) answer = value->second;
    return {};
  }
  if (name == u"CreateDatabase" || name == u"OpenDatabase") return OpenDatabase(name, arguments, answer);
  if (name == u"OpenRecordset") return OpenRows(TextOf(arguments[0]), answer);
  if (name.starts_with(u"Create")) return Create(name.substr(6), arguments, answer);
  return m_kind == u"Rows" ? AnswerRows(name) : AnswerValue(name, arguments, answer);
}

StandInObject CStandInObject::GetCollection(std::u16string_view name) {
  StandInObject& collection = m_collections[std::u16string(name)];
  if (!collection) collection = std::make_shared<CStandInObject>(m_world, name, this);
  return collection;
}

SCallEnd CStandInObject::AnswerCollection(std::u16string_view name, const AutomationValues& arguments,
                                          AutomationValue& answer) {
  if (name == u"Count") answer = static_cast<int32_t>(m_members.size());
  if (name == u"Append") return Append(std::get<AutomationObject>(arguments[0]));
  if (name != u"Item") return {};
  const std::u16string wanted = TextOf(arguments[0]);
  const bool isOfQuery = m_kind == u"Fields" && m_owner != nullptr && m_owner->m_kind == u"QueryDef";
  if (m_kind == u"Containers" || m_kind == u"Documents" || isOfQuery ||
      (m_kind == u"Properties" && kOwnProperties.contains(wanted))) {
    const auto made = std::make_shared<CStandInObject>(m_world, m_kind.substr(0, m_kind.size() - 1), nullptr);
    made->m_values[u"Name"] = wanted;
    answer = AutomationObject(made);
    return {};
  }
  const auto index = static_cast<size_t>(NumberOf(arguments[0]));
  for (size_t i = 0; i < m_members.size(); ++i)
    if (wanted.empty() ? i == index : m_members[i]->GetName() == wanted) {
      answer = AutomationObject(m_members[i]);
      return {};
    }
  return Fail(m_kind == u"Properties" ? 3270 : 3265, u"Item not found in this collection.");
}

SCallEnd CStandInObject::Append(const AutomationObject& member) {
  const auto added = std::dynamic_pointer_cast<CStandInObject>(member);
  const auto isSame = [&added](const StandInObject& other) { return other->GetName() == added->GetName(); };
  if (std::ranges::any_of(m_members, isSame)) return Fail(TwiceError(m_kind), u"Object already exists.");
  if (m_kind == u"Indexes")
    if (const int32_t error = m_owner->CheckIndex(*added, m_owner->m_rows))
      return Fail(error, u"Duplicate keys.");
  m_members.push_back(added);
  return {};
}

SCallEnd CStandInObject::OpenDatabase(std::u16string_view name, const AutomationValues& arguments,
                                      AutomationValue& answer) {
  constexpr int32_t kJet3 = 0x20;
  StandInObject& database = m_collections[TextOf(arguments[0])];
  if (name == u"CreateDatabase") {
    if (m_world->refusesJet3 && NumberOf(arguments[2]) == kJet3) return Fail(3001, u"Invalid argument.");
    if (database) return Fail(3204, u"Database already exists.");
    database = std::make_shared<CStandInObject>(m_world, u"Database", nullptr);
    std::ofstream(ToNativePath(TextOf(arguments[0]))) << "made by the stand-in\n";
  }
  if (!database) return Fail(3024, u"Could not find file.");
  answer = AutomationObject(database);
  return {};
}

SCallEnd CStandInObject::OpenRows(const std::u16string& sql, AutomationValue& answer) {
  const size_t start = sql.find(u'[') + 1;
  const std::u16string name = sql.substr(start, sql.find(u']') - start);
  for (const StandInObject& table : GetCollection(u"TableDefs")->m_members) {
    if (table->GetName() != name) continue;
    auto rows = std::make_shared<CStandInObject>(m_world, u"Rows", nullptr);
    rows->m_values[u"Name"] = name;
    rows->m_table = table;
    for (const StandInObject& field : table->GetCollection(u"Fields")->m_members) {
      auto cell = std::make_shared<CStandInObject>(m_world, u"Cell", nullptr);
      cell->m_values = field->m_values;
      rows->GetCollection(u"Fields")->m_members.push_back(std::move(cell));
    }
    answer = AutomationObject(rows);
    return {};
  }
  return Fail(3078, u"Cannot find the input table.");
}

SCallEnd CStandInObject::Create(std::u16string_view name, const AutomationValues& arguments,
                                AutomationValue& answer) {
  auto made = std::make_shared<CStandInObject>(m_world, name, nullptr);
  const std::vector<std::u16string_view>& names = kArguments.at(name);
  for (size_t i = 0; i < arguments.size(); ++i) made->m_values[std::u16string(names[i])] = arguments[i];
  answer = AutomationObject(made);
  return {};
}

SCallEnd CStandInObject::AnswerRows(std::u16string_view name) {
  Row row;
  for (const StandInObject& cell : GetCollection(u"Fields")->m_members) {
    AutomationValue& value = cell->m_values[u"Value"];
    if (name == u"AddNew") value = SNullValue{};
    row.push_back(value);
  }
  if (name != u"Update") return {};
  std::vector<Row> rows = m_table->m_rows;
  rows.push_back(std::move(row));
  for (const StandInObject& index : m_table->GetCollection(u"Indexes")->m_members)
    if (const int32_t error = m_table->CheckIndex(*index, rows))
      return Fail(error, u"The changes would make duplicate values.");
  m_table->m_rows = std::move(rows);
  return {};
}

int32_t CStandInObject::CheckIndex(const CStandInObject& index, const std::vector<Row>& rows) const {
  const auto is = [&index](std::u16string_view flag) {
    const auto value = index.m_values.find(flag);
    return value != index.m_values.end() && IsSet(value->second);
  };
  const auto own = m_collections.find(u"Fields"), fields = index.m_collections.find(u"Fields");
  if (own == m_collections.end() || fields == index.m_collections.end()) return 0;
  std::set<std::string> keys;
  for (const Row& row : rows) {
    std::string key;
    for (const StandInObject& field : fields->second->m_members)
      for (size_t i = 0; i < row.size(); ++i)
        if (own->second->m_members[i]->GetName() == field->GetName()) {
          if (is(u"Primary") && IsNothing(row[i])) return 3058;
          key += DescribeValue(row[i]) + ";";
        }
    if ((is(u"Primary") || is(u"Unique")) && !keys.insert(key).second) return 3022;
  }
  return 0;
}

// Of a cell: long values in pieces.
SCallEnd CStandInObject::AnswerValue(std::u16string_view name, const AutomationValues& arguments,
                                     AutomationValue& answer) {
  AutomationValue& value = m_values[u"Value"];
  auto* const bytes = std::get_if<std::vector<uint8_t>>(&value);
  auto* const text = std::get_if<std::u16string>(&value);
  const size_t size = bytes != nullptr ? bytes->size() : text != nullptr ? text->size() : 0;
  if (name == u"FieldSize") answer = static_cast<int32_t>(size);
  if (name == u"GetChunk") {
    const auto start = static_cast<size_t>(NumberOf(arguments[0]));
    const size_t length = std::min(static_cast<size_t>(NumberOf(arguments[1])), size - start);
    if (text != nullptr) answer = text->substr(start, length);
    if (bytes != nullptr) answer = std::vector<uint8_t>(&(*bytes)[start], &(*bytes)[start] + length);
  }
  if (name != u"AppendChunk") return {};
  const AutomationValue& chunk = arguments[0];
  if (size == 0)
    value = chunk;
  else if (const auto* const more = std::get_if<std::u16string>(&chunk); more != nullptr && text != nullptr)
    *text += *more;
  else if (const auto* const rest = std::get_if<std::vector<uint8_t>>(&chunk);
           rest != nullptr && bytes != nullptr)
    bytes->insert(bytes->end(), rest->begin(), rest->end());
  return {};
}

AutomationObject MakeStandInEngine(std::shared_ptr<SStandInWorld> world) {
  return std::make_shared<CStandInObject>(std::move(world), u"Engine", nullptr);
}

}  // namespace tolvane
