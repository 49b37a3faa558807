// A document for programs, put together value by value. The JSON library that writes it stands behind one
// source file: it costs seconds in each that includes it.
#pragma once

#include <concepts>
#include <cstdint>
#include <initializer_list>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <utility>
#include <variant>
#include <vector>

namespace tolvane {

// Null until something is put in. Objects keep the order of their members. Converts from what values are made
// of, so that documents are written down as they look.
class Json {
 public:
  using CArray = std::vector<Json>;
  using CObject = std::vector<std::pair<std::string, Json>>;

  Json() = default;
  // A document that this program has written; nothing when the text is none.
  static std::optional<Json> Parse(std::string_view text);
  Json(bool value) : m_value(value) {}
  Json(double value) : m_value(value) {}
  Json(std::signed_integral auto value) : m_value(static_cast<int64_t>(value)) {}
  Json(std::unsigned_integral auto value) : m_value(static_cast<uint64_t>(value)) {}
  Json(const char* text) : m_value(std::string(text)) {}
  Json(std::string_view text) : m_value(std::string(text)) {}
  Json(std::string text) : m_value(std::move(text)) {}
  Json(std::initializer_list<std::pair<std::string_view, Json>> members);
  static Json array();
  // Of what `describe` makes of each item.
  static Json list(const auto& items, const auto& describe) {
    Json made = array();
    for (const auto& item : items) made.push_back(describe(item));
    return made;
  }
  static Json list(std::span<const std::u16string> texts);

  // The member, added as null where there is none; a null becomes an object. Not for other values.
  Json& operator[](std::string_view name);
  // Of an array; a null becomes one.
  void push_back(Json value);

  // Of what Parse made.
  [[nodiscard]] bool IsNull() const { return std::holds_alternative<std::monostate>(m_value); }
  // The member; null where there is none.
  [[nodiscard]] const Json* Find(std::string_view name) const;
  // A member's number or text; 0 or an empty one where it has none.
  [[nodiscard]] uint64_t NumberAt(std::string_view name) const;
  [[nodiscard]] std::string TextAt(std::string_view name) const;
  // Of an array; none of anything else.
  [[nodiscard]] std::span<const Json> Items() const;

  // Indented text in UTF-8; ill-formed text is replaced.
  [[nodiscard]] std::string Dump() const;

  using CValue = std::variant<std::monostate, bool, int64_t, uint64_t, double, std::string, CArray, CObject>;
  [[nodiscard]] const CValue& Get() const { return m_value; }

 private:
  CValue m_value;
};

}  // namespace tolvane
