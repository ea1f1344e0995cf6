// The raw limit that the system is measured against: the same console library and shell, with
// nothing of ours between the console's pipe and this program.
//
//   raw_console flood FILE     types "type FILE"; prints {"bytes": n, "seconds": s}
//   raw_console echo COUNT     presses COUNT keys; prints their milliseconds to the echo as an
//   array

#include <chrono>
#include <cstdio>
#include <optional>
#include <string>
#include <vector>

#include "module/frame/handle.h"
#include "module/platform/winpty.h"

namespace {

using Clock = std::chrono::steady_clock;

double SecondsSince(Clock::time_point start) {
  return std::chrono::duration<double>(Clock::now() - start).count();
}

template <class Function>
void Bind(HMODULE module, const char* name, Function& function) {
  function = reinterpret_cast<Function>(reinterpret_cast<void*>(GetProcAddress(module, name)));
}

class RawConsole {
 public:
  bool Open() {
    WinptyTable winpty;
    const HMODULE module = LoadLibraryW(L"winpty.dll");
    if (module == nullptr) return false;
    Bind(module, "winpty_config_new", winpty.config_new);
    Bind(module, "winpty_config_set_initial_size", winpty.config_set_initial_size);
    Bind(module, "winpty_open", winpty.open);
    Bind(module, "winpty_conin_name", winpty.conin_name);
    Bind(module, "winpty_conout_name", winpty.conout_name);
    Bind(module, "winpty_spawn_config_new", winpty.spawn_config_new);
    Bind(module, "winpty_spawn", winpty.spawn);
    winpty_config_t* config = winpty.config_new(0, nullptr);
    winpty.config_set_initial_size(config, 80, 24);
    winpty_t* agent = winpty.open(config, nullptr);
    if (agent == nullptr) return false;
    conin_.reset(CreateFileW(winpty.conin_name(agent), GENERIC_WRITE, 0, nullptr, OPEN_EXISTING, 0,
                             nullptr));
    conout_.reset(CreateFileW(winpty.conout_name(agent), GENERIC_READ, 0, nullptr, OPEN_EXISTING, 0,
                              nullptr));
    winpty_spawn_config_t* spawn = winpty.spawn_config_new(
        3, L"c:\\Windows\\System32\\WindowsPowerShell\\v1.0\\powershell.exe", nullptr, nullptr,
        nullptr, nullptr);
    return winpty.spawn(agent, spawn, nullptr, nullptr, nullptr, nullptr) != FALSE;
  }

  void Type(const std::string& text) {
    DWORD written = 0;
    WriteFile(conin_.get(), text.data(), static_cast<DWORD>(text.size()), &written, nullptr);
  }

  // Reads as the module does, at most 1024 bytes at a time.
  std::string Read() {
    char buffer[1024];
    DWORD count = 0;
    ReadFile(conout_.get(), buffer, sizeof buffer, &count, nullptr);
    return {buffer, count};
  }

  // Reads what came behind an earlier echo, such as the cursor's place.
  void Drain() {
    DWORD waiting = 0;
    while (PeekNamedPipe(conout_.get(), nullptr, 0, nullptr, &waiting, nullptr) && waiting > 0) {
      Read();
    }
  }

  // Reads until `text` was seen; the number of bytes up to there.
  size_t See(const std::string& text) {
    size_t bytes = 0;
    for (std::string tail; tail.find(text) == std::string::npos;) {
      const std::string chunk = Read();
      bytes += chunk.size();
      if (tail.size() > text.size()) tail.erase(0, tail.size() - text.size());
      tail += chunk;
    }
    return bytes;
  }

 private:
  orn::UniqueFile conin_;
  orn::UniqueFile conout_;
};

void Flood(RawConsole& console, const std::string& file) {
  console.Type("type \"" + file + "\" & echo flood^-end\r");
  const auto start = Clock::now();
  const size_t bytes = console.See("flood-end");
  std::printf("{\"bytes\": %zu, \"seconds\": %.3f}\n", bytes, SecondsSince(start));
}

void Echo(RawConsole& console, int count) {
  std::printf("[");
  for (int pressed = 0; pressed < count; ++pressed) {
    Sleep(100);  // a person's pace
    console.Drain();
    const auto start = Clock::now();
    console.Type("x");
    console.Read();
    std::printf("%s%.3f", pressed == 0 ? "" : ", ", 1000 * SecondsSince(start));
  }
  std::printf("]\n");
}

}  // namespace

int main(int argc, char** argv) {
  RawConsole console;
  if (argc != 3 || !console.Open()) {
    std::fprintf(stderr, "usage: raw_console flood FILE | echo COUNT\n");
    return 1;
  }
  console.Type("echo con^sole-ready\r");
  console.See("console-ready");
  if (std::string(argv[1]) == "flood") {
    Flood(console, argv[2]);
  } else {
    Echo(console, std::stoi(argv[2]));
  }
  std::fflush(stdout);
  TerminateProcess(GetCurrentProcess(), 0);  // the console's processes end with this one
}
