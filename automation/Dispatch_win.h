// The system's automation types, each owned by an object. For the *_win.cpp files of this folder.
#pragma once

#include <windows.h>
// Behind it:
#include <oleauto.h>

#include <map>
#include <memory>
#include <string>
#include <string_view>

#include "automation/AutomationObject.h"

namespace tolvane {

// Month before day, a point in numbers: the language of every call.
inline constexpr LCID kCallLocale = 0x0409;

class CVariant {
 public:
  CVariant() { VariantInit(&m_variant); }
  explicit CVariant(const AutomationValue& value);
  ~CVariant() { VariantClear(&m_variant); }
  CVariant(CVariant&& other) noexcept : m_variant(other.m_variant) { VariantInit(&other.m_variant); }
  CVariant(const CVariant&) = delete;
  CVariant& operator=(const CVariant&) = delete;
  CVariant& operator=(CVariant&&) = delete;

  [[nodiscard]] VARIANT* Get() { return &m_variant; }

 private:
  VARIANT m_variant{};
};

// Empty for what no engine answers. Objects get one owner more.
AutomationValue ToValue(const VARIANT& variant);

struct SDispatchReleaser {
  void operator()(IDispatch* dispatch) const { dispatch->Release(); }
};
using DispatchPointer = std::unique_ptr<IDispatch, SDispatchReleaser>;

// An object of an engine. The numbers of its names are asked for once.
class CDispatchObject : public CAutomationObject {
 public:
  explicit CDispatchObject(DispatchPointer dispatch) : m_dispatch(std::move(dispatch)) {}
  SCallEnd Invoke(ECall kind, std::u16string_view name, const AutomationValues& arguments,
                  AutomationValue* answer) override;
  [[nodiscard]] IDispatch* Get() const { return m_dispatch.get(); }

 private:
  HRESULT FindName(std::u16string_view name, DISPID& number);

  DispatchPointer m_dispatch;
  std::map<std::u16string, DISPID, std::less<>> m_numbers;
};

// What the system says of a failure.
SCallEnd MakeCallEnd(HRESULT result);

}  // namespace tolvane
