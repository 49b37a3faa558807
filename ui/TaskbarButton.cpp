#include "ui/TaskbarButton.h"

namespace tolvane {

CTaskbarButton::~CTaskbarButton() {
  if (m_taskbar) m_taskbar->Release();
}

UINT CTaskbarButton::GetCreatedMessage() {
  static const UINT message = RegisterWindowMessageW(L"TaskbarButtonCreated");
  return message;
}

void CTaskbarButton::OnCreated(HWND window) {
  m_window = window;
  if (m_taskbar) return;
  if (FAILED(CoCreateInstance(CLSID_TaskbarList, nullptr, CLSCTX_INPROC_SERVER, IID_ITaskbarList3,
                              reinterpret_cast<void**>(&m_taskbar)))) {
    m_taskbar = nullptr;
  } else if (FAILED(m_taskbar->HrInit())) {
    m_taskbar->Release();
    m_taskbar = nullptr;
  }
}

void CTaskbarButton::ShowPercent(int percent) {
  if (m_taskbar) m_taskbar->SetProgressValue(m_window, static_cast<ULONGLONG>(percent), 100);
}

void CTaskbarButton::Clear() {
  if (m_taskbar) m_taskbar->SetProgressState(m_window, TBPF_NOPROGRESS);
}

}  // namespace tolvane
