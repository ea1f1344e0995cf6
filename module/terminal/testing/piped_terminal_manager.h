#pragma once

#include <map>

#include "module/feature/testing/call_list.h"
#include "module/frame/handle.h"
#include "module/terminal/host/remote_terminal_manager_interface.h"

namespace orn::RemoteAccess {

// The console's ends of the two pipes of a terminal.
struct ConsolePipes {
  static std::wstring NewName() {
    static int count = 0;
    return L"\\\\.\\pipe\\console-" + std::to_wstring(GetCurrentProcessId()) + L"-" +
           std::to_wstring(++count);
  }
  static UniqueFile Create(const std::wstring& name, DWORD access) {
    return UniqueFile(CreateNamedPipeW(name.c_str(), access, PIPE_TYPE_BYTE, /*instances=*/1,
                                       /*out=*/65536, /*in=*/65536, /*timeout=*/0, nullptr));
  }
  void Print(const std::string& text) {
    DWORD written = 0;
    WriteFile(conout.get(), text.data(), static_cast<DWORD>(text.size()), &written, nullptr);
  }

  std::wstring conin_name = NewName(), conout_name = NewName();
  UniqueFile conin = Create(conin_name, PIPE_ACCESS_INBOUND);
  UniqueFile conout = Create(conout_name, PIPE_ACCESS_OUTBOUND);
};

// A terminal manager whose consoles are pipes alone.
struct PipedTerminalManager final : RemoteTerminal::IRemoteTerminalManager {
  using Size = RemoteTerminal::TerminalSize;

  explicit PipedTerminalManager(CallList& list) : calls(list) {}

  CallList& calls;
  uint32_t open_result = 0;
  std::map<std::string, ConsolePipes> consoles;

  static std::string Of(const StringT<char>& id, const Size& size) {
    return id.c_str() + (' ' + std::to_string(size.cols) + 'x' + std::to_string(size.rows));
  }
  uint32_t OpenTerminal(const StringT<char>& id, const Size& size, StringT<wchar_t>& conin,
                        StringT<wchar_t>& conout) override {
    if (open_result == 0) {
      conin = consoles[id.c_str()].conin_name;
      conout = consoles[id.c_str()].conout_name;
    }
    return calls.Add("open " + Of(id, size), open_result);
  }
  void CloseTerminal(const StringT<char>& id) override {
    calls.Add(std::string("close ") + id.c_str());
    consoles.erase(id.c_str());
  }
  uint32_t SetSize(const StringT<char>& id, const Size& size) override {
    return calls.Add("size " + Of(id, size), 1168);
  }
  uint32_t Register(IRemoteTerminalManagerNotifications*) override {
    return calls.Add("register with manager", 1627);
  }
  uint32_t Unregister(IRemoteTerminalManagerNotifications*) override {
    return calls.Add("unregister from manager");
  }
};

}  // namespace orn::RemoteAccess
