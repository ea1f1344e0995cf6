#include <gtest/gtest.h>

#include <algorithm>
#include <set>
#include <string>
#include <utility>
#include <vector>

#include "module/feature/remote_access.h"
#include "module/frame/base64.h"
#include "module/frame/object_exports.h"
#include "module/frame/plugin_interfaces.h"
#include "module/frame/windows.h"
#include "module/platform/endpoint_integration.h"
#include "module/platform/history_translator.h"
#include "module/rpc/client_handler.h"
#include "module/terminal/host/remote_terminal_manager_interface.h"

// The library as it is shipped, loaded as its host loads it.

namespace {

class ModuleTest : public testing::Test {
 protected:
  void SetUp() override { ASSERT_NE(module_, nullptr) << GetLastError(); }
  void TearDown() override { FreeLibrary(module_); }

  template <class T>
  const T* At(uint32_t offset) const {
    return reinterpret_cast<const T*>(reinterpret_cast<const char*>(module_) + offset);
  }
  uint32_t Directory(int index) const {
    const auto* const headers = At<IMAGE_NT_HEADERS>(At<IMAGE_DOS_HEADER>(0)->e_lfanew);
    return headers->OptionalHeader.DataDirectory[index].VirtualAddress;
  }
  template <class Function>
  Function Export(const char* name) const {
    return reinterpret_cast<Function>(reinterpret_cast<void*>(GetProcAddress(module_, name)));
  }

  HMODULE module_ = LoadLibraryW(L"RemoteAccess.dll");
};

TEST_F(ModuleTest, ExportsTwoFunctionsAndNeedsOnlyWhatWindowsHas) {
  const auto* const exports = At<IMAGE_EXPORT_DIRECTORY>(Directory(IMAGE_DIRECTORY_ENTRY_EXPORT));
  std::set<std::string> names;
  for (DWORD i = 0; i < exports->NumberOfNames; ++i) {
    names.insert(At<char>(At<uint32_t>(exports->AddressOfNames)[i]));
  }
  EXPECT_EQ(names, (std::set<std::string>{"OrnCreateObject", "OrnDestroyObject"}));
  EXPECT_EQ(exports->NumberOfFunctions, 2u);

  wchar_t system[MAX_PATH];
  GetSystemDirectoryW(system, MAX_PATH);
  const auto* import = At<IMAGE_IMPORT_DESCRIPTOR>(Directory(IMAGE_DIRECTORY_ENTRY_IMPORT));
  EXPECT_NE(import->Name, 0u);
  for (; import->Name != 0; ++import) {
    const std::string name = At<char>(import->Name);
    const std::wstring path = std::wstring(system) + L'\\' + std::wstring(name.begin(), name.end());
    EXPECT_NE(GetFileAttributesW(path.c_str()), INVALID_FILE_ATTRIBUTES) << name;
  }
}

TEST_F(ModuleTest, MakesTheObjectsOfItsTableAndNoOthers) {
  const auto create = Export<OrnCreateObjectFunction>("OrnCreateObject");
  const auto destroy = Export<OrnDestroyObjectFunction>("OrnDestroyObject");
  const InterfaceId root = IOrnBaseInterface::kInterfaceId;
  void* object = nullptr;
  // A feature's objects beside what each is: what carries its calls, and what has its logic.
  const InterfaceId feature = orn::RemoteAccess::IRemoteAccess::kInterfaceId;
  const InterfaceId manager = orn::RemoteTerminal::IRemoteTerminalManager::kInterfaceId;
  const InterfaceId connection = messaging::rpc::client_handler::kInterfaceId;
  const InterfaceId agent = EnterpriseIntegration::IAgent::kInterfaceId;
  const InterfaceId translator = History::IHistoryTranslator::kInterfaceId;
  const struct {
    const wchar_t* name;
    std::vector<InterfaceId> faces;
    bool is_shared = false;
  } kTable[] = {{L"RemoteAccess.AL", {feature}},
                {L"RemoteAccess", {feature, connection}},
                {L"RemoteAccess.Server", {}},
                {L"RemoteTerminalManager", {manager, connection}},
                {L"RemoteTerminalManager.Server", {}},
                {L"RemoteTerminalManager.AL", {manager}},
                {L"RemoteAccess.Agent", {agent}, true},
                {L"RemoteAccess.Console.ActiveTaskProvider", {}, true},
                {L"RemoteAccess.Console.HistoryLogger", {}, true},
                {L"RemoteAccess.Console.HistoryTranslator", {translator}, true},
                {L"RemoteAccess.Console.TaskProvider", {}, true}};
  for (const auto& row : kTable) {
    for (const InterfaceId& face : {feature, manager, connection, agent, translator}) {
      const bool is_served = std::ranges::find(row.faces, face) != row.faces.end();
      EXPECT_EQ(create(row.name, face, &object), is_served ? 0 : 1168) << row.name;
      if (object != nullptr) destroy(row.name, object);
    }
    void* second = nullptr;
    ASSERT_EQ(create(row.name, IServPlugin::kInterfaceId, &object), 0);
    ASSERT_EQ(create(row.name, root, &second), 0);
    EXPECT_EQ(object == second, row.is_shared) << row.name;
    destroy(row.name, second);
    destroy(row.name, object);
  }
  ASSERT_EQ(create(L"Crypt.Base64", Crypt::IBase64::kInterfaceId, &object), 0);
  destroy(L"Crypt.Base64", object);
  for (const wchar_t* name :
       {L"remoteaccess.al", L"RemoteAccess.server", L"remoteaccess.agent", L""}) {
    EXPECT_EQ(create(name, root, &object), 1168);
  }
}

}  // namespace
