#include <gtest/gtest.h>

#include "host/plugins/common/fake_host.h"
#include "module/frame/exported_object.h"
#include "module/frame/utf.h"
#include "module/platform/telemetry.h"
#include "module/platform/tsr_settings.h"
#include "module/platform/veld_connector.h"
#include "module/terminal/host/remote_terminal_manager_interface.h"

namespace host {
namespace {

constexpr wchar_t kLibrary[] = L"AgentPlugins.dll";

// Loads the library as the host does.
TEST(AgentPlugins, OffersItsFourPlugInsUnderTheirNames) {
  struct {
    const wchar_t* name;
    InterfaceId face;
  } const expected[] = {
      {L"TsrSettings", ITsrSettings::kInterfaceId},
      {L"VeldConnector", VeldConnector::IConnector::kInterfaceId},
      {L"Product.Matrix", Telemetry::ITelemetry::kInterfaceId},
      {L"RemoteTerminalManager.Relay", orn::RemoteTerminal::IRemoteTerminalManager::kInterfaceId},
  };
  for (const auto& [name, face] : expected) {
    ExportedObject<IServPlugin> object;
    ASSERT_EQ(object.Load(kLibrary, name), 0u) << orn::ToUtf8(name).c_str();
    EXPECT_NE(object.get()->GetInterface(face), nullptr);
    EXPECT_NE(object.get()->GetInterface(IOrnBaseInterface::kInterfaceId), nullptr);
    EXPECT_EQ(object.get()->Init(nullptr), 5002);
  }
}

TEST(AgentPlugins, TheConnectorRefusesOptionsThatItCannotUse) {
  FakeHost host;
  ExportedObject<IServPlugin> settings;
  ASSERT_EQ(settings.Load(kLibrary, L"TsrSettings"), 0u);
  ASSERT_EQ(settings.get()->Init(&host), 0);
  host.Add(L"TsrSettings", settings.get());
  ExportedObject<IServPlugin> connector;
  ASSERT_EQ(connector.Load(kLibrary, L"VeldConnector"), 0u);
  const auto init_with = [&](const wchar_t* option, const wchar_t* value) {
    host.SetOption(L"VeldConnector", option, value);
    return connector.get()->Init(&host);
  };
  EXPECT_EQ(init_with(L"server", L"http://127.0.0.1:1"), 87);
  init_with(L"server", L"ws://127.0.0.1:1");
  EXPECT_EQ(init_with(L"keyFile", L"C:\\no such file"), 0);
  EXPECT_EQ(init_with(L"machineId", L"a b c d e f g h"), 87);
  connector.get()->UnInit();
}

}  // namespace
}  // namespace host
