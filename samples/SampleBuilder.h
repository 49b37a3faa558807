// Makes databases from made-up data through the embedded engine, for the sample and the benchmark. Any
// failure prints the engine's text and ends the program: there is nobody to recover for.
#pragma once

#include <cstdint>
#include <initializer_list>
#include <map>
#include <memory>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "dao/dao.h"
#include "render/ValueParser.h"

namespace tolvane {

struct SSampleField {
  const char* name;
  int16_t type;
  int32_t size = 0;
  int32_t attributes = kDaoVariableField | kDaoUpdatable;
};
SSampleField AutoNumber(const char* name);
SSampleField Fixed(const char* name, int16_t type);
SSampleField Text(const char* name, int32_t characters);
SSampleField Memo(const char* name);
SSampleField Ole(const char* name);

class CSampleBuilder {
 public:
  explicit CSampleBuilder(const std::string& path, int32_t version = kDaoVersionJet4);

  // The first field becomes the primary key; `indexed` names further ones with an index.
  void AddTable(const std::string& name, const std::vector<SSampleField>& fields,
                const std::vector<const char*>& indexed = {});

  // Rows go to one table at a time.
  void OpenTable(const std::string& name);
  // The texts of all fields but the first; an empty one leaves its field null.
  void AddRow(std::initializer_list<std::string_view> texts);
  void BeginRow();
  void Set(size_t field, std::string_view text);  // as in AddRow
  void SetBytes(size_t field, std::span<const uint8_t> bytes);
  void EndRow();
  void CloseTable();

  // For what else goes into it, with no table open.
  CDaoDatabase& GetDatabase() { return *m_database; }
  void Close();

 private:
  std::unique_ptr<CDaoEngine> m_engine;
  std::unique_ptr<CDaoDatabase> m_database;
  std::unique_ptr<CDaoRecordset> m_rows;
  std::map<std::string, std::vector<int16_t>> m_types;  // of each table's fields
  const std::vector<int16_t>* m_open = nullptr;         // of the table that is open
  CValueParser m_parser;
  std::u16string m_text;  // kept between values, so that a value costs no allocation
};

// The same sequence on every machine, unlike the standard library's distributions.
class CSampleRandom {
 public:
  explicit CSampleRandom(uint64_t seed) : m_state(seed) {}
  uint64_t Next();
  // 0 to bound - 1.
  uint32_t Below(uint32_t bound) { return static_cast<uint32_t>((Next() >> 33) % bound); }
  template <size_t N>
  std::string_view Pick(const char* const (&words)[N]) {
    return words[Below(static_cast<uint32_t>(N))];
  }

 private:
  uint64_t m_state;
};

std::string DateText(int year, int month, int day);
// `hundredths` as a decimal number with two digits after the point.
std::string MoneyText(uint64_t hundredths);
// About `length` characters of sentences.
std::string Prose(CSampleRandom& random, size_t length);

}  // namespace tolvane
