#include "MenuLines.h"

#include "WideText.h"

namespace testmenu {

std::vector<std::string> MenuLines(HMENU menu) {
  std::vector<std::string> lines;
  const int count = GetMenuItemCount(menu);
  for (int i = 0; i < count; ++i) {
    wchar_t text[256] = {};
    GetMenuStringW(menu, static_cast<UINT>(i), text, 255, MF_BYPOSITION);
    MENUITEMINFOW info = {};
    info.cbSize = sizeof(info);
    info.fMask = MIIM_FTYPE | MIIM_ID | MIIM_STATE | MIIM_SUBMENU;
    GetMenuItemInfoW(menu, static_cast<UINT>(i), TRUE, &info);
    if (info.fType & MFT_SEPARATOR) {
      lines.push_back("-");
      continue;
    }
    std::string line = U8(text);
    if (info.hSubMenu) {
      line += " {";
      const std::vector<std::string> sub = MenuLines(info.hSubMenu);
      for (size_t j = 0; j < sub.size(); ++j) line += (j ? "; " : "") + sub[j];
      line += "}";
    } else {
      line += " #" + std::to_string(info.wID);
    }
    if (info.fState & MFS_GRAYED) line += " (grayed)";
    lines.push_back(line);
  }
  return lines;
}

}  // namespace testmenu
