// The catalogue: the objects of MSysObjects and the permissions of MSysACEs, rules A5 to A8 and B1 to B8.
#pragma once

#include <cstdint>
#include <string>
#include <unordered_map>
#include <unordered_set>
#include <vector>

#include "checker/CheckContext.h"
#include "checker/CheckedTable.h"
#include "checker/RowView.h"
#include "format/SystemObjects.h"

namespace tolvane {

struct SCheckedObject {
  uint32_t id = 0, parent = 0;
  int16_t type = 0;
  uint32_t flags = 0;
  std::u16string name;
  std::string nameKey;
  SPlace place;
  bool hasAce = false;

  [[nodiscard]] bool HasDefinition() const { return type == kObjectTable || type == kObjectLinkedOdbc; }
};

class CCatalogueCheck {
 public:
  explicit CCatalogueCheck(SCheckContext& context) : m_context(context) {}

  void AddObject(const CRowView& row, SPlace place);
  // After all objects.
  void AddAce(const CRowView& row, SPlace place);
  void Finish();
  void CheckTableType(const SCheckedTable& table);

  [[nodiscard]] const std::vector<SCheckedObject>& GetObjects() const { return m_objects; }
  [[nodiscard]] const SCheckedObject* Find(uint32_t id) const;
  // False when the file holds more objects than are kept; then what refers to an object is not checked.
  [[nodiscard]] bool IsComplete() const { return m_isComplete; }

 private:
  void CheckOwner(const SCheckedObject& object, std::span<const uint8_t> owner);
  void CheckObject(const SCheckedObject& object);
  void CheckSystemObjects();

  SCheckContext& m_context;
  std::vector<SCheckedObject> m_objects;
  std::unordered_map<uint32_t, size_t> m_byId;
  std::unordered_set<std::string> m_names;  // parent and name
  bool m_isComplete = true;
};

}  // namespace tolvane
