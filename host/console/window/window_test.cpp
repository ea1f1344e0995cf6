#include <gtest/gtest.h>

#include <thread>

#include "host/console/testing/fake_console_state.h"
#include "host/console/window/common_controls.h"
#include "host/console/window/history_pages.h"
#include "host/console/window/layout.h"
#include "host/console/window/list_view.h"
#include "host/console/window/texts.h"
#include "host/console/window/time_text.h"
#include "host/console/window/view.h"
#include "host/console/window/window.h"
#include "host/console/window/window_position.h"
#include "module/frame/handle.h"
#include "module/frame/scope_guard.h"

namespace host::console {
namespace {

TEST(ConsoleTexts, ValuesAreNotFilledAgainAndBrokenPlacesStay) {
  EXPECT_EQ(Fill(L"{1}-{0}", {L"{1}", L"b"}), L"b-{1}");
  EXPECT_EQ(Fill(L"{2} {x} {", {L"a"}), L"{2} {x} {");
  for (const int64_t no_time : {int64_t{-1}, int64_t{0}, INT64_MAX})
    EXPECT_EQ(DescribeTime(no_time, Seconds::kShown), L"");
  EXPECT_NE(DescribeTime(1'700'000'000, Seconds::kShown), L"");
}

TEST(ConsoleView, BannerAndNoticesFollowTheSessions) {
  FakeConsoleState state;
  const View nobody = ReadView(state);
  EXPECT_EQ(DescribeView(state, nobody).headline, texts::kNobody);
  EXPECT_EQ(DescribeChange(state, View{}, nobody).headline, L"");

  const std::wstring since = DescribeTime(1'700'000'000, Seconds::kHidden);
  state.SetSessions({{L"1", L"n", L"first"}}, {1'700'000'000, 0});
  const View one = ReadView(state);
  EXPECT_EQ(DescribeView(state, one).details, L"Connected since " + since);
  EXPECT_EQ(DescribeChange(state, nobody, one).details, L"first");
  EXPECT_EQ(DescribeChange(state, one, one).headline, L"");

  state.SetSessions({{L"2", L"n", L"second"}, {L"1", L"n", L"in another language"}},
                    {1'700'009'000, 1'700'000'000});
  const View two = ReadView(state);
  EXPECT_EQ(DescribeView(state, two).details, L"Open sessions: 2. The first one began: " + since);
  EXPECT_EQ(DescribeChange(state, one, two).details, L"second");
  EXPECT_EQ(DescribeChange(state, two, one).headline, texts::kEnded);
  EXPECT_EQ(DescribeChange(state, one, nobody).details, texts::kNobody);

  {  // A session whose start is not known, and a start whose session is not.
    state.SetSessions({{L"1", L"n", L""}}, {});
    EXPECT_EQ(DescribeView(state, ReadView(state)).details, L"Open sessions: 1");
    state.SetSessions({}, {1'700'000'000});
    EXPECT_EQ(ReadView(state).connection, Connection::kConnected);
  }
  state.SetService(false);
  EXPECT_EQ(DescribeChange(state, one, ReadView(state)).details, texts::kNoService);
}

TEST(ConsoleHistory, PagesAreReadOnceAndGrowthIsToldFromANewHistory) {
  FakeConsoleState state;
  state.SetHistorySize(100'000);
  HistoryPages pages(state);
  EXPECT_EQ(pages.Get(0)->sequence, 100'000);
  EXPECT_EQ(pages.Get(99'999)->sequence, 1);
  EXPECT_EQ(pages.Get(100'000), nullptr);
  const size_t read = state.lines_read();
  EXPECT_EQ(pages.Get(5)->sequence, 99'995);
  EXPECT_EQ(state.lines_read(), read);
  state.SetHistorySize(100'001);
  pages.Forget();
  EXPECT_EQ(pages.Get(5)->sequence, 99'996);

  EXPECT_EQ(RowsAdded({0, 0}, {3, 3}), 3u);
  EXPECT_EQ(RowsAdded({7, 7}, {9, 9}), 2u);
  EXPECT_EQ(RowsAdded({7, 7}, {7, 7}), 0u);
  EXPECT_EQ(RowsAdded({7, 7}, {1, 1}), std::nullopt);
  EXPECT_EQ(RowsAdded({1, 1}, {2, 500}), std::nullopt);
}

TEST(ConsoleLayout, NothingOverlapsAtAnySizeAndScale) {
  for (const UINT dpi : {96u, 144u, 192u, 288u}) {
    const int factor = static_cast<int>(dpi) / 48;
    LayoutInput input{dpi,
                      {16 * factor, 16 * factor},
                      {200 * factor, 10 * factor},
                      {400 * factor, 8 * factor},
                      8 * factor,
                      40 * factor,
                      {30 * factor, 8 * factor},
                      {60 * factor, 12 * factor},
                      {44 * factor, 13 * factor}};
    const SIZE least = Arrange(input, {}).minimum;
    for (const SIZE client : {least, SIZE{least.cx * 2, least.cy * 2}}) {
      const Layout layout = Arrange(input, client);
      const RECT down[] = {layout.headline, layout.details,       layout.sessions_label,
                           layout.sessions, layout.history_label, layout.history,
                           layout.language};
      for (size_t i = 1; i < std::size(down); ++i)
        EXPECT_GE(down[i].top, down[i - 1].bottom) << i;
      EXPECT_LE(layout.details.bottom, layout.banner.bottom);
      EXPECT_GT(layout.history.bottom - layout.history.top, 0);
      EXPECT_LE(layout.language.bottom, client.cy);
      EXPECT_LE(layout.language_label.right, layout.language.left);
      EXPECT_LE(layout.language.right, layout.about.left);
      EXPECT_LE(layout.about.right, client.cx);
      // The details have their room, on one line or on two.
      const RECT& details = layout.details;
      EXPECT_GE((details.right - details.left) * (details.bottom - details.top) / input.details.cy,
                input.details.cx);
    }
    const Layout tiny = Arrange(input, {1, 1});
    EXPECT_LE(tiny.history.top, tiny.history.bottom);
    EXPECT_LE(tiny.details.left, tiny.details.right);
  }
}

TEST(ConsoleWindowPosition, IsScaledAndBroughtBackToTheScreen) {
  const RECT room = {0, 0, 1280, 1024};
  const RECT far_away = FitInto({{-5000, 4000, -4000, 4500}, false, 96}, room, 96);
  EXPECT_TRUE(
      EqualRect(&far_away, std::addressof(static_cast<const RECT&>(RECT{0, 524, 1000, 1024}))));
  const RECT doubled = FitInto({{100, 100, 600, 500}, false, 96}, room, 192);
  EXPECT_EQ(doubled.right - doubled.left, 1000);
  const RECT huge = FitInto({{0, 0, 4000, 4000}, false, 96}, room, 96);
  EXPECT_TRUE(EqualRect(&huge, &room));
}

TEST(ConsoleCopy, CellsCannotBreakTheRowsApart) {
  CopiedRows rows;
  rows.Add({L"a", L"b\tc\r\nd"});
  EXPECT_EQ(rows.text(), L"a\tb c  d\r\n");
}

// The child of that class, the nth.
HWND Child(HWND window, const wchar_t* window_class, int nth) {
  HWND child = nullptr;
  for (int i = 0; i <= nth; ++i)
    child = FindWindowExW(window, child, window_class, /*text=*/nullptr);
  return child;
}

TEST(ConsoleWindow, ShowsWhatIsAnnouncedKeepsTheRowsInViewAndEndsFromOutside) {
  FakeConsoleState state;
  state.SetHistorySize(100'000);
  state.SetTexts({{texts::kConnected, L"Jemand ist da"}});
  const orn::UniqueHandle quit(CreateEventW(nullptr, /*manualReset=*/FALSE, FALSE, nullptr));
  WindowOptions options;
  options.quit = quit.get();
  int code = -1;
  DWORD thread_id = 0;
  const orn::UniqueHandle is_running(CreateEventW(nullptr, /*manualReset=*/TRUE, FALSE, nullptr));
  std::thread thread([&] {
    thread_id = GetCurrentThreadId();
    // The window's first message finds it whole.
    MSG message;
    PeekMessageW(&message, nullptr, 0, 0, PM_NOREMOVE);
    SetEvent(is_running.get());
    code = RunWindow(state, options);
  });
  WaitForSingleObject(is_running.get(), INFINITE);
  orn::ScopeGuard end([&] {
    SetEvent(quit.get());
    thread.join();
  });

  // The window is made and shown what there is before its thread answers a message.
  HWND window = nullptr;
  while (window == nullptr || !IsWindowVisible(window)) {
    EnumThreadWindows(
        thread_id,
        [](HWND found, LPARAM target) {
          wchar_t window_class[40];
          GetClassNameW(found, window_class, 40);
          if (std::wstring(window_class) != L"Tessaro.Console") return TRUE;
          *reinterpret_cast<HWND*>(target) = found;
          return FALSE;
        },
        reinterpret_cast<LPARAM>(&window));
    SwitchToThread();
  }
  const HWND sessions = Child(window, WC_LISTVIEWW, 0);
  const HWND history = Child(window, WC_LISTVIEWW, 1);
  EXPECT_EQ(ListView_GetItemCount(history), 100'000);
  EXPECT_LT(state.lines_read(), 500u);

  ListView_EnsureVisible(history, 50'000, /*partial=*/FALSE);
  ListView_SetItemState(history, 50'000, LVIS_SELECTED, LVIS_SELECTED);
  const int top = ListView_GetTopIndex(history);
  state.SetHistorySize(100'003);
  state.SetSessions({{L"1", L"name", L"description"}}, {1'700'000'000});
  state.SetLanguage(L"de");
  state.Announce();
  // The announcement is posted: what is sent after it may come first, what is posted may not.
  while (ListView_GetItemCount(history) != 100'003 ||
         ListView_GetNextItem(history, -1, LVNI_SELECTED) != 50'003 ||
         ListView_GetTopIndex(history) != top + 3) {
    SwitchToThread();
  }
  EXPECT_EQ(ListView_GetItemCount(sessions), 1);
  wchar_t text[100];
  GetWindowTextW(Child(window, WC_STATICW, 0), text, 100);
  EXPECT_STREQ(text, L"Jemand ist da");

  SetEvent(quit.get());
  thread.join();
  end.Dismiss();
  EXPECT_EQ(code, 0);
  state.Announce();  // Nobody listens any more.
}

}  // namespace
}  // namespace host::console
