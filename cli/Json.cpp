#include "cli/Json.h"

#include <algorithm>
#include <nlohmann/json.hpp>

#include "platform/Text.h"

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

Json FromDocument(const CDocument& document) {
  switch (document.type()) {
    case CDocument::value_t::boolean:
      return document.get<bool>();
    case CDocument::value_t::number_integer:
      return document.get<int64_t>();
    case CDocument::value_t::number_unsigned:
      return document.get<uint64_t>();
    case CDocument::value_t::number_float:
      return document.get<double>();
    case CDocument::value_t::string:
      return document.get<std::string>();
    case CDocument::value_t::array: {
      Json array = Json::array();
      for (const CDocument& item : document) array.push_back(FromDocument(item));
      return array;
    }
    case CDocument::value_t::object: {
      Json object = std::initializer_list<std::pair<std::string_view, Json>>{};
      for (const auto& [name, member] : document.items()) object[name] = FromDocument(member);
      return object;
    }
    default:
      return {};
  }
}

}  // namespace

std::optional<Json> Json::Parse(std::string_view text) {
  const CDocument document = CDocument::parse(text, nullptr, false);
  if (document.is_discarded()) return std::nullopt;
  return FromDocument(document);
}

const Json* Json::Find(std::string_view name) const {
  const auto* const object = std::get_if<CObject>(&m_value);
  if (object == nullptr) return nullptr;
  const auto found = std::ranges::find(*object, name, &CObject::value_type::first);
  return found != object->end() ? &found->second : nullptr;
}

uint64_t Json::NumberAt(std::string_view name) const {
  const Json* const member = Find(name);
  const auto* const number = member != nullptr ? std::get_if<uint64_t>(&member->m_value) : nullptr;
  return number != nullptr ? *number : 0;
}

std::string Json::TextAt(std::string_view name) const {
  const Json* const member = Find(name);
  const auto* const text = member != nullptr ? std::get_if<std::string>(&member->m_value) : nullptr;
  return text != nullptr ? *text : std::string();
}

std::span<const Json> Json::Items() const {
  const auto* const items = std::get_if<CArray>(&m_value);
  return items != nullptr ? std::span<const Json>(*items) : std::span<const Json>();
}

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

Json Json::list(std::span<const std::u16string> texts) {
  return list(texts, [](const std::u16string& text) { return ToUtf8(text); });
}

Json& Json::operator[](std::string_view name) {
  if (std::holds_alternative<std::monostate>(m_value)) m_value = CObject();
  auto& object = std::get<CObject>(m_value);
  const auto found = std::ranges::find(object, name, &CObject::value_type::first);
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
