#pragma once

#include <memory>
#include <type_traits>

#include "host/console/window/view.h"
#include "module/frame/windows.h"

namespace host::console {

struct GdiDeleter {
  void operator()(HGDIOBJ object) const { DeleteObject(object); }
};
using UniqueFont = std::unique_ptr<std::remove_pointer_t<HFONT>, GdiDeleter>;
using UniqueBrush = std::unique_ptr<std::remove_pointer_t<HBRUSH>, GdiDeleter>;

struct IconDeleter {
  void operator()(HICON icon) const { DestroyIcon(icon); }
};
using UniqueIcon = std::unique_ptr<std::remove_pointer_t<HICON>, IconDeleter>;

// The program's icon as it looks for a connection, drawn for that size in pixels.
UniqueIcon LoadConnectionIcon(Connection connection, int size);

// Fonts and colours of the window, as the user's settings want them. The window's thread only.
class Style {
 public:
  struct Colours {
    COLORREF background;
    COLORREF text;
    COLORREF edge;  // A stripe and a line that set the banner off.
  };

  Style() = default;
  Style(const Style&) = delete;
  Style& operator=(const Style&) = delete;

  // Both are to be called first, and whenever the settings have changed.
  void ShowConnection(Connection connection);
  // For the window's scale. Whether the fonts are others now; those that were given out before are
  // gone then.
  bool UpdateFonts(UINT dpi);

  UINT dpi() const { return dpi_; }
  int Scale(int length_at_96) const { return MulDiv(length_at_96, static_cast<int>(dpi_), 96); }
  HFONT text_font() const { return text_font_.get(); }
  HFONT headline_font() const { return headline_font_.get(); }
  const Colours& banner() const { return banner_; }
  HBRUSH banner_brush() const { return banner_brush_.get(); }

 private:
  UINT dpi_ = 96;
  LOGFONTW message_font_ = {};
  Colours banner_ = {};
  UniqueFont text_font_;
  UniqueFont headline_font_;
  UniqueBrush banner_brush_;
};

}  // namespace host::console
