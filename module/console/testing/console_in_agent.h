#pragma once

#include <gtest/gtest.h>

#include <map>
#include <string>

#include "module/frame/plugin_interfaces.h"
#include "module/rpc/comm/testing/fake_remote_access.h"

namespace orn::RemoteAccess::Console {

// An agent that has the feature and what a test adds, each of which can be taken away.
struct ConsoleInAgent : testing::Test, IServMain, IComponentManager {
  struct Feature final : FakeRemoteAccess {
    uint32_t refusal = 0;  // Of the registration.
    uint32_t RegisterStateEvent(IStateEvent* observer, uint32_t first, uint32_t second) override {
      if (refusal != 0) return refusal;
      return FakeRemoteAccess::RegisterStateEvent(observer, first, second);
    }
  } feature;
  std::map<std::wstring, void*> plugins{{L"RemoteAccess", static_cast<IRemoteAccess*>(&feature)}};
  int held = 0;  // Plug-ins that were not given back.

  IComponentManager* GetComponentManager() override { return this; }
  uint32_t GetObject(const wchar_t* name, const InterfaceId&, void** object) override {
    const auto found = plugins.find(name);
    *object = found == plugins.end() ? nullptr : found->second;
    if (*object == nullptr) return 1168;
    ++held;
    return 0;
  }
  void ReleaseObject(const wchar_t*) override { --held; }

  // Init without one of the two, and without a host, leaves nothing behind.
  void NeedsBoth(IServPlugin& plugin, const wchar_t* other) {
    EXPECT_EQ(plugin.Init(nullptr), 5002);
    for (const wchar_t* const name : {L"RemoteAccess", other}) {
      void* const kept = std::exchange(plugins[name], nullptr);
      EXPECT_EQ(plugin.Init(this), 5002);
      EXPECT_EQ(held, 0);
      plugins[name] = kept;
    }
    EXPECT_EQ(plugin.Init(this), 0);
    EXPECT_EQ(held, 2);
  }
  static TerminalSessionState Session(const char* id, bool connected, int64_t start,
                                      int64_t end = 0) {
    return {
        .terminalId = id, .isConnected = connected, .startTimestamp = start, .endTimestamp = end};
  }
};

}  // namespace orn::RemoteAccess::Console
