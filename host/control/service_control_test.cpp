#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "host/testing/host_runner.h"
#include "module/frame/exported_plugin.h"
#include "module/frame/handle.h"
#include "module/platform/service_control.h"

namespace host {
namespace {

using EndpointService::IControl;
using testing::HostRunner;
using testing::Option;
using testing::TestPlugin;
using testing::Utf8;
using Control = ExportedPlugin<IControl, IControl>;

orn::UniqueHandle MakeEvent() {
  return orn::UniqueHandle(CreateEventW(nullptr, /*manualReset=*/FALSE, FALSE, nullptr));
}

// Takes the notifications one by one; with `hold` set, each waits inside for `go`.
class Observer : public IControl::IEvents {
 public:
  uint32_t OnHostStateChanged(uint32_t state) override {
    state_ = state;
    SetEvent(told_.get());
    if (hold_) WaitForSingleObject(go_.get(), INFINITE);
    left_ = true;
    return 0;
  }
  uint32_t Next() {
    WaitForSingleObject(told_.get(), INFINITE);
    return state_;
  }
  bool hold_ = false;
  std::atomic<bool> left_{false};
  const orn::UniqueHandle go_ = MakeEvent();
  const orn::UniqueHandle told_ = MakeEvent();

 private:
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
  EXPECT_EQ(control.get()->Stop(INFINITE), 0u);  // Nothing to stop.
  EXPECT_EQ(control.get()->Unregister(&observer, 0), 0u);
  EXPECT_EQ(control.get()->Unregister(&observer, 0), 1627u);
}

TEST(ServiceControl, UnregisterWaitsForARunningNotification) {
  HostRunner runner;
  runner.Configure("");
  Control control;
  LoadControl(control, runner.name());
  Observer observer;
  observer.hold_ = true;
  ASSERT_EQ(control.get()->Register(&observer, 0), 0u);
  runner.Start();
  observer.Next();
  std::thread unregistering([&] {
    EXPECT_EQ(control.get()->Unregister(&observer, 0), 0u);
    EXPECT_TRUE(observer.left_);
  });
  SetEvent(observer.go_.get());
  unregistering.join();
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

TEST(ServiceControl, OnlyNamesOfHostsNameObjects) {
  for (const wchar_t* name :
       {L"ServiceControl", L"ServiceControl::Host", L"ServiceControl::.exe",
        L"servicecontrol::Host.exe", L"ServiceControl::a\\b.exe", L"ServiceControl::a b.exe"}) {
    Control control;
    EXPECT_EQ(control.Load(L"ServiceInstance.Comm.dll", name), 1168u);
  }
  // Any face gives the object back; what is no object is left alone.
  const HMODULE library = LoadLibraryW(L"ServiceInstance.Comm.dll");
  ASSERT_NE(library, nullptr);
  const auto entry = [&](const char* name) {
    return reinterpret_cast<void*>(GetProcAddress(library, name));
  };
  const auto create = reinterpret_cast<OrnCreateObjectFunction>(entry("OrnCreateObject"));
  const auto destroy = reinterpret_cast<OrnDestroyObjectFunction>(entry("OrnDestroyObject"));
  const wchar_t* const kName = L"ServiceControl::Host.exe";
  void* object = nullptr;
  EXPECT_EQ(create(kName, InterfaceId{1, 2}, &object), 1168);
  for (const InterfaceId& id : {IServPlugin::kInterfaceId, IControl::kInterfaceId}) {
    ASSERT_EQ(create(kName, id, &object), 0);
    destroy(kName, object);
    destroy(kName, object);
  }
  destroy(kName, nullptr);
  FreeLibrary(library);
}

}  // namespace
}  // namespace host
