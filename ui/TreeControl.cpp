#include "ui/TreeControl.h"

#include <algorithm>
#include <cstring>

#include "platform/Text.h"
#include "platform/Wide_win.h"
#include "ui/win/Theme.h"

namespace tolvane {

namespace {

constexpr char16_t kRootText[] = u"Recovered Tables";
// Parameters of items from here on are objects; below, names.
constexpr size_t kFirstObject = size_t{1} << 30;

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
    std::u16string label = table.name + u"  (" + ToGroupedDecimal(table.rows);
    label += table.rows == 1 ? u" row" : u" rows";
    label += table.isCutShort ? u", incomplete)" : u")";
    Insert(m_root, label, m_names.size() - 1);
  }
  Send(TVM_EXPAND, TVE_EXPAND, reinterpret_cast<LPARAM>(m_root));
  Send(TVM_SELECTITEM, TVGN_CARET, reinterpret_cast<LPARAM>(m_root));
  Send(WM_SETREDRAW, TRUE);
  Invalidate();
  m_isFilling = false;
}

void CTreeControl::SetObjects(const std::vector<SObjectItem>& items) {
  m_isFilling = true;
  HTREEITEM heading = nullptr;
  for (size_t i = 0; i < items.size(); ++i) {
    const bool isQuery = items[i].group == EObjectGroup::Query;
    if (i == 0 || items[i].group != items[i - 1].group) {
      const auto count =
          static_cast<uint64_t>(std::ranges::count(items, items[i].group, &SObjectItem::group));
      heading =
          Insert(TVI_ROOT,
                 (isQuery ? u"Saved Queries  (" : u"Relationships  (") + ToGroupedDecimal(count) + u")", 0);
    }
    Insert(heading, items[i].label, kFirstObject + i);
  }
  m_isFilling = false;
}

size_t CTreeControl::GetSelectedIndex() const {
  TVITEMW item{};
  item.mask = TVIF_PARAM;
  item.hItem = reinterpret_cast<HTREEITEM>(Send(TVM_GETNEXTITEM, TVGN_CARET));
  if (!item.hItem || !Send(TVM_GETITEMW, 0, reinterpret_cast<LPARAM>(&item))) return 0;
  return static_cast<size_t>(item.lParam);
}

std::u16string CTreeControl::GetSelectedName() const {
  const size_t index = GetSelectedIndex();
  return index < m_names.size() ? m_names[index] : std::u16string(kRootText);
}

std::optional<size_t> CTreeControl::GetSelectedObject() const {
  const size_t index = GetSelectedIndex();
  return index >= kFirstObject ? std::optional(index - kFirstObject) : std::nullopt;
}

bool CTreeControl::IsTableSelected() const {
  const size_t index = GetSelectedIndex();
  return index > 0 && index < m_names.size();
}

POINT CTreeControl::SelectAt(POINT point) const {
  TVHITTESTINFO hit{};
  hit.pt = point;
  ScreenToClient(m_window, &hit.pt);
  const LRESULT found = Send(TVM_HITTEST, 0, reinterpret_cast<LPARAM>(&hit));
  if (found != 0) {
    Send(TVM_SELECTITEM, TVGN_CARET, found);
    return point;
  }
  RECT area{};
  const LRESULT selected = Send(TVM_GETNEXTITEM, TVGN_CARET);
  std::memcpy(&area, &selected, sizeof(selected));  // where the message wants it
  Send(TVM_GETITEMRECT, TRUE, reinterpret_cast<LPARAM>(&area));
  POINT below{area.left, area.bottom};
  ClientToScreen(m_window, &below);
  return below;
}

LRESULT CTreeControl::OnCustomDraw(NMTVCUSTOMDRAW& draw) {
  if (draw.nmcd.dwDrawStage == CDDS_PREPAINT) return CDRF_NOTIFYITEMDRAW;
  if (draw.nmcd.dwDrawStage == CDDS_ITEMPREPAINT && (draw.nmcd.uItemState & CDIS_SELECTED) != 0) {
    draw.clrText = CTheme::Get().GetColour(COLOR_HIGHLIGHTTEXT);
    draw.clrTextBk = CTheme::Get().GetColour(COLOR_HIGHLIGHT);
  }
  return CDRF_DODEFAULT;
}

}  // namespace tolvane
