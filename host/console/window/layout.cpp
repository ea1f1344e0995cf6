#include "host/console/window/layout.h"

#include <algorithm>

namespace host::console {
namespace {

// At 96 dots per inch.
constexpr int kMargin = 12;
constexpr int kGap = 8;
constexpr int kLabelGap = 4;
constexpr int kStripe = 6;  // At the left edge of the banner.
constexpr int kMinimumHistory = 160;
constexpr int kMinimumWidth = 480;

RECT Place(int left, int top, int width, int height) {
  return {left, top, left + std::max(width, 0), top + std::max(height, 0)};
}

}  // namespace

Layout Arrange(const LayoutInput& input, SIZE client) {
  const auto scale = [&](int length) { return MulDiv(length, static_cast<int>(input.dpi), 96); };
  const int margin = scale(kMargin);
  const int gap = scale(kGap);
  const int label_gap = scale(kLabelGap);
  const int inner = client.cx - 2 * margin;
  Layout layout;

  const int text_left = scale(kStripe) + margin + input.icon.cx + margin;
  const int text_width = std::max<int>(client.cx - text_left - margin, 1);
  const int lines = input.details.cx > text_width ? 2 : 1;
  const int text_height = input.headline.cy + label_gap + lines * input.details.cy;
  const int banner_height = std::max<int>(text_height, input.icon.cy) + 2 * margin;
  layout.banner = Place(0, 0, client.cx, banner_height);
  layout.icon = Place(scale(kStripe) + margin, (banner_height - input.icon.cy) / 2, input.icon.cx,
                      input.icon.cy);
  const int text_top = (banner_height - text_height) / 2;
  layout.headline = Place(text_left, text_top, text_width, input.headline.cy);
  layout.details = Place(text_left, text_top + input.headline.cy + label_gap, text_width,
                         lines * input.details.cy);

  int top = banner_height + margin;
  layout.sessions_label = Place(margin, top, inner, input.label_height);
  top += input.label_height + label_gap;
  layout.sessions = Place(margin, top, inner, input.sessions_height);
  top += input.sessions_height + margin;
  layout.history_label = Place(margin, top, inner, input.label_height);
  top += input.label_height + label_gap;

  const int footer = static_cast<int>(std::max(input.language.cy, input.about.cy));
  const int history_height = client.cy - margin - footer - margin - top;
  layout.history = Place(margin, top, inner, history_height);

  const int footer_top = top + std::max(history_height, 0) + margin;
  const auto centred = [&](int height) { return footer_top + (footer - height) / 2; };
  layout.language_label = Place(margin, centred(input.language_label.cy), input.language_label.cx,
                                input.language_label.cy);
  layout.language = Place(margin + input.language_label.cx + gap, centred(input.language.cy),
                          input.language.cx, input.language.cy);
  layout.about = Place(client.cx - margin - input.about.cx, centred(input.about.cy), input.about.cx,
                       input.about.cy);

  const int footer_width = margin + input.language_label.cx + gap + input.language.cx + 2 * margin +
                           input.about.cx + margin;
  const int banner_width =
      text_left + std::max<int>(input.headline.cx, (input.details.cx * 2 + 2) / 3) + margin;
  layout.minimum = {std::max({scale(kMinimumWidth), footer_width, banner_width}),
                    top + scale(kMinimumHistory) + margin + footer + margin};
  return layout;
}

}  // namespace host::console
