#pragma once

#include <optional>

#include "module/frame/windows.h"

namespace host::console {

// Where the user left the window, kept in HKCU\Software\Tessaro\Console.
struct WindowPosition {
  RECT normal = {};  // On the screen, when not maximised, in pixels.
  bool maximised = false;
  UINT dpi = 96;
};

// None where nothing, or nothing of use, is kept.
std::optional<WindowPosition> LoadWindowPosition();
// A failure is ignored: the window opens at its first place then.
void SaveWindowPosition(const WindowPosition& position);

// The rectangle for a screen with that much room and that scale: as large as it was at its own
// scale, never larger than the room, and wholly inside it.
RECT FitInto(const WindowPosition& position, const RECT& room, UINT dpi);

}  // namespace host::console
