// One catalogue row of a saved query, as the table naming step found it.
#pragma once

#include <string>
#include <utility>

#include "query/TList.h"

namespace tolvane {

class CQuerySysObject : public CTListLink<CQuerySysObject> {
 public:
  CQuerySysObject(std::u16string name, std::u16string id, std::u16string type)
      : m_name(std::move(name)), m_id(std::move(id)), m_type(std::move(type)) {}
  virtual ~CQuerySysObject() = default;

  [[nodiscard]] const std::u16string& GetName() const { return m_name; }
  [[nodiscard]] const std::u16string& GetId() const { return m_id; }
  // The object's flags as text; empty when they were not read yet.
  [[nodiscard]] const std::u16string& GetType() const { return m_type; }
  // Its row is lost, and another place told its name.
  [[nodiscard]] bool IsRestored() const { return m_isRestored; }
  void MarkRestored() { m_isRestored = true; }

 private:
  std::u16string m_name;
  std::u16string m_id;
  std::u16string m_type;
  bool m_isRestored = false;
};

}  // namespace tolvane
