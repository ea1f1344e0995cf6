#include "module/feature/enabled_setting.h"

#include <gtest/gtest.h>

#include "module/feature/testing/memory_settings.h"

namespace orn::RemoteAccess {
namespace {

using Fault = MemorySettings::Fault;
constexpr wchar_t kKey[] = L"RemoteAccess/enabled";

TEST(EnabledSetting, AsksTheStoreOnceWhateverComesOfIt) {
  for (const Fault fault : {Fault::kNone, Fault::kNoNode, Fault::kBrokenNode, Fault::kNoValue}) {
    CallList calls;
    MemorySettings store(calls);
    store.stored = true;
    store.fault = fault;
    EnabledSetting setting;
    setting.Prepare(&store, kKey, /*default_value=*/false);
    bool value = false;
    EXPECT_EQ(setting.Read(value), fault == Fault::kNone);
    store.fault = Fault::kNone;  // Too late.
    EXPECT_TRUE(setting.Read(value));
    EXPECT_EQ(value, fault == Fault::kNone);
    EXPECT_EQ(calls.Take().size(), 1u);
    EXPECT_EQ(store.held, 0);
  }
}

TEST(EnabledSetting, WritesAsFarAsTheStoreLetsItAndAlwaysRemembers) {
  CallList calls;
  MemorySettings store(calls);
  EnabledSetting setting;
  setting.Write(true);  // without a store
  setting.Prepare(&store, kKey, /*default_value=*/false);
  EXPECT_TRUE(setting.IsOn());
  for (const Fault fault : {Fault::kNoNode, Fault::kNoValue, Fault::kNone, Fault::kNone}) {
    EXPECT_FALSE(store.stored.has_value() && fault != Fault::kNone);
    store.fault = fault;
    setting.Write(!setting.IsOn());
  }
  EXPECT_EQ(store.stored, true);
  EXPECT_EQ(calls.Take(), std::vector<std::string>(4, "settings write"));
  EXPECT_EQ(store.held, 0);
}

}  // namespace
}  // namespace orn::RemoteAccess
