#include "ui/TreeControl.h"

#include "platform/Text.h"
#include "platform/Wide_win.h"

namespace tolvane {

namespace {

constexpr char16_t kRootText[] = u"Recovered Tables";

}  // namespace

bool CTreeControl::Create(HWND parent, UINT identifier) {
  constexpr DWORD kStyle = WS_TABSTOP | WS_GROUP | TVS_HASBUTTONS | TVS_HASLINES | TVS_LINESATROOT |
                           TVS_SHOWSELALWAYS | TVS_DISABLEDRAGDROP;
  if (!CreateControl(WC_TREEVIEWW, L"Recovered Tables", {kStyle, WS_EX_CLIENTEDGE}, parent, identifier))
    return false;
  SetTables({});
  return true;
}

HTREEITEM CTreeControl::Insert(HTREEITEM parent, const std::u16string& text, size_t index) const {
  std::wstring shown = ToWide(text);
  TVINSERTSTRUCTW item{};
  item.hParent = parent;
  item.hInsertAfter = TVI_LAST;
  item.item.mask = TVIF_TEXT | TVIF_PARAM;
  item.item.pszText = shown.data();
  item.item.lParam = static_cast<LPARAM>(index);
  return reinterpret_cast<HTREEITEM>(Send(TVM_INSERTITEMW, 0, reinterpret_cast<LPARAM>(&item)));
}

void CTreeControl::SetTables(const std::vector<STableItem>& tables) {
  m_isFilling = true;
  Send(WM_SETREDRAW, FALSE);
  Send(TVM_DELETEITEM, 0, reinterpret_cast<LPARAM>(TVI_ROOT));
  m_names.assign(1, kRootText);
  m_root = Insert(TVI_ROOT, m_names.front(), 0);
  for (const STableItem& table : tables) {
    m_names.push_back(table.name);
    Insert(m_root,
           table.name + u"  (" + ToGroupedDecimal(table.rows) + (table.rows == 1 ? u" row)" : u" rows)"),
           m_names.size() - 1);
  }
  Send(TVM_EXPAND, TVE_EXPAND, reinterpret_cast<LPARAM>(m_root));
  Send(TVM_SELECTITEM, TVGN_CARET, reinterpret_cast<LPARAM>(m_root));
  Send(WM_SETREDRAW, TRUE);
  Invalidate();
  m_isFilling = false;
}

std::u16string CTreeControl::GetSelectedName() const {
  TVITEMW item{};
  item.mask = TVIF_PARAM;
  item.hItem = reinterpret_cast<HTREEITEM>(Send(TVM_GETNEXTITEM, TVGN_CARET));
  if (!item.hItem || !Send(TVM_GETITEMW, 0, reinterpret_cast<LPARAM>(&item))) return {};
  const auto index = static_cast<size_t>(item.lParam);
  return index < m_names.size() ? m_names[index] : std::u16string();
}

LRESULT CTreeControl::OnCustomDraw(NMTVCUSTOMDRAW& draw) {
  if (draw.nmcd.dwDrawStage == CDDS_PREPAINT) return CDRF_NOTIFYITEMDRAW;
  if (draw.nmcd.dwDrawStage == CDDS_ITEMPREPAINT && (draw.nmcd.uItemState & CDIS_SELECTED) != 0) {
    draw.clrText = GetSysColor(COLOR_HIGHLIGHTTEXT);
    draw.clrTextBk = GetSysColor(COLOR_HIGHLIGHT);
  }
  return CDRF_DODEFAULT;
}

bool CTreeControl::IsTableSelected() const {
  const auto selected = reinterpret_cast<HTREEITEM>(Send(TVM_GETNEXTITEM, TVGN_CARET));
  return selected && selected != m_root;
}

}  // namespace tolvane
