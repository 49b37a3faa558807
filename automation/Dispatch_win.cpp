#include "automation/Dispatch_win.h"

#include <algorithm>
#include <cstring>

#include "platform/FileCust.h"
#include "platform/Wide_win.h"

namespace tolvane {

namespace {

// Errors of database engines, and of the way to a server that is not there any more.
constexpr HRESULT kControlErrors = static_cast<HRESULT>(0x800A0000);
constexpr HRESULT kGone[] = {
    RPC_E_DISCONNECTED,
    RPC_E_SERVER_DIED,
    RPC_E_SERVER_DIED_DNE,
    RPC_E_SERVERFAULT,
    static_cast<HRESULT>(0x800706BA),  // the server cannot be reached
    static_cast<HRESULT>(0x800706BE),  // the call failed
    static_cast<HRESULT>(0x800706BF),  // the call failed and was not made
};

BSTR MakeBstr(std::u16string_view text) {
  const std::wstring wide = ToWide(text);
  return SysAllocStringLen(wide.data(), static_cast<UINT>(wide.size()));
}

std::u16string FromBstr(BSTR text) {
  return text != nullptr ? FromWide({text, SysStringLen(text)}) : std::u16string();
}

SAFEARRAY* MakeArray(const std::vector<uint8_t>& bytes) {
  SAFEARRAY* const array = SafeArrayCreateVector(VT_UI1, 0, static_cast<ULONG>(bytes.size()));
  void* data = nullptr;
  if (array == nullptr) return nullptr;
  if (FAILED(SafeArrayAccessData(array, &data))) {
    SafeArrayDestroy(array);
    return nullptr;
  }
  if (!bytes.empty()) std::memcpy(data, bytes.data(), bytes.size());
  SafeArrayUnaccessData(array);
  return array;
}

std::vector<uint8_t> BytesOf(SAFEARRAY* array) {
  std::vector<uint8_t> bytes;
  VARTYPE type = VT_EMPTY;
  LONG first = 0, last = -1;
  void* data = nullptr;
  if (array == nullptr || SafeArrayGetDim(array) != 1 || FAILED(SafeArrayGetVartype(array, &type)) ||
      type != VT_UI1 || FAILED(SafeArrayGetLBound(array, 1, &first)) ||
      FAILED(SafeArrayGetUBound(array, 1, &last)) || last < first ||
      FAILED(SafeArrayAccessData(array, &data)))
    return bytes;
  const auto* const begin = static_cast<const uint8_t*>(data);
  bytes.assign(begin, begin + (int64_t{last} - first + 1));
  SafeArrayUnaccessData(array);
  return bytes;
}

// A plain VARIANT from each kind of value. One for which there is no memory is an error, which no field
// takes: an engine would store a text that is not there as an empty one.
struct SFill {
  VARIANT& variant;

  void Fail() const {
    variant.vt = VT_ERROR;
    variant.scode = E_OUTOFMEMORY;
  }

