#include "host/console/window/style.h"

#include <cstring>

#include "host/console/window/resource.h"

namespace host::console {
namespace {

// In high contrast, and with window colours of the user's own, which ours would not go with.
bool WantsSystemColours() {
  HIGHCONTRASTW contrast = {};
  contrast.cbSize = sizeof contrast;
  const bool is_known = SystemParametersInfoW(SPI_GETHIGHCONTRAST, sizeof contrast, &contrast,
                                              /*change=*/0) != FALSE;
  return (is_known && (contrast.dwFlags & HCF_HIGHCONTRASTON) != 0) ||
         GetSysColor(COLOR_WINDOW) != RGB(255, 255, 255);
}

// Colours come in pairs that are made for each other, the system's as well as ours.
Style::Colours BannerColours(Connection connection) {
  if (WantsSystemColours()) {
    const bool stands_out = connection == Connection::kConnected;
    const COLORREF background = GetSysColor(stands_out ? COLOR_HIGHLIGHT : COLOR_WINDOW);
    const COLORREF text = GetSysColor(stands_out ? COLOR_HIGHLIGHTTEXT : COLOR_WINDOWTEXT);
    return {background, text, stands_out ? background : text};
  }
  switch (connection) {
    case Connection::kConnected:
      return {RGB(255, 241, 214), RGB(74, 33, 0), RGB(217, 83, 0)};
    case Connection::kNoService:
      return {RGB(238, 238, 238), RGB(51, 51, 51), RGB(118, 118, 118)};
    case Connection::kNobody:
      break;
  }
  return {RGB(235, 243, 251), RGB(16, 42, 67), RGB(36, 108, 176)};
}

LOGFONTW MessageFont(UINT dpi) {
  NONCLIENTMETRICSW metrics = {};
  metrics.cbSize = sizeof metrics;
  if (!SystemParametersInfoForDpi(SPI_GETNONCLIENTMETRICS, sizeof metrics, &metrics, /*change=*/0,
                                  dpi)) {
    GetObjectW(GetStockObject(DEFAULT_GUI_FONT), sizeof metrics.lfMessageFont,
               &metrics.lfMessageFont);
  }
  return metrics.lfMessageFont;
}

}  // namespace

UniqueIcon LoadConnectionIcon(Connection connection, int size) {
  const int id = connection == Connection::kConnected   ? IDI_CONNECTED
                 : connection == Connection::kNoService ? IDI_NO_SERVICE
                                                        : IDI_NOBODY;
  return UniqueIcon(static_cast<HICON>(LoadImageW(GetModuleHandleW(nullptr), MAKEINTRESOURCEW(id),
                                                  IMAGE_ICON, size, size, LR_DEFAULTCOLOR)));
}

void Style::ShowConnection(Connection connection) {
  banner_ = BannerColours(connection);
  banner_brush_.reset(CreateSolidBrush(banner_.background));
}

bool Style::UpdateFonts(UINT dpi) {
  dpi_ = dpi;
  LOGFONTW font = MessageFont(dpi);
  if (text_font_ != nullptr && std::memcmp(&font, &message_font_, sizeof font) == 0) return false;
  message_font_ = font;
  text_font_.reset(CreateFontIndirectW(&font));
  font.lfHeight = MulDiv(font.lfHeight, 4, 3);
  font.lfWeight = FW_BOLD;
  headline_font_.reset(CreateFontIndirectW(&font));
  return true;
}

}  // namespace host::console
