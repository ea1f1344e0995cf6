#include "host/console/window/window_position.h"

#include <algorithm>
#include <cstdint>

namespace host::console {
namespace {

constexpr const wchar_t* kKey = L"Software\\Tessaro\\Console";
constexpr const wchar_t* kValue = L"window";
constexpr int32_t kFarthest = 1 << 16;

// As it is stored.
struct Stored {
  int32_t left, top, right, bottom, maximised, dpi;
};

bool IsUsable(const Stored& stored) {
  const auto near_enough = [](int32_t place) { return place > -kFarthest && place < kFarthest; };
  return near_enough(stored.left) && near_enough(stored.top) && near_enough(stored.right) &&
         near_enough(stored.bottom) && stored.left < stored.right && stored.top < stored.bottom &&
         stored.dpi >= 48 && stored.dpi <= 960;
}

}  // namespace

std::optional<WindowPosition> LoadWindowPosition() {
  Stored stored = {};
  DWORD size = sizeof stored;
  const LSTATUS error = RegGetValueW(HKEY_CURRENT_USER, kKey, kValue, RRF_RT_REG_BINARY,
                                     /*type=*/nullptr, &stored, &size);
  if (error != ERROR_SUCCESS || size != sizeof stored || !IsUsable(stored)) return std::nullopt;
  return WindowPosition{{stored.left, stored.top, stored.right, stored.bottom},
                        stored.maximised != 0,
                        static_cast<UINT>(stored.dpi)};
}

void SaveWindowPosition(const WindowPosition& position) {
  const RECT& normal = position.normal;
  const Stored stored = {normal.left,
                         normal.top,
                         normal.right,
                         normal.bottom,
                         position.maximised ? 1 : 0,
                         static_cast<int32_t>(position.dpi)};
  RegSetKeyValueW(HKEY_CURRENT_USER, kKey, kValue, REG_BINARY, &stored, sizeof stored);
}

RECT FitInto(const WindowPosition& position, const RECT& room, UINT dpi) {
  const auto scale = [&](LONG length) {
    return static_cast<LONG>(MulDiv(length, static_cast<int>(dpi), static_cast<int>(position.dpi)));
  };
  const RECT& normal = position.normal;
  const LONG width = std::min(scale(normal.right - normal.left), room.right - room.left);
  const LONG height = std::min(scale(normal.bottom - normal.top), room.bottom - room.top);
  const LONG left = std::clamp(normal.left, room.left, room.right - width);
  const LONG top = std::clamp(normal.top, room.top, room.bottom - height);
  return {left, top, left + width, top + height};
}

}  // namespace host::console
