#include "module/feature/remote_access_al.h"

#include "module/feature/testing/feature_in_agent.h"

namespace orn::RemoteAccess {
namespace {

using RemoteAccessALTest = FeatureInAgent;

// The manager refuses its observer in all of these: that is only logged.

TEST_F(RemoteAccessALTest, LivesThroughItsStepsInTheirOrder) {
  storage.register_result = 5;  // The storage may refuse its own, too.
  ASSERT_EQ(feature.Init(this), 0);
  ASSERT_EQ(feature.Start(), 0);
  feature.Stop();
  feature.UnInit();  // The connector is held to the end.
  EXPECT_EQ(calls.Take(),
            (Calls{"register with manager", "register with storage", "create socket manager",
                   "register controller", "unregister from manager", "unregister from storage",
                   "stop host", "delete socket manager", "release RemoteTerminalManager",
                   "release TsrSettings", "release Product.CentralizedStorage",
                   "release Product.Matrix"}));
}

TEST_F(RemoteAccessALTest, NeedsThreeOfItsPluginsAndALivingConnector) {
  EXPECT_EQ(feature.Init(nullptr), 5002);
  for (const wchar_t* name : {L"RemoteTerminalManager", L"VeldConnector", L"TsrSettings"}) {
    auto taken = plugins.extract(name);
    EXPECT_EQ(feature.Init(this), 5002);
    plugins.insert(std::move(taken));
  }
  plugins.erase(L"Product.CentralizedStorage");
  plugins.erase(L"Product.Matrix");
  ASSERT_EQ(feature.Init(this), 0);
  connector.refuses_manager = true;
  EXPECT_EQ(feature.Start(), 5002);
  connector.refuses_manager = false;
  connector.register_result = 5;
  calls.Take();
  EXPECT_EQ(feature.Start(), 5002);
  EXPECT_EQ(calls.Take(),  // Nothing is undone.
            (Calls{"register with manager", "create socket manager", "register controller"}));
  feature.Stop();
  EXPECT_EQ(calls.Take(), (Calls{"unregister from manager", "stop host", "delete socket manager"}));
}

TEST_F(RemoteAccessALTest, SwitchingOffWorksWithoutTheStore) {
  Run();
  ASSERT_EQ(Open("b") + Open("a"), 0);
  feature.SetEnabled(true);
  calls.Take();
  settings.fault = MemorySettings::Fault::kNoNode;
  EXPECT_EQ(feature.SetEnabled(false), 0u);
  EXPECT_EQ(calls.Take(), (Calls{"settings write", "destroy stream", "close a", "destroy stream",
                                 "close b", "a ended", "b ended"}));
  feature.Stop();
}

}  // namespace
}  // namespace orn::RemoteAccess
