#include "samples/SampleBuilder.h"

#include <cstdio>
#include <cstdlib>
#include <string>

#include "dao/MemorySource.h"
#include "embedded/EmbeddedEngine.h"
#include "platform/Text.h"

namespace tolvane {

namespace {

void Require(const CDaoResult& result, std::string_view what) {
  if (result.IsOk()) return;
  std::fprintf(stderr, "%.*s: %s\n", static_cast<int>(what.size()), what.data(), ToUtf8(result.text).c_str());
  std::exit(2);
}

}  // namespace

SSampleField AutoNumber(const char* name) {
  return {name, kDaoLong, 4, kDaoFixedField | kDaoUpdatable | kDaoAutoIncrement};
}
SSampleField Fixed(const char* name, int16_t type) {
  return {name, type, 0, kDaoFixedField | kDaoUpdatable};
}
SSampleField Text(const char* name, int32_t characters) {
  return {name, kDaoText, characters};
}
SSampleField Memo(const char* name) {
  return {name, kDaoMemo};
}
SSampleField Ole(const char* name) {
  return {name, kDaoLongBinary};
}

CSampleBuilder::CSampleBuilder(const std::string& path, int32_t version) : m_engine(MakeEmbeddedEngine()) {
  Require(m_engine->CreateDatabase(FromNativePath(path), kDaoGeneralLocale, version, m_database), path);
}

void CSampleBuilder::AddTable(const std::string& name, const std::vector<SSampleField>& fields,
                              const std::vector<const char*>& indexed) {
  std::unique_ptr<CDaoTableDef> table;
  Require(m_database->CreateTableDef(FromUtf8(name), kDaoTableAttributes, {}, {}, table), name);
  for (const SSampleField& field : fields) {
    Require(table->CreateField(FromUtf8(field.name), field.type, field.size, field.attributes), field.name);
    m_types[name].push_back(field.type);
  }
  CDaoIndexInfo key;
  key.name = u"PrimaryKey";
  key.fields = {{FromUtf8(fields.front().name), false}};
  key.primary = key.unique = key.required = true;
  Require(table->CreateIndex(key), name);
  for (const char* field : indexed) {
    CDaoIndexInfo index;
    index.name = FromUtf8(field);
    index.fields = {{index.name, false}};
    Require(table->CreateIndex(index), field);
  }
  Require(table->Append(), name);
  table->Close();
}

void CSampleBuilder::OpenTable(const std::string& name) {
  m_open = &m_types[name];
  Require(m_database->OpenRecordset(u"SELECT * FROM [" + FromUtf8(name) + u"]", m_rows), name);
}

void CSampleBuilder::AddRow(std::initializer_list<std::string_view> texts) {
  BeginRow();
  size_t field = 0;
  for (const std::string_view text : texts) Set(++field, text);
  EndRow();
}

void CSampleBuilder::BeginRow() {
  Require(m_rows->AddNew(), "new row");
}

void CSampleBuilder::Set(size_t field, std::string_view text) {
  if (text.empty()) return;
  m_text.assign(text.begin(), text.end());  // sample texts are ASCII
  SValue value;
  if (!m_parser.Parse(static_cast<uint8_t>(m_open->at(field)), m_text, value))
    Require({EDaoError::DataConversion, u"This is no value of its field's type."}, text);
  Require(m_rows->SetFieldValue(field, value), text);
}

void CSampleBuilder::SetBytes(size_t field, std::span<const uint8_t> bytes) {
  CMemorySource source(bytes);
  Require(m_rows->SetFieldValue(field, source), "bytes");
}

void CSampleBuilder::EndRow() {
  Require(m_rows->Update(), "row");
}

void CSampleBuilder::CloseTable() {
  Require(m_rows->Close(), "end of table");
  m_rows.reset();
}

void CSampleBuilder::Close() {
  Require(m_database->Close(), "closing");
  m_database.reset();
}

uint64_t CSampleRandom::Next() {
  m_state = m_state * 6364136223846793005u + 1442695040888963407u;
  return m_state ^ m_state >> 29;
}

std::string DateText(int year, int month, int day) {
  const auto two = [](int value) { return (value < 10 ? "0" : "") + std::to_string(value); };
  return std::to_string(year) + '-' + two(month) + '-' + two(day) + " 00:00:00";
}

std::string MoneyText(uint64_t hundredths) {
  const uint64_t rest = hundredths % 100;
  return std::to_string(hundredths / 100) + (rest < 10 ? ".0" : ".") + std::to_string(rest);
}

std::string Prose(CSampleRandom& random, size_t length) {
  static const char* const kWords[] = {
      "the",   "delivery", "was",  "late",    "again", "customer", "asked",  "about", "a",    "new",
      "price", "for",      "next", "quarter", "and",   "we",       "agreed", "to",    "call", "back",
      "on",    "Monday",   "with", "an",      "offer", "letter",   "from",   "office"};
  std::string text;
  while (text.size() < length) {
    std::string sentence(random.Pick(kWords));
    sentence.front() = static_cast<char>(sentence.front() & ~0x20);
    for (uint32_t i = 5 + random.Below(9); i > 0; i--) sentence.append(" ").append(random.Pick(kWords));
    text += sentence + (random.Below(6) == 0 ? ".\r\n" : ". ");
  }
  return text;
}

}  // namespace tolvane
