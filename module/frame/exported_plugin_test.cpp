#include "module/frame/exported_plugin.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <string>

#include "module/frame/testing/plugin_library.h"

namespace {

constexpr const wchar_t* kLibrary = L"frame_plugin_library.dll";

std::string heard;

std::wstring SystemLibrary(const wchar_t* name) {
  wchar_t folder[MAX_PATH];
  return std::wstring(folder, GetSystemDirectoryW(folder, MAX_PATH)) + L"\\" + name;
}

}  // namespace

extern "C" __declspec(dllexport) void HeardFromPlugin(const char* call);
void HeardFromPlugin(const char* call) {
  heard += call;
}

namespace {

class ExportedPluginTest : public testing::Test {
 protected:
  ExportedPluginTest() { heard.clear(); }

  ExportedPlugin<ILoadsFurther, ILoadsFurther> plugin_;
};

TEST_F(ExportedPluginTest, RunsThePluginAndEndsItBeforeTheNext) {
  EXPECT_EQ(plugin_.Load(kLibrary, L"Plugin"), 0u);
  EXPECT_NE(plugin_.get(), nullptr);
  EXPECT_NE(plugin_.GetInterface(IServPlugin::kInterfaceId), nullptr);
  EXPECT_EQ(heard, "make Init(null) Start ");

  class Host final : public IServMain {
    IComponentManager* GetComponentManager() override { return nullptr; }
  } host;
  heard.clear();
  EXPECT_EQ(plugin_.Load(L"/frame_plugin_library.dll", L"Plugin", &host), 0u);
  EXPECT_EQ(heard, "Stop UnInit delete make Init Start ");

  heard.clear();
  plugin_.Unload();
  EXPECT_EQ(plugin_.get(), nullptr);
  EXPECT_EQ(plugin_.GetInterface(IServPlugin::kInterfaceId), nullptr);
  EXPECT_EQ(GetModuleHandleW(kLibrary), nullptr);
  plugin_.Unload();
  EXPECT_EQ(heard, "Stop UnInit delete ");
}

TEST_F(ExportedPluginTest, FailedLoadTakesBackWhatWasDone) {
  const std::wstring without_exports = SystemLibrary(L"winmm.dll");
  const struct {
    const wchar_t* library;
    const wchar_t* name;
    uint32_t status;
    const char* calls;
  } kCases[] = {
      {kLibrary, L"PluginWithoutFace", 0x80004002, "make Init(null) Start Stop UnInit delete "},
      {kLibrary, L"PluginWhoseInitFails", 21, "make Init(null) delete "},
      {kLibrary, L"PluginWhoseStartFails", 170, "make Init(null) Start UnInit delete "},
      {kLibrary, L"NoPlugin", 632, "make delete "},
      {kLibrary, L"plugin", 1168, ""},
      {kLibrary, L"", 87, ""},
      {kLibrary, nullptr, 87, ""},
      {L"", L"Plugin", 87, ""},
      {nullptr, L"Plugin", 87, ""},
      {L"absent.dll", L"Plugin", ERROR_MOD_NOT_FOUND, ""},
      {without_exports.c_str(), L"Plugin", ERROR_PROC_NOT_FOUND, ""},
      // By its bare name no library is found, not even one of Windows.
      {L"winmm.dll", L"Plugin", ERROR_MOD_NOT_FOUND, ""},
  };
  for (const auto& row : kCases) {
    SCOPED_TRACE(row.calls);
    ASSERT_EQ(plugin_.Load(kLibrary, L"Plugin"), 0u);
    heard.clear();
    EXPECT_EQ(plugin_.Load(row.library, row.name), row.status);
    EXPECT_EQ(heard, std::string("Stop UnInit delete ") + row.calls);
    EXPECT_EQ(plugin_.get(), nullptr);
    EXPECT_EQ(GetModuleHandleW(kLibrary), nullptr);
  }
}

TEST_F(ExportedPluginTest, LibraryThatIsOnlyBesideTheLoadingModuleIsFound) {
  wchar_t program[MAX_PATH];
  GetModuleFileNameW(nullptr, program, MAX_PATH);
  const auto library = std::filesystem::path(program).parent_path() / kLibrary;
  const auto folder = std::filesystem::temp_directory_path() /
                      (L"exported_plugin_test." + std::to_wstring(GetCurrentProcessId()));
  std::filesystem::create_directory(folder);
  std::filesystem::copy_file(library, folder / L"outer.dll");
  std::filesystem::copy_file(library, folder / L"inner.dll");

  ASSERT_EQ(plugin_.Load((folder / L"outer.dll").c_str(), L"Plugin"), 0u);
  EXPECT_EQ(plugin_.get()->LoadFurther(L"inner.dll", L"Plugin"), 0u);
  plugin_.Unload();
  EXPECT_NE(plugin_.Load(L"inner.dll", L"Plugin"), 0u);
  std::filesystem::remove_all(folder);
}

}  // namespace
