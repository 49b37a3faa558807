// Which of the recovered properties the new database gets: all but those that speak of something that it does
// not have.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "dao/dao.h"
#include "model/AccessData.h"

namespace tolvane {

// What is said of an object that comes without a property; the name may be lost, too.
std::u16string DescribeLostProperty(std::u16string_view name);

class CKeptProperties {
 public:
  // `version` is the option with which the database was created.
  explicit CKeptProperties(int32_t version) : m_version(version) {}

  // Of a field that is otherwise decided.
  std::vector<CDaoProperty> OfField(const std::vector<SProperty>& properties, const CDaoFieldInfo& info);
  std::vector<CDaoProperty> OfTable(const std::vector<SProperty>& properties);
  // `omitted`: what the new database does not contain.
  std::vector<CDaoProperty> OfDatabase(const std::vector<SProperty>& properties,
                                       const std::vector<SOtherObject>& omitted, bool isSameFormat);

  // The names of those that the last call had to leave out though they would make sense there.
  [[nodiscard]] const std::vector<std::u16string>& GetLost() const { return m_lost; }

 private:
  template <class Leaves>
  std::vector<CDaoProperty> Keep(const std::vector<SProperty>& properties, const Leaves& leavesOut);
  [[nodiscard]] bool CanHold(const SProperty& property) const;

  const int32_t m_version;
  std::vector<std::u16string> m_lost;
};

}  // namespace tolvane
