#include "cli/Json.h"

#include <algorithm>
#include <nlohmann/json.hpp>

namespace tolvane {

namespace {

constexpr int kIndent = 2;

using CDocument = nlohmann::ordered_json;

// Documents are a few levels deep: their shape is the program's own.
CDocument ToDocument(const Json& json);

struct SConversion {
  CDocument operator()(std::monostate) const { return nullptr; }
  CDocument operator()(const Json::CArray& values) const {
    CDocument array = CDocument::array();
    for (const Json& value : values) array.push_back(ToDocument(value));
    return array;
  }
  CDocument operator()(const Json::CObject& members) const {
    CDocument object = CDocument::object();
    for (const auto& [name, value] : members) object.emplace(name, ToDocument(value));
    return object;
  }
  CDocument operator()(const auto& value) const { return value; }
};

CDocument ToDocument(const Json& json) {
  return std::visit(SConversion(), json.Get());
}

}  // namespace

Json::Json(std::initializer_list<std::pair<std::string_view, Json>> members) {
  CObject object;
  object.reserve(members.size());
  for (const auto& [name, value] : members) object.emplace_back(name, value);
  m_value = std::move(object);
}

Json Json::array() {
  Json json;
  json.m_value = CArray();
  return json;
}

Json& Json::operator[](std::string_view name) {
  if (std::holds_alternative<std::monostate>(m_value)) m_value = CObject();
  auto& object = std::get<CObject>(m_value);
  const auto found =
      std::find_if(object.begin(), object.end(), [name](const auto& member) { return member.first == name; });
  return found != object.end() ? found->second : object.emplace_back(name, Json()).second;
}

void Json::push_back(Json value) {
  if (std::holds_alternative<std::monostate>(m_value)) m_value = CArray();
  std::get<CArray>(m_value).push_back(std::move(value));
}

std::string Json::Dump() const {
  return ToDocument(*this).dump(kIndent, ' ', false, CDocument::error_handler_t::replace);
}

}  // namespace tolvane
