// The system's automation: classes by their names, the apartment of a thread.
#include "automation/AutomationObject.h"
#include "automation/Dispatch_win.h"
#include "platform/Wide_win.h"

namespace tolvane {

namespace {

std::wstring ReadDefault(const std::wstring& key, REGSAM view) {
  HKEY opened = nullptr;
  if (RegOpenKeyExW(HKEY_CLASSES_ROOT, key.c_str(), 0, KEY_READ | view, &opened) != ERROR_SUCCESS) return {};
  wchar_t text[MAX_PATH] = {};
  auto bytes = static_cast<DWORD>(sizeof(text) - sizeof(text[0]));
  const LSTATUS status =
      RegQueryValueExW(opened, nullptr, nullptr, nullptr, reinterpret_cast<BYTE*>(text), &bytes);
  RegCloseKey(opened);
  return status == ERROR_SUCCESS ? std::wstring(text) : std::wstring();
}

bool HasServer(const std::wstring& classId, REGSAM view) {
  for (const wchar_t* kind : {L"\\InprocServer32", L"\\LocalServer32"})
    if (!ReadDefault(L"CLSID\\" + classId + kind, view).empty()) return true;
  return false;
}

VARTYPE TypeOf(const AutomationValue& kind) {
  CVariant variant(kind);
  return variant.Get()->vt;
}

class CSystemServers : public CAutomationServers {
 public:
  [[nodiscard]] bool IsThere() const override { return true; }

  // Names are the same for both kinds of programs; what makes the objects is not.
  [[nodiscard]] ERegistration FindRegistration(std::u16string_view className) const override {
    constexpr REGSAM kOwn = sizeof(void*) == 8 ? KEY_WOW64_64KEY : KEY_WOW64_32KEY;
    constexpr REGSAM kOther = sizeof(void*) == 8 ? KEY_WOW64_32KEY : KEY_WOW64_64KEY;
    const std::wstring key = ToWide(className) + L"\\CLSID";
    std::wstring classId = ReadDefault(key, kOwn);
    if (!classId.empty() && HasServer(classId, kOwn)) return ERegistration::Here;
    if (classId.empty()) classId = ReadDefault(key, kOther);
    return !classId.empty() && HasServer(classId, kOther) ? ERegistration::OtherBitness : ERegistration::None;
  }

  // Whatever the engine reads by the thread's locale, it reads by the calls' own.
  SCallEnd Enter() override {
    SetThreadLocale(kCallLocale);
    SCallEnd entered = MakeCallEnd(CoInitializeEx(nullptr, COINIT_APARTMENTTHREADED));
    s_isInside = entered.IsOk();
    return entered;
  }
  void Leave() override {
    if (s_isInside) CoUninitialize();
    s_isInside = false;
  }

  SCallEnd Create(std::u16string_view className, AutomationObject& object) override {
    CLSID classId{};
    if (const HRESULT result = CLSIDFromProgID(ToWide(className).c_str(), &classId); FAILED(result))
      return MakeCallEnd(result);
    void* made = nullptr;
    const HRESULT result =
        CoCreateInstance(classId, nullptr, CLSCTX_INPROC_SERVER | CLSCTX_LOCAL_SERVER, IID_IDispatch, &made);
    if (FAILED(result)) return MakeCallEnd(result);
    object = std::make_shared<CDispatchObject>(DispatchPointer(static_cast<IDispatch*>(made)));
    return {};
  }

  bool ReadText(std::u16string_view text, const AutomationValue& kind, AutomationValue& value) override {
    CVariant words(std::u16string{text}), read;
    if (FAILED(VariantChangeTypeEx(read.Get(), words.Get(), kCallLocale, 0, TypeOf(kind)))) return false;
    value = ToValue(*read.Get());
    return true;
  }

 private:
  inline static thread_local bool s_isInside = false;
};

}  // namespace

std::unique_ptr<CAutomationServers> MakeSystemServers() {
  return std::make_unique<CSystemServers>();
}

}  // namespace tolvane
