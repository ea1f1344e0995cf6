#include "host/console/window/view.h"

#include <algorithm>

#include "host/console/window/texts.h"
#include "host/console/window/time_text.h"

namespace host::console {
namespace {

bool Has(const std::vector<OpenSession>& sessions, const OpenSession& wanted) {
  return std::any_of(sessions.begin(), sessions.end(),
                     [&](const OpenSession& session) { return session.id == wanted.id; });
}

// Those of `sessions` that `others` lacks.
std::vector<const OpenSession*> Without(const std::vector<OpenSession>& sessions,
                                        const std::vector<OpenSession>& others) {
  std::vector<const OpenSession*> rest;
  for (const OpenSession& session : sessions) {
    if (!Has(others, session)) rest.push_back(&session);
  }
  return rest;
}

}  // namespace

View ReadView(IConsoleState& state) {
  View view;
  if (!state.IsServiceThere()) {
    view.connection = Connection::kNoService;
    return view;
  }
  view.sessions = state.GetSessions();
  view.starts = state.GetSessionStarts();
  std::erase_if(view.starts, [](int64_t start) { return start <= 0; });
  if (!view.sessions.empty() || !view.starts.empty()) view.connection = Connection::kConnected;
  return view;
}

Banner DescribeView(IConsoleState& state, const View& view) {
  if (view.connection == Connection::kNoService) {
    return {state.Translate(texts::kNoService), state.Translate(texts::kNoServiceDetails)};
  }
  if (view.connection == Connection::kNobody) {
    return {state.Translate(texts::kNobody), state.Translate(texts::kNobodyDetails)};
  }
  const size_t count = std::max(view.sessions.size(), view.starts.size());
  const std::wstring earliest =
      view.starts.empty() ? std::wstring()
                          : DescribeTime(*std::min_element(view.starts.begin(), view.starts.end()),
                                         Seconds::kHidden);
  Banner banner{state.Translate(texts::kConnected), {}};
  if (earliest.empty()) {
    banner.details = FillTranslated(state, texts::kOpenSessions, {std::to_wstring(count)});
  } else if (count == 1) {
    banner.details = FillTranslated(state, texts::kSince, {earliest});
  } else {
    banner.details =
        FillTranslated(state, texts::kSeveralSince, {std::to_wstring(count), earliest});
  }
  return banner;
}

Notice DescribeChange(IConsoleState& state, const View& before, const View& now) {
  const auto started = Without(now.sessions, before.sessions);
  if (!started.empty()) {
    const Banner banner = DescribeView(state, now);
    const bool alone = started.size() == 1 && !started.front()->description.empty();
    return {banner.headline, alone ? started.front()->description : banner.details};
  }
  if (Without(before.sessions, now.sessions).empty()) return {};
  const Banner banner = DescribeView(state, now);
  return {state.Translate(texts::kEnded), now.connection == Connection::kConnected
                                              ? banner.headline + L". " + banner.details
                                              : banner.headline};
}

}  // namespace host::console
