// A database engine that records every call as a line of text and refuses what a test asks it to refuse.
#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <memory>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "dao/dao.h"
#include "platform/CodePage.h"
#include "platform/Text.h"
#include "render/ExactText.h"

namespace tolvane {

// Shared by the fake engine and all it hands out.
struct SFakeLog {
  std::vector<std::string> calls;
  // Called with each line before it counts; what it answers is the call's result.
  std::function<CDaoResult(const std::string&)> refuse;
  bool hasBatches = false;

  CDaoResult Call(std::string line) {
    calls.push_back(std::move(line));
    return refuse ? refuse(calls.back()) : CDaoResult::Ok();
  }
  // The recorded lines that begin with `start`.
  [[nodiscard]] std::vector<std::string> Find(std::string_view start) const {
    std::vector<std::string> found;
    for (const std::string& call : calls)
      if (call.starts_with(start)) found.push_back(call);
    return found;
  }
};

class CFakeTableDef : public CDaoTableDef {
 public:
  explicit CFakeTableDef(SFakeLog& log) : m_log(log) {}
  CDaoResult CreateField(std::u16string_view name, int16_t type, int32_t size, int32_t attributes) override {
    return m_log.Call("field " + ToUtf8(name) + Numbers(type, size, attributes));
  }
  CDaoResult CreateField(const CDaoFieldInfo& field) override {
    return m_log.Call("described field " + ToUtf8(field.name) +
                      Numbers(field.type, field.size, field.attributes) +
                      " default=" + ToUtf8(field.defaultValue) + (field.required ? " required" : "") +
                      (field.allowZeroLength ? " zero-length" : ""));
  }
  CDaoResult CreateIndex(const CDaoIndexInfo& index) override {
    std::string line = "index " + ToUtf8(index.name) + " (";
    for (const CDaoIndexFieldInfo& field : index.fields)
      line += (line.back() == '(' ? "" : ",") + ToUtf8(field.name) + (field.descending ? " desc" : "");
    line += ")";
    for (const auto& [flag, word] : {std::pair{index.primary, " primary"},
                                     {index.unique, " unique"},
                                     {index.clustered, " clustered"},
                                     {index.ignoreNulls, " ignore-nulls"},
                                     {index.required, " required"},
                                     {index.foreign, " foreign"}})
      if (flag) line += word;
    return m_log.Call(line + " distinct=" + std::to_string(index.distinctCount));
  }
  CDaoResult Append() override { return m_log.Call("append"); }
  void Close() override { m_log.calls.emplace_back("close table"); }

 private:
  static std::string Numbers(int16_t type, int32_t size, int32_t attributes) {
    return " type=" + std::to_string(type) + " size=" + std::to_string(size) +
           " attributes=" + std::to_string(attributes);
  }

  SFakeLog& m_log;
};

// Bytes in the system's code page show as letters, too.
inline std::string SetLine(size_t index, const SValue& value) {
  std::u16string text;
  if (value.type == kTypeOle)
    DecodeCodePage(SystemCodePage(), value.bytes, text);
  else
    MakeExactText(value, text);
  return "set " + std::to_string(index) + " " + ToUtf8(text);
}

// Leaves records with a "7" in their values to the recordset.
class CFakeBatch : public CDaoRecordBatch {
 public:
  void Clear() override { records.clear(); }
  void AddNew() override { m_lines.clear(); }
  bool SetFieldValue(size_t index, const SValue& value) override {
    m_lines.push_back(SetLine(index, value));
    return m_lines.back().find('7') == std::string::npos;
  }
  bool Update() override {
    records.push_back(m_lines);
    return true;
  }
  std::vector<std::vector<std::string>> records;

