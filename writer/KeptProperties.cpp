#include "writer/KeptProperties.h"

#include <algorithm>
#include <initializer_list>
#include <string_view>

#include "format/PropertyBlob.h"
#include "format/Value.h"
#include "platform/CodePage.h"
#include "platform/Text.h"
#include "render/ObjectProperties.h"
#include "writer/SafeName.h"

namespace tolvane {
namespace {

bool IsOneOf(const SProperty& property, std::initializer_list<std::u16string_view> names) {
  return std::ranges::any_of(names,
                             [&](std::u16string_view name) { return EqualsIgnoreCase(property.name, name); });
}

// A table of the names by which other objects of the damaged database knew this one and its columns; programs
// make it anew.
bool IsNameMap(const SProperty& property) {
  return IsOneOf(property, {u"NameMap"});
}

// Properties name a form with or without what it is in front.
bool IsAmong(const std::vector<SOtherObject>& objects, EOtherObject kind, std::u16string_view name) {
  constexpr std::u16string_view kFormPrefix = u"Form.";
  if (EqualsIgnoreCase(name.substr(0, kFormPrefix.size()), kFormPrefix))
    name.remove_prefix(kFormPrefix.size());
  return std::ranges::any_of(objects, [&](const SOtherObject& object) {
    return object.kind == kind && EqualsIgnoreCase(object.name, name);
  });
}

bool FitsCodePage(std::u16string_view text) {
  std::vector<uint8_t> bytes;
  return EncodeCodePage(kWindowsLatin1, text, bytes) == 0;
}

}  // namespace

bool CKeptProperties::CanHold(const SProperty& property) const {
  const bool isJet3 = m_version == kDaoVersionJet3;
  if (property.name.empty() || property.value.size() > kLongestProperty) return false;
  return !isJet3 || (FitsCodePage(property.name) &&
                     (!IsTextType(property.type) || FitsCodePage(UnitsOf(property.value))));
}

template <class Leaves>
std::vector<CDaoProperty> CKeptProperties::Keep(const std::vector<SProperty>& properties,
                                                const Leaves& leavesOut) {
  m_lost.clear();
  std::vector<CDaoProperty> kept;
  for (const SProperty& property : properties) {
    if (IsNameMap(property) || leavesOut(property)) continue;
    if (CanHold(property))
      kept.push_back(property);
    else
      m_lost.push_back(property.name);
  }
  return kept;
}

// A field that is no longer calculated, that keeps one value and no versions of it, says so.
std::vector<CDaoProperty> CKeptProperties::OfField(const std::vector<SProperty>& properties,
                                                   const CDaoFieldInfo& info) {
  return Keep(properties, [&info](const SProperty& property) {
    if (info.expression.empty() && IsOneOf(property, {u"Expression", u"ResultType"})) {
      const bool isNoResult = property.value == std::vector<uint8_t>{kTypeNone};
      return !isNoResult;
    }
    return (!info.keepsHistory && IsOneOf(property, {u"AppendOnly"}) && IsYes(&property)) ||
           (info.type < kDaoAttachment && IsOneOf(property, {u"AllowMultipleValues"}) && IsYes(&property));
  });
}

// The version of the program that the table's columns need, and whether memos keep their versions, follow
// from the new table's fields.
std::vector<CDaoProperty> CKeptProperties::OfTable(const std::vector<SProperty>& properties) {
  const bool isAce = m_version == kDaoVersionAce;
  return Keep(properties, [isAce](const SProperty& property) {
    return (IsOneOf(property, {u"AppendOnly"}) && IsYes(&property)) ||
           (!isAce && IsOneOf(property, {u"FCMinReadVer", u"FCMinWriteVer", u"FCMinDesignVer"}));
  });
}

// What tells which program made a file of another format is not true of this one, and a form that is not
// there cannot be opened at the start.
std::vector<CDaoProperty> CKeptProperties::OfDatabase(const std::vector<SProperty>& properties,
                                                      const std::vector<SOtherObject>& omitted,
                                                      bool isSameFormat) {
  std::vector<std::u16string> gone;
  std::vector<CDaoProperty> kept = Keep(properties, [&](const SProperty& property) {
    if (IsOneOf(property, {u"StartUpForm"}) && IsAmong(omitted, EOtherObject::Form, TextOf(&property))) {
      gone.push_back(property.name);
      return true;
    }
    return !isSameFormat && IsOneOf(property, {u"AccessVersion", u"ProjVer", u"Build"});
  });
  m_lost.insert(m_lost.end(), gone.begin(), gone.end());
  return kept;
}

std::u16string DescribeLostProperty(std::u16string_view name) {
  return name.empty() ? u" was saved without a property whose name is lost"
                      : u" was saved without its property " + Quoted(name);
}

}  // namespace tolvane
