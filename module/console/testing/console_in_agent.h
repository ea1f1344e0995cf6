#pragma once

#include <gtest/gtest.h>

#include <map>
#include <string>

#include "module/rpc/comm/testing/fake_remote_access.h"

namespace orn::RemoteAccess::Console {

// An agent that has the feature and what a test adds.
struct ConsoleInAgent : testing::Test, IServMain, IComponentManager, FakeRemoteAccess {
  uint32_t refusal = 0;  // Of the registration with the feature.
  std::map<std::wstring, void*> plugins{{L"RemoteAccess", static_cast<IRemoteAccess*>(this)}};
  int held = 0;  // Plug-ins that were not given back.

  IComponentManager* GetComponentManager() override { return this; }
  uint32_t GetObject(const wchar_t* name, const InterfaceId&, void** object) override {
    *object = plugins[name];
    return *object == nullptr ? 1168 : (++held, 0);
  }
  void ReleaseObject(const wchar_t*) override { --held; }
  uint32_t RegisterStateEvent(IStateEvent* observer, uint32_t, uint32_t) override {
    return refusal != 0 ? refusal : FakeRemoteAccess::RegisterStateEvent(observer, 0, 0);
  }

  // Init without one of the two, or without a host, leaves nothing behind; nor does a Start that
  // the feature refuses.
  void NeedsFeatureAnd(const wchar_t* other, IServPlugin& plugin) {
    EXPECT_EQ(plugin.Init(nullptr), 5002);
    for (const wchar_t* const name : {L"RemoteAccess", other}) {
      void* const kept = std::exchange(plugins[name], nullptr);
      EXPECT_EQ(plugin.Init(this), 5002);
      EXPECT_EQ(held, 0);
      plugins[name] = kept;
    }
    ASSERT_EQ(plugin.Init(this), 0);
    refusal = 1627;
    EXPECT_EQ(plugin.Start(), 1627);
    refusal = 0;
  }
};

}  // namespace orn::RemoteAccess::Console
