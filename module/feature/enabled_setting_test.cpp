#include "module/feature/enabled_setting.h"

#include <gtest/gtest.h>

#include "module/feature/testing/memory_settings.h"

namespace orn::RemoteAccess {
namespace {

TEST(EnabledSetting, AsksTheStoreOnceAndRemembersWhateverComesOfIt) {
  using Fault = MemorySettings::Fault;
  for (const Fault fault : {Fault::kNone, Fault::kNoNode, Fault::kBrokenNode, Fault::kNoValue}) {
    CallList calls;
    MemorySettings store(calls);
    store.stored = true;
    store.fault = fault;
    EnabledSetting setting;
    setting.Prepare(&store, L"RemoteAccess/enabled", /*default_value=*/false);
    bool value = false;
    EXPECT_EQ(setting.Read(value), fault == Fault::kNone);
    EXPECT_TRUE(setting.Read(value));
    EXPECT_EQ(value, fault == Fault::kNone);
    setting.Write(true);
    setting.Write(false);
    EXPECT_FALSE(setting.IsOn());
    EXPECT_EQ(store.stored == true, fault == Fault::kNoNode);
    EXPECT_EQ(calls.Take(), (Calls{"settings read", "settings write", "settings write"}));
    EXPECT_EQ(store.held, 0);
  }
}

}  // namespace
}  // namespace orn::RemoteAccess