 private:
  std::vector<std::string> m_lines;
};

class CFakeRecordset : public CDaoRecordset {
 public:
  explicit CFakeRecordset(SFakeLog& log) : m_log(log) {}
  CDaoResult AddNew() override { return m_log.Call("add"); }
  CDaoResult SetFieldValue(size_t index, const SValue& value) override {
    return m_log.Call(SetLine(index, value));
  }
  CDaoResult SetFieldValue(size_t index, CDaoByteSource& bytes) override {
    std::string content;
    std::vector<uint8_t> buffer(1000);
    size_t count = 0;
    do {
      if (!bytes.Read(buffer, count)) return {EDaoError::DiskError, u"unreadable"};
      content.append(buffer.begin(), buffer.begin() + static_cast<std::ptrdiff_t>(count));
    } while (count > 0);
    return m_log.Call("set " + std::to_string(index) + " bytes " + std::to_string(bytes.GetLength()) + " " +
                      content.substr(0, 4) + ".." + std::to_string(content.size()));
  }
  CDaoResult Update() override { return m_log.Call("update"); }
  std::unique_ptr<CDaoRecordBatch> MakeBatch() override {
    return m_log.hasBatches ? std::make_unique<CFakeBatch>() : nullptr;
  }
  // As if the record were set here.
  CDaoResult StoreRecord(const CDaoRecordBatch& batch, size_t record) override {
    m_log.calls.emplace_back("add");
    for (const std::string& line : static_cast<const CFakeBatch&>(batch).records[record])
      m_log.calls.push_back(line);
    return m_log.Call("update");
  }
  CDaoResult Close() override { return m_log.Call("close rows"); }

 private:
  SFakeLog& m_log;
};

class CFakeDatabase : public CDaoDatabase {
 public:
  explicit CFakeDatabase(SFakeLog& log) : m_log(log) {}
  CDaoResult CreateTableDef(std::u16string_view name, int32_t attributes, std::u16string_view source,
                            std::u16string_view connect, std::unique_ptr<CDaoTableDef>& tableDef) override {
    tableDef = std::make_unique<CFakeTableDef>(m_log);
    return m_log.Call("table " + ToUtf8(name) + " attributes=" + std::to_string(attributes) + ToUtf8(source) +
                      ToUtf8(connect));
  }
  CDaoResult OpenRecordset(std::u16string_view sql, std::unique_ptr<CDaoRecordset>& recordset) override {
    recordset = std::make_unique<CFakeRecordset>(m_log);
    return m_log.Call("rows " + ToUtf8(sql));
  }
  CDaoResult CreateQuery(const SSavedQuery& query) override {
    std::string line = "query " + ToUtf8(query.name) + " flags=" + std::to_string(query.flags) + ":";
    for (const SQueryRow& row : query.rows)
      if (row.expression || row.name1)
        line += " " + std::to_string(row.attribute) + " " + ToUtf8(row.name1.value_or(u"")) +
                ToUtf8(row.expression.value_or(u""));
    return m_log.Call(line);
  }
  CDaoResult CreateRelation(const CDaoRelationInfo& relation) override {
    std::string line = "relation " + ToUtf8(relation.name) + ": " + ToUtf8(relation.foreignTable) + " (";
    for (const CDaoRelationFieldInfo& pair : relation.fields)
      line += (line.back() == '(' ? "" : ",") + ToUtf8(pair.foreignName) + ">" + ToUtf8(pair.name);
    return m_log.Call(line + ") " + ToUtf8(relation.table) +
                      " attributes=" + std::to_string(relation.attributes));
  }
  CDaoResult Close() override { return m_log.Call("close database"); }

 private:
  SFakeLog& m_log;
};

class CFakeEngine : public CDaoEngine {
 public:
  CDaoResult CreateDatabase(std::u16string_view path, std::u16string_view locale, int32_t options,
                            std::unique_ptr<CDaoDatabase>& database) override {
    database = std::make_unique<CFakeDatabase>(log);
    return log.Call("create " + ToUtf8(path) + " " + ToUtf8(locale) + " options=" + std::to_string(options));
  }
  CDaoResult OpenDatabase(std::u16string_view path, bool exclusive, bool readOnly,
                          std::u16string_view connect, std::unique_ptr<CDaoDatabase>& database) override {
    database = std::make_unique<CFakeDatabase>(log);
    return log.Call("open " + ToUtf8(path) + (exclusive ? " exclusive" : "") +
                    (readOnly ? " read-only" : "") + ToUtf8(connect));
  }
  void Terminate() override { log.calls.emplace_back("terminate"); }

  SFakeLog log;
};

}  // namespace tolvane
