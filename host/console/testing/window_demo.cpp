// Shows the window over a made-up state, to look at it:
//
//   window_demo.exe LANGUAGE SESSIONS RECORDS
//
// SESSIONS of -1 stands for a service that does not run. Lines of three such words on standard
// input change what is shown; its end, or "quit", ends the program.

#include <iostream>
#include <sstream>
#include <thread>

#include "host/console/testing/fake_console_state.h"
#include "host/console/testing/language_texts.h"
#include "host/console/window/window.h"

namespace {

using host::console::FakeConsoleState;
using host::console::OpenSession;

void Apply(FakeConsoleState& state, const std::string& line) {
  std::istringstream words(line);
  std::string language;
  int count = 0;
  size_t records = 0;
  words >> language >> count >> records;
  state.SetLanguage(std::wstring(language.begin(), language.end()));
  state.SetService(count >= 0);
  std::vector<OpenSession> sessions;
  std::vector<int64_t> starts;
  for (int i = 0; i < count; ++i) {
    sessions.push_back({std::to_wstring(i), state.Translate(L"Remote Shell Connection"),
                        state.Translate(L"Administrator started a remote shell connection") +
                            L". " + state.Translate(L"Session Started:") + L" 3 May, 09:0" +
                            std::to_wstring(i + 5)});
    starts.push_back(1'777'799'100 + i * 60);
  }
  state.SetSessions(std::move(sessions), std::move(starts));
  state.SetHistorySize(records);
}

}  // namespace

int main(int count, char** arguments) {
  FakeConsoleState state;
  for (const char* code : {"de", "en", "es", "fr", "ro"}) {
    std::wstring name;
    auto texts = host::console::ReadLanguage(code, name);
    state.AddLanguage({std::wstring(code, code + 2), name}, std::move(texts));
  }
  std::string line;
  for (int i = 1; i < count; ++i)
    line += std::string(arguments[i]) + ' ';
  Apply(state, line);

  const HANDLE quit = CreateEventW(nullptr, /*manualReset=*/FALSE, /*signalled=*/FALSE, nullptr);
  std::thread input([&] {
    std::string next;
    while (std::getline(std::cin, next) && next != "quit") {
      Apply(state, next);
      state.Announce();
      std::cout << "read " << state.lines_read() << std::endl;
    }
    SetEvent(quit);
  });
  input.detach();
  host::console::WindowOptions options;
  options.quit = quit;
  const int code = host::console::RunWindow(state, options);
  ExitProcess(static_cast<UINT>(code));
}
