#pragma once

#include <string>
#include <vector>

#include "module/frame/testing/semaphore.h"
#include "module/rpc/comm/testing/fake_plugin.h"
#include "module/terminal/host/remote_terminal_manager_interface.h"

namespace orn::RemoteTerminal {

// Keeps what it is given and answers what it is told to.
struct FakeTerminalManager : FakePlugin<IRemoteTerminalManager> {
  using Notifications = IRemoteTerminalManagerNotifications;

  uint32_t status = 0;
  StringT<wchar_t> conin;
  StringT<wchar_t> conout;
  std::vector<std::string> calls;
  std::vector<Notifications*> subscribers;
  Semaphore changed;  // A subscriber came or went.

  uint32_t OpenTerminal(const StringT<char>& id, const TerminalSize& size,
                        StringT<wchar_t>& coninName, StringT<wchar_t>& conoutName) override {
    coninName = conin;
    conoutName = conout;
    return Call("open", id, size);
  }
  void CloseTerminal(const StringT<char>& id) override { Call("close", id, {}); }
  uint32_t SetSize(const StringT<char>& id, const TerminalSize& size) override {
    return Call("size", id, size);
  }
  uint32_t Register(Notifications* subscriber) override {
    subscribers.push_back(subscriber);
    changed.Release();
    return 0;
  }
  uint32_t Unregister(Notifications* subscriber) override {
    std::erase(subscribers, subscriber);
    changed.Release();
    return 0;
  }
  uint32_t Call(const char* what, const StringT<char>& id, const TerminalSize& size) {
    calls.push_back(std::string(what) + ' ' + std::string(id.view()) + ' ' +
                    std::to_string(size.cols) + 'x' + std::to_string(size.rows));
    return status;
  }
};

}  // namespace orn::RemoteTerminal
