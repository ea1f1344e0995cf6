#include "module/feature/enabled_setting.h"

#include <gtest/gtest.h>

#include "module/feature/testing/memory_settings.h"

namespace orn::RemoteAccess {
namespace {

constexpr wchar_t kKey[] = L"RemoteAccess/enabled";

TEST(EnabledSetting, AsksTheStoreOnceWhateverComesOfIt) {
  using Fault = MemorySettings::Fault;
  for (const Fault fault : {Fault::kNone, Fault::kNoNode, Fault::kBrokenNode, Fault::kNoValue}) {
    CallList calls;
    MemorySettings store(calls);
    store.stored = true;
    store.fault = fault;
    EnabledSetting setting;
    setting.Prepare(&store, kKey, false);
    bool value = fault != Fault::kNone;
    EXPECT_EQ(setting.Read(value), fault == Fault::kNone);
    EXPECT_EQ(value, fault == Fault::kNone);
    store.fault = Fault::kNone;  // Too late.
    EXPECT_TRUE(setting.Read(value));
    EXPECT_EQ(value, fault == Fault::kNone);
    EXPECT_EQ(calls.Count("settings read"), 1);
    EXPECT_EQ(store.held, 0);
  }
  {
    // A value that is not there, and no store at all.
    CallList calls;
    MemorySettings empty(calls);
    EnabledSetting setting;
    setting.Prepare(&empty, kKey, true);
    EXPECT_TRUE(setting.IsOn());
    EnabledSetting storeless;
    EXPECT_FALSE(storeless.IsOn());
    storeless.Write(true);
    EXPECT_TRUE(storeless.IsOn());
  }
}

TEST(EnabledSetting, WritesAsFarAsTheStoreLetsItAndAlwaysRemembers) {
  using Fault = MemorySettings::Fault;
  CallList calls;
  MemorySettings store(calls);
  EnabledSetting setting;
  setting.Prepare(&store, kKey, false);
  store.fault = Fault::kNoNode;
  setting.Write(true);
  EXPECT_TRUE(setting.IsOn());
  EXPECT_EQ(calls.Take(), std::vector<std::string>{"settings write"});
  store.fault = Fault::kNoValue;
  setting.Write(false);
  store.fault = Fault::kNone;
  EXPECT_FALSE(store.stored.has_value());
  setting.Write(true);
  setting.Write(true);  // Stored again, though nothing changed.
  EXPECT_EQ(store.stored, true);
  EXPECT_EQ(calls.Count("settings store"), 3);
  EXPECT_EQ(calls.Count("settings read"), 0);
  EXPECT_EQ(store.held, 0);
}

}  // namespace
}  // namespace orn::RemoteAccess
