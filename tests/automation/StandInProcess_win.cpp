// The stand-in engine as an automation server in a process of its own, which ends with its last object.
#include <windows.h>
// Behind it:
#include <objbase.h>

extern "C" HRESULT STDMETHODCALLTYPE DllGetClassObject(REFCLSID, REFIID wanted, void** made);
int CountStandInObjects();

int main() {
  constexpr CLSID kClass{0x6B1D3F0A, 0x52C4, 0x4E0B, {0x9B, 0x4E, 0x70, 0xA1, 0xC5, 0xD2, 0xE9, 0x13}};
  constexpr UINT kLook = 50;       // milliseconds between two looks
  constexpr int kMostLooks = 200;  // a server that nobody takes ends, too
  if (FAILED(CoInitializeEx(nullptr, COINIT_APARTMENTTHREADED))) return 1;
  void* factory = nullptr;
  DWORD registration = 0;
  if (FAILED(DllGetClassObject(kClass, IID_IUnknown, &factory)) ||
      FAILED(CoRegisterClassObject(kClass, static_cast<IUnknown*>(factory), CLSCTX_LOCAL_SERVER,
                                   REGCLS_SINGLEUSE, &registration)))
    return 1;
  SetTimer(nullptr, 0, kLook, nullptr);
  MSG message{};
  bool isTaken = false;
  for (int looks = 0; looks < kMostLooks && GetMessageW(&message, nullptr, 0, 0) > 0;) {
    DispatchMessageW(&message);
    if (message.message != WM_TIMER) continue;
    ++looks;
    const int count = CountStandInObjects();
    if (isTaken && count == 0) break;
    isTaken = isTaken || count > 0;
  }
  CoRevokeClassObject(registration);
  CoUninitialize();
  return 0;
}
