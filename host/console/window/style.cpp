#include "host/console/window/style.h"

#include "host/console/window/resource.h"

namespace host::console {
namespace {

bool IsHighContrast() {
  HIGHCONTRASTW contrast = {};
  contrast.cbSize = sizeof contrast;
  return SystemParametersInfoW(SPI_GETHIGHCONTRAST, sizeof contrast, &contrast, /*change=*/0) &&
         (contrast.dwFlags & HCF_HIGHCONTRASTON) != 0;
}

// Own colours come in pairs, so that a text is readable whatever the system's are.
Style::Colours BannerColours(Connection connection) {
  if (IsHighContrast()) {
    if (connection == Connection::kConnected) {
      return {GetSysColor(COLOR_HIGHLIGHT), GetSysColor(COLOR_HIGHLIGHTTEXT),
              GetSysColor(COLOR_HIGHLIGHTTEXT)};
    }
    return {GetSysColor(COLOR_WINDOW), GetSysColor(COLOR_WINDOWTEXT),
            GetSysColor(COLOR_WINDOWTEXT)};
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

void Style::Update(UINT dpi, Connection connection) {
  dpi_ = dpi;
  banner_ = BannerColours(connection);
  banner_brush_.reset(CreateSolidBrush(banner_.background));
  LOGFONTW font = MessageFont(dpi);
  text_font_.reset(CreateFontIndirectW(&font));
  font.lfHeight = MulDiv(font.lfHeight, 4, 3);
  font.lfWeight = FW_SEMIBOLD;
  headline_font_.reset(CreateFontIndirectW(&font));
}

}  // namespace host::console
