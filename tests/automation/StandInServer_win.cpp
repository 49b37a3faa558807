// The stand-in engine as an automation server in a library of its own, as installed engines are. It writes
// the calls into the file that TOLVANE_STANDIN_CALLS names and fails as TOLVANE_STANDIN_FAILURE says.
#include <atomic>
#include <cstdio>

#include "automation/Dispatch_win.h"
#include "platform/Wide_win.h"
#include "tests/automation/StandIn.h"

namespace tolvane {
namespace {

std::string Setting(const char* name) {
  char text[1024] = {};
  GetEnvironmentVariableA(name, text, sizeof(text));
  return text;
}

// The numbers of names are their places here.
std::vector<std::u16string> g_names;

std::atomic<int> g_objects = 0;

class CStandInDispatch : public IDispatch {
 public:
  explicit CStandInDispatch(AutomationObject object) : m_object(std::move(object)) { ++g_objects; }
  virtual ~CStandInDispatch() { --g_objects; }
  CStandInDispatch(const CStandInDispatch&) = delete;
  CStandInDispatch& operator=(const CStandInDispatch&) = delete;

  HRESULT STDMETHODCALLTYPE QueryInterface(REFIID wanted, void** made) override {
    const bool isKnown = wanted == IID_IUnknown || wanted == IID_IDispatch;
    *made = isKnown ? static_cast<IDispatch*>(this) : nullptr;
    if (!isKnown) return E_NOINTERFACE;
    AddRef();
    return S_OK;
  }
  ULONG STDMETHODCALLTYPE AddRef() override { return ++m_owners; }
  ULONG STDMETHODCALLTYPE Release() override {
    const ULONG owners = --m_owners;
    if (owners == 0) delete this;
    return owners;
  }
  HRESULT STDMETHODCALLTYPE GetTypeInfoCount(UINT* count) override {
    *count = 0;
    return S_OK;
  }
  HRESULT STDMETHODCALLTYPE GetTypeInfo(UINT, LCID, ITypeInfo**) override { return E_NOTIMPL; }
  HRESULT STDMETHODCALLTYPE GetIDsOfNames(REFIID, LPOLESTR* names, UINT, LCID, DISPID* numbers) override {
    g_names.push_back(FromWide(names[0]));
    *numbers = static_cast<DISPID>(g_names.size());
    return S_OK;
  }
  HRESULT STDMETHODCALLTYPE Invoke(DISPID number, REFIID, LCID locale, WORD flags, DISPPARAMS* parameters,
                                   VARIANT* answer, EXCEPINFO* raised, UINT*) override {
    if (locale != kCallLocale) return DISP_E_UNKNOWNLCID;
    AutomationValues arguments;
    for (UINT i = parameters->cArgs; i-- > 0;) arguments.push_back(TakeArgument(parameters->rgvarg[i]));
    const ECall kind = (flags & DISPATCH_PROPERTYPUT) != 0   ? ECall::Put
                       : (flags & DISPATCH_PROPERTYGET) != 0 ? ECall::Get
                                                             : ECall::Method;
    AutomationValue answered;
    const SCallEnd end =
        m_object->Invoke(kind, g_names[static_cast<size_t>(number) - 1], arguments, &answered);
    if (end.isGone) return RPC_E_DISCONNECTED;
    if (!end.IsOk()) {
      raised->scode = static_cast<SCODE>(0x800A0000 + static_cast<uint32_t>(end.number));
      raised->bstrDescription = SysAllocString(ToWide(end.description).c_str());
      return DISP_E_EXCEPTION;
    }
    if (answer == nullptr) return S_OK;
    if (auto* const object = std::get_if<AutomationObject>(&answered)) {
      answer->vt = VT_DISPATCH;
      answer->pdispVal = new CStandInDispatch(std::move(*object));
      return S_OK;
    }
    return VariantCopy(answer, CVariant(answered).Get());
  }

 private:
  // All objects that come here are of this server.
  static AutomationValue TakeArgument(const VARIANT& argument) {
    if (argument.vt == VT_DISPATCH) return static_cast<CStandInDispatch*>(argument.pdispVal)->m_object;
    return ToValue(argument);
  }

  std::atomic<ULONG> m_owners = 1;
  AutomationObject m_object;
};

std::shared_ptr<SStandInWorld> MakeWorld() {
  auto world = std::make_shared<SStandInWorld>();
  world->refusesJet3 = true;
  world->failure = [] { return Setting("TOLVANE_STANDIN_FAILURE"); };
  const std::shared_ptr<FILE> file(std::fopen(Setting("TOLVANE_STANDIN_CALLS").c_str(), "ab"),
                                   [](FILE* opened) {
                                     if (opened != nullptr) std::fclose(opened);
                                   });
  world->record = [file](const std::string& line) {
    if (!file) return;
    std::fprintf(file.get(), "%s\n", line.c_str());
    std::fflush(file.get());
  };
  return world;
}

class CFactory : public IClassFactory {
 public:
  HRESULT STDMETHODCALLTYPE QueryInterface(REFIID wanted, void** made) override {
    const bool isKnown = wanted == IID_IUnknown || wanted == IID_IClassFactory;
    *made = isKnown ? static_cast<IClassFactory*>(this) : nullptr;
    return isKnown ? S_OK : E_NOINTERFACE;
  }
  ULONG STDMETHODCALLTYPE AddRef() override { return 2; }
  ULONG STDMETHODCALLTYPE Release() override { return 1; }
  HRESULT STDMETHODCALLTYPE CreateInstance(IUnknown*, REFIID wanted, void** made) override {
    auto* const engine = new CStandInDispatch(MakeStandInEngine(MakeWorld()));
    const HRESULT result = engine->QueryInterface(wanted, made);
    engine->Release();
    return result;
  }
  HRESULT STDMETHODCALLTYPE LockServer(BOOL) override { return S_OK; }
};

}  // namespace
}  // namespace tolvane

extern "C" __declspec(dllexport) HRESULT STDMETHODCALLTYPE
    DllGetClassObject(REFCLSID, REFIID wanted, void** made) {
  static tolvane::CFactory factory;
  return factory.QueryInterface(wanted, made);
}

extern "C" __declspec(dllexport) HRESULT STDMETHODCALLTYPE DllCanUnloadNow() {
  return S_FALSE;
}

int CountStandInObjects() {
  return tolvane::g_objects;
}
