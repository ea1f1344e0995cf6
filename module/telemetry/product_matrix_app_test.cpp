#include "module/telemetry/product_matrix_app.h"

#include <gtest/gtest.h>

#include <vector>

namespace orn::RemoteAccess::ProductMatrix {
namespace {

class CollectedTelemetry final : public Telemetry::ITelemetry, public IComponentManager {
 public:
  std::vector<Json::Value> events;
  int held = 0;

  uint32_t Send(const Json::Value& event, uint32_t options) override {
    EXPECT_EQ(options, 0u);
    events.push_back(event);
    return 5;
  }
  uint32_t GetObject(const wchar_t* name, const InterfaceId& id, void** object) override {
    EXPECT_STREQ(name, L"Product.Matrix");
    EXPECT_EQ(id, ParseInterfaceId("{872DA2C0-CDA8-4CEF-8348-02768709E306}"));
    *object = static_cast<Telemetry::ITelemetry*>(this);
    ++held;
    return 0;
  }
  void ReleaseObject(const wchar_t*) override { --held; }
};

TEST(ProductMatrixApp, TellsHowEachToolEnded) {
  CollectedTelemetry telemetry;
  ProductMatrixApp app;
  app.ProcessToolRanEventForOpenTerminal(0);  // Nobody hears it, nothing happens.
  app.Init(&telemetry);

  const std::pair<int32_t, const char*> reasons[] = {{1260, "FeatureDisabled"},
                                                     {1232, "HostIsStopped"},
                                                     {1627, "TerminalStartFailed"},
                                                     {1229, "InvalidStreamConnection"},
                                                     {6, "InvalidTerminalConnection"},
                                                     {87, "InvalidParameters"},
                                                     {0, "success"},
                                                     {-1, "-1"}};
  for (const auto& [status, reason] : reasons) {
    app.ProcessToolRanEventForOpenTerminal(status);
    Json::Value expected;
    expected["event_name"] = "m_tool_ran";
    expected["event_version"] = "1.0";
    expected["tool"] = "RemoteAccess.OpenTerminal";
    expected["exit_code"] = status;
    expected["exit_reason"] = reason;
    EXPECT_EQ(telemetry.events.back(), expected);
  }
  app.ProcessToolRanEventForDownload("gone", 2);
  EXPECT_EQ(telemetry.events.back()["tool"], "RemoteAccess.Download");
  app.ProcessToolRanEventForUpload("full", 8);
  EXPECT_EQ(telemetry.events.back()["exit_reason"], "full");
  EXPECT_EQ(telemetry.events.size(), 10u);

  app.UnInit();
  EXPECT_EQ(telemetry.held, 0);
}

}  // namespace
}  // namespace orn::RemoteAccess::ProductMatrix