  void operator()(SNoValue) const {
    variant.vt = VT_ERROR;
    variant.scode = DISP_E_PARAMNOTFOUND;
  }
  void operator()(SNullValue) const { variant.vt = VT_NULL; }
  void operator()(bool value) const {
    variant.vt = VT_BOOL;
    variant.boolVal = value ? VARIANT_TRUE : VARIANT_FALSE;
  }
  void operator()(uint8_t value) const {
    variant.vt = VT_UI1;
    variant.bVal = value;
  }
  void operator()(int16_t value) const {
    variant.vt = VT_I2;
    variant.iVal = value;
  }
  void operator()(int32_t value) const {
    variant.vt = VT_I4;
    variant.lVal = value;
  }
  void operator()(SCurrency value) const {
    variant.vt = VT_CY;
    variant.cyVal.int64 = value.tenThousandths;
  }
  void operator()(float value) const {
    variant.vt = VT_R4;
    variant.fltVal = value;
  }
  void operator()(double value) const {
    variant.vt = VT_R8;
    variant.dblVal = value;
  }
  void operator()(SDateValue value) const {
    variant.vt = VT_DATE;
    variant.date = value.days;
  }
  // A decimal takes the whole of a VARIANT, its type included: that comes last.
  void operator()(const SDecimalValue& value) const {
    DECIMAL decimal{};
    decimal.scale = value.scale;
    decimal.sign = value.isNegative ? DECIMAL_NEG : 0;
    decimal.Hi32 = value.words[0];
    decimal.Lo64 = static_cast<ULONGLONG>(value.words[1]) << 32 | value.words[2];
    variant.decVal = decimal;
    variant.vt = VT_DECIMAL;
  }
  void operator()(const std::u16string& value) const {
    variant.bstrVal = MakeBstr(value);
    variant.vt = VT_BSTR;
    if (variant.bstrVal == nullptr) Fail();
  }
  void operator()(const std::vector<uint8_t>& value) const {
    variant.parray = MakeArray(value);
    variant.vt = VT_ARRAY | VT_UI1;
    if (variant.parray == nullptr) Fail();
  }
  void operator()(const AutomationObject& value) const {
    const auto* const object = dynamic_cast<const CDispatchObject*>(value.get());
    variant.pdispVal = object != nullptr ? object->Get() : nullptr;
    if (variant.pdispVal != nullptr) variant.pdispVal->AddRef();
    variant.vt = VT_DISPATCH;
  }
};

// An engine may leave the words to a second question.
SCallEnd TakeException(EXCEPINFO& raised) {
  if (raised.pfnDeferredFillIn != nullptr) raised.pfnDeferredFillIn(&raised);
  SCallEnd end;
  end.description = FromBstr(raised.bstrDescription);
  SysFreeString(raised.bstrSource);
  SysFreeString(raised.bstrDescription);
  SysFreeString(raised.bstrHelpFile);
  const HRESULT code = raised.scode;
  const bool isControl = (code & static_cast<HRESULT>(0xFFFF0000)) == kControlErrors;
  end.number = isControl ? code & 0xFFFF : code != 0 ? code : raised.wCode;
  if (end.number == 0) end.number = DISP_E_EXCEPTION;
  return end;
}

}  // namespace

SCallEnd MakeCallEnd(HRESULT result) {
  if (SUCCEEDED(result)) return {};
  const bool isGone = std::ranges::find(kGone, result) != std::end(kGone);
  return {static_cast<int32_t>(result), SystemMessage(static_cast<uint32_t>(result)), isGone};
}

CVariant::CVariant(const AutomationValue& value) {
  VariantInit(&m_variant);
  std::visit(SFill{m_variant}, value);
}

AutomationValue ToValue(const VARIANT& variant) {
  switch (variant.vt) {
    case VT_NULL:
      return SNullValue{};
    case VT_BOOL:
      return variant.boolVal != VARIANT_FALSE;
    case VT_UI1:
      return static_cast<uint8_t>(variant.bVal);
    case VT_I2:
      return static_cast<int16_t>(variant.iVal);
    case VT_I4:
      return static_cast<int32_t>(variant.lVal);
    case VT_CY:
      return SCurrency{variant.cyVal.int64};
    case VT_R4:
      return variant.fltVal;
    case VT_R8:
      return variant.dblVal;
    case VT_DATE:
      return SDateValue{variant.date};
    case VT_DECIMAL:
      return SDecimalValue{
          variant.decVal.sign != 0,
          variant.decVal.scale,
          {static_cast<uint32_t>(variant.decVal.Hi32), static_cast<uint32_t>(variant.decVal.Lo64 >> 32),
           static_cast<uint32_t>(variant.decVal.Lo64)}};
    case VT_BSTR:
      return FromBstr(variant.bstrVal);
    case VT_ARRAY | VT_UI1:
      return BytesOf(variant.parray);
    case VT_DISPATCH:
      if (variant.pdispVal == nullptr) return SNoValue{};
      variant.pdispVal->AddRef();
      return AutomationObject(std::make_shared<CDispatchObject>(DispatchPointer(variant.pdispVal)));
    default:
      return SNoValue{};
  }
}

HRESULT CDispatchObject::FindName(std::u16string_view name, DISPID& number) {
  if (const auto found = m_numbers.find(name); found != m_numbers.end()) {
    number = found->second;
    return S_OK;
  }
  std::wstring wide = ToWide(name);
  LPOLESTR words = wide.data();
  const HRESULT result = m_dispatch->GetIDsOfNames(IID_NULL, &words, 1, kCallLocale, &number);
  if (SUCCEEDED(result)) m_numbers.emplace(name, number);
  return result;
}

SCallEnd CDispatchObject::Invoke(ECall kind, std::u16string_view name, const AutomationValues& arguments,
                                 AutomationValue* answer) {
  DISPID number = 0, put = DISPID_PROPERTYPUT;
  if (const HRESULT result = FindName(name, number); FAILED(result)) return MakeCallEnd(result);
  // In reverse order, as automation wants them.
  std::vector<CVariant> owned;
  std::vector<VARIANT> passed;
  owned.reserve(arguments.size());
  for (size_t i = arguments.size(); i-- > 0;) passed.push_back(*owned.emplace_back(arguments[i]).Get());
  DISPPARAMS parameters{passed.data(), nullptr, static_cast<UINT>(passed.size()), 0};
  WORD flags = DISPATCH_METHOD;
  if (kind == ECall::Get)
    flags = arguments.empty() ? DISPATCH_PROPERTYGET : DISPATCH_PROPERTYGET | DISPATCH_METHOD;
  if (kind == ECall::Put) {
    flags = DISPATCH_PROPERTYPUT;
    parameters.rgdispidNamedArgs = &put;
    parameters.cNamedArgs = 1;
  }
  CVariant taken;
  EXCEPINFO raised{};
  UINT wrong = 0;
  const HRESULT result = m_dispatch->Invoke(number, IID_NULL, kCallLocale, flags, &parameters,
                                            kind == ECall::Put ? nullptr : taken.Get(), &raised, &wrong);
  if (result == DISP_E_EXCEPTION) return TakeException(raised);
  if (FAILED(result)) return MakeCallEnd(result);
  if (answer != nullptr) *answer = ToValue(*taken.Get());
  return {};
}

}  // namespace tolvane
