#pragma once

#include <atomic>
#include <map>
#include <string>

#include "module/feature/testing/call_list.h"
#include "module/frame/handle.h"
#include "module/terminal/host/remote_terminal_manager_interface.h"

namespace orn::RemoteAccess {

// The console's ends of the two pipes of a terminal.
struct ConsolePipes {
  static HANDLE Create(const std::wstring& name, DWORD access) {
    return CreateNamedPipeW(name.c_str(), access, PIPE_TYPE_BYTE, /*instances=*/1,
                            /*out_size=*/65536, /*in_size=*/65536, /*timeout=*/0, nullptr);
  }
  static std::wstring NewName() {
    static std::atomic<int> counter{0};
    return L"\\\\.\\pipe\\console-" + std::to_wstring(GetCurrentProcessId()) + L"-" +
           std::to_wstring(++counter);
  }
  void Print(const std::string& text) {
    DWORD written = 0;
    WriteFile(conout.get(), text.data(), static_cast<DWORD>(text.size()), &written, nullptr);
  }

  std::wstring conin_name = NewName();
  std::wstring conout_name = NewName();
  UniqueFile conin{Create(conin_name, PIPE_ACCESS_INBOUND)};
  UniqueFile conout{Create(conout_name, PIPE_ACCESS_OUTBOUND)};
};

// A terminal manager whose consoles are pipes alone. An id stays in use until it is closed.
class PipedTerminalManager final : public RemoteTerminal::IRemoteTerminalManager {
 public:
  explicit PipedTerminalManager(CallList& calls) : calls_(calls) {}

  uint32_t open_result = 0;
  std::map<std::string, ConsolePipes> consoles;

  uint32_t OpenTerminal(const StringT<char>& id, const RemoteTerminal::TerminalSize& size,
                        StringT<wchar_t>& conin, StringT<wchar_t>& conout) override {
    Add("open ", id, size);
    if (open_result != 0) return open_result;
    const auto [console, is_new] = consoles.try_emplace(id.c_str());
    if (!is_new) return 183;
    conin = console->second.conin_name;
    conout = console->second.conout_name;
    return 0;
  }
  void CloseTerminal(const StringT<char>& id) override {
    calls_.Add(std::string("close ") + id.c_str());
    consoles.erase(id.c_str());
  }
  uint32_t SetSize(const StringT<char>& id, const RemoteTerminal::TerminalSize& size) override {
    Add("size ", id, size);
    return 1168;
  }
  uint32_t Register(IRemoteTerminalManagerNotifications*) override {
    calls_.Add("register with manager");
    return 1627;
  }
  uint32_t Unregister(IRemoteTerminalManagerNotifications*) override {
    calls_.Add("unregister from manager");
    return 0;
  }

 private:
  void Add(const std::string& call, const StringT<char>& id, RemoteTerminal::TerminalSize size) {
    calls_.Add(call + id.c_str() + ' ' + std::to_string(size.cols) + 'x' +
               std::to_string(size.rows));
  }

  CallList& calls_;
};

}  // namespace orn::RemoteAccess
