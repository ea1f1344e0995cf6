#include <gtest/gtest.h>

#include <atomic>
#include <string>

#include "host/testing/host_runner.h"
#include "module/frame/exported_plugin.h"
#include "module/frame/testing/semaphore.h"
#include "module/platform/service_control.h"

namespace host {
namespace {

using EndpointService::IControl;
using testing::HostRunner;
using testing::Option;
using testing::TestPlugin;
using testing::Utf8;
using Control = ExportedPlugin<IControl, IControl>;

// Takes the notifications one by one.
class Observer : public IControl::IEvents {
 public:
  uint32_t OnHostStateChanged(uint32_t state) override {
    state_ = state;
    told_.Release();
    return 0;
  }
  uint32_t Next() {
    told_.Acquire();
    return state_;
  }

 private:
  Semaphore told_;
  std::atomic<uint32_t> state_{99};
};

void LoadControl(Control& control, const std::wstring& host) {
  ASSERT_EQ(
      control.Load(L"ServiceInstance.Comm.dll", (L"ServiceControl::" + host + L".exe").c_str()),
      0u);
}

bool IsRunning(Control& control) {
  uint32_t running = 99;
  EXPECT_EQ(control.get()->IsRunning(&running), 0u);
  return running != 0;
}

TEST(ServiceControl, TellsOfEachStartAndEndOfAHostHoweverItEnds) {
  HostRunner runner;
  runner.Configure("");
  Control control;
  LoadControl(control, runner.name());
  Observer observer;
  EXPECT_FALSE(IsRunning(control));
  ASSERT_EQ(control.get()->Register(&observer, 0), 0u);
  EXPECT_EQ(control.get()->Register(&observer, 0), 1627u);

  for (const bool killed : {false, true, false}) {
    runner.Start();
    EXPECT_EQ(observer.Next(), IControl::kRunning);
    EXPECT_TRUE(IsRunning(control));
    if (killed) {
      runner.Kill();
    } else {
      EXPECT_EQ(control.get()->Stop(INFINITE), 0u);
      EXPECT_EQ(runner.Wait(), 0u);
    }
    EXPECT_EQ(observer.Next(), IControl::kStopped);
    EXPECT_FALSE(IsRunning(control));
  }
  EXPECT_EQ(control.get()->Unregister(&observer, 0), 0u);
  EXPECT_EQ(control.get()->Unregister(&observer, 0), 1627u);
}

TEST(ServiceControl, AHostThatDoesNotStopInTimeIsATimeOutAndOneOfTheOwnProcessIsLeftAlone) {
  HostRunner runner;
  const std::string own = Utf8(runner.name());
  runner.Configure(TestPlugin("A", Option("stopHost", own)) + TestPlugin("B", Option("hang", "")));
  runner.Start();
  EXPECT_NE(runner.ReadUntil("is running").find("A.stopHost 0 running"), std::string::npos);
  Control control;
  LoadControl(control, runner.name());
  EXPECT_EQ(control.get()->Stop(/*timeout=*/50), 1460u);
  runner.ReadUntil("B.Stop");  // It was asked all the same.
  EXPECT_TRUE(IsRunning(control));
}

}  // namespace
}  // namespace host
