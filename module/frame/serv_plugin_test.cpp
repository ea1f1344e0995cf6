#include "module/frame/serv_plugin.h"

#include <gtest/gtest.h>

#include <string>

#include "module/frame/serv_multi_plugin.h"

namespace {

struct IWanted {
  static constexpr InterfaceId kInterfaceId{7, 8};
  static constexpr const wchar_t* kTypeName = L"IWanted";
};

class Plugin final : public IOrnBaseInterface {
 public:
  void* GetInterface(const InterfaceId& id) override {
    return id == IWanted::kInterfaceId && serves_wanted ? &wanted : nullptr;
  }
  IWanted wanted;
  bool serves_wanted = true;
};

// A host that writes down what it was asked for.
class Host final : public IServMain, public IComponentManager {
 public:
  IComponentManager* GetComponentManager() override { return this; }
  uint32_t GetObject(const wchar_t* name, const InterfaceId& id, void** object) override {
    calls += L"get " + std::wstring(name) + L"; ";
    *object = nullptr;
    if (status != 0 || !has_object) return status;
    if (id == IOrnBaseInterface::kInterfaceId) {
      *object = static_cast<IOrnBaseInterface*>(&plugin);
    } else {
      *object = plugin.GetInterface(id);
    }
    return 0;
  }
  void ReleaseObject(const wchar_t* name) override {
    calls += L"release " + std::wstring(name) + L"; ";
  }

  Plugin plugin;
  uint32_t status = 0;
  bool has_object = true;
  std::wstring calls;
};

TEST(ServPlugin, GivesTheOldReferenceBackBeforeItAsksAnew) {
  Host host;
  {
    ServPlugin<IWanted> plugin(L"P");
    EXPECT_EQ(plugin.GetPlugin(&host), &host.plugin.wanted);
    EXPECT_EQ(plugin.GetPlugin(&host), &host.plugin.wanted);
    host.status = 5;
    EXPECT_EQ(plugin.GetPlugin(&host), nullptr);
    EXPECT_FALSE(plugin);
    host.status = 0;
    EXPECT_NE(plugin.GetPlugin(&host), nullptr);
    EXPECT_EQ(plugin.GetPlugin(nullptr), nullptr);
    EXPECT_FALSE(plugin);
    plugin.Release();
    EXPECT_NE(plugin.GetPlugin(&host), nullptr);
  }
  EXPECT_EQ(host.calls,
            L"get P; release P; get P; release P; get P; get P; release P; get P; release P; ");
}

TEST(ServMultiPlugin, FetchesInTwoStepsAndKeepsNothingOnFailure) {
  Host host;
  {
    ServMultiPlugin<IWanted> plugin(L"M");
    EXPECT_EQ(plugin.GetPlugin(nullptr), 87u);
    EXPECT_EQ(plugin.GetPlugin(&host), 0u);
    EXPECT_EQ(plugin.get(), &host.plugin.wanted);
    host.plugin.serves_wanted = false;
    EXPECT_EQ(plugin.GetPlugin(&host), 1168u);
    EXPECT_FALSE(plugin);
    host.status = 5;
    EXPECT_EQ(plugin.GetPlugin(&host), 5u);
    host.status = 0;
    host.has_object = false;
    EXPECT_EQ(plugin.GetPlugin(&host), 0u);
    EXPECT_FALSE(plugin);
  }
  EXPECT_EQ(host.calls, L"get M; release M; get M; release M; get M; get M; ");
}

}  // namespace
