#include "module/frame/exported_plugin.h"

#include <gtest/gtest.h>

#include <string>

#include "module/frame/testing/plugin_library.h"

namespace {

constexpr const wchar_t* kLibrary = L"frame_plugin_library.dll";

std::string heard;

}  // namespace

extern "C" __declspec(dllexport) void HeardFromPlugin(const char* call);
void HeardFromPlugin(const char* call) {
  heard += call;
}

namespace {

TEST(ExportedPluginTest, FailedLoadTakesBackWhatWasDoneAndThePluginThatRan) {
  ExportedPlugin<IWanted, IWanted> plugin;
  const struct {
    const wchar_t* library;
    const wchar_t* name;
    uint32_t status;
    const char* calls;
  } kCases[] = {
      {kLibrary, L"PluginWithoutFace", 0x80004002, "make Init(null) Start Stop UnInit delete "},
      {kLibrary, L"PluginWhoseInitFails", 21, "make Init(null) delete "},
      {kLibrary, L"PluginWhoseStartFails", 170, "make Init(null) Start UnInit delete "},
      {kLibrary, L"plugin", 1168, ""},
      {kLibrary, L"", 87, ""},
      {nullptr, L"Plugin", 87, ""},
      {L"absent.dll", L"Plugin", ERROR_MOD_NOT_FOUND, ""},
      {L"C:\\windows\\system32\\winmm.dll", L"Plugin", ERROR_PROC_NOT_FOUND, ""},
      // By its bare name no library is found, not even one of Windows.
      {L"winmm.dll", L"Plugin", ERROR_MOD_NOT_FOUND, ""},
  };
  for (const auto& row : kCases) {
    SCOPED_TRACE(row.calls);
    heard.clear();
    // A relative path may begin with a separator.
    ASSERT_EQ(plugin.Load(L"/frame_plugin_library.dll", L"Plugin"), 0u);
    EXPECT_EQ(plugin.Load(row.library, row.name), row.status);
    EXPECT_EQ(heard, std::string("make Init(null) Start Stop UnInit delete ") + row.calls);
    EXPECT_EQ(plugin.get(), nullptr);
    EXPECT_EQ(plugin.GetInterface(IServPlugin::kInterfaceId), nullptr);
    EXPECT_EQ(GetModuleHandleW(kLibrary), nullptr);
  }
}

}  // namespace
