#pragma once

#include <map>
#include <string>

#include "module/feature/testing/call_list.h"
#include "module/terminal/host/remote_terminal_manager_interface.h"
#include "module/terminal/testing/console_pipes.h"

namespace orn::RemoteAccess {

// A terminal manager whose consoles are pipes alone. An id stays in use until it is closed.
class PipedTerminalManager final : public RemoteTerminal::IRemoteTerminalManager {
 public:
  explicit PipedTerminalManager(CallList& calls) : calls_(calls) {}

  uint32_t open_result = 0;
  uint32_t register_result = 0;
  std::map<std::string, ConsolePipes> consoles;

  uint32_t OpenTerminal(const StringT<char>& id, const RemoteTerminal::TerminalSize& size,
                        StringT<wchar_t>& conin, StringT<wchar_t>& conout) override {
    calls_.Add("open " + Describe(id, size));
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
    calls_.Add("size " + Describe(id, size));
    return 1168;
  }
  uint32_t Register(IRemoteTerminalManagerNotifications*) override {
    calls_.Add("register with manager");
    return register_result;
  }
  uint32_t Unregister(IRemoteTerminalManagerNotifications*) override {
    calls_.Add("unregister from manager");
    return 0;
  }

 private:
  static std::string Describe(const StringT<char>& id, const RemoteTerminal::TerminalSize& size) {
    return id.c_str() + (' ' + std::to_string(size.cols)) + 'x' + std::to_string(size.rows);
  }

  CallList& calls_;
};

}  // namespace orn::RemoteAccess
