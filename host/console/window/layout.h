#pragma once

#include "module/frame/windows.h"

namespace host::console {

// What the places of the controls follow from, in pixels. Sizes of texts are those of one line.
struct LayoutInput {
  UINT dpi = 96;
  SIZE icon = {};
  SIZE headline = {};
  SIZE details = {};
  int label_height = 0;
  int sessions_height = 0;  // Of the list with as many rows as it shows without scrolling.
  SIZE language_label = {};
  SIZE language = {};
  SIZE about = {};
};

struct Layout {
  RECT banner = {};  // As wide as the window; holds icon, headline and details.
  RECT icon = {};
  RECT headline = {};
  RECT details = {};
  RECT sessions_label = {};
  RECT sessions = {};
  RECT history_label = {};
  RECT history = {};
  RECT language_label = {};
  RECT language = {};
  RECT about = {};
  // The client area below which the window should not get: texts stand on their lines, and a few
  // rows of the history are seen.
  SIZE minimum = {};
};

// Where everything stands in a client area of that size: the history gets what the others leave.
// Details that are too long for their line get a second one. In an area below the minimum nothing
// has a negative size. Any thread.
Layout Arrange(const LayoutInput& input, SIZE client);

}  // namespace host::console
