#include "host/service/component_manager.h"

#include <gtest/gtest.h>

#include <thread>
#include <vector>

#include "module/frame/serv_plugin.h"

namespace host {
namespace {

struct Component : IOrnBaseInterface {
  static constexpr const wchar_t* kTypeName = L"Component";
  void* GetInterface(const InterfaceId& id) override { return id == kInterfaceId ? this : nullptr; }
};

TEST(ComponentManager, CountsReferencesByNameFromManyThreads) {
  ComponentManager manager;
  Component component;
  manager.Add(L"P", &component);
  std::vector<std::thread> threads;
  for (int t = 0; t < 4; ++t) {
    threads.emplace_back([&] {
      for (int i = 0; i < 1000; ++i) {
        ServPlugin<Component> plugin{L"P"};
        EXPECT_EQ(plugin.GetPlugin(&manager), &component);
        void* none = &component;
        // A failed fetch leaves no reference behind.
        EXPECT_EQ(manager.GetObject(L"P", InterfaceId{}, &none), 1168u);
        EXPECT_EQ(none, nullptr);
      }
      void* kept = nullptr;
      EXPECT_EQ(manager.GetObject(L"P", IOrnBaseInterface::kInterfaceId, &kept), 0u);
    });
  }
  for (std::thread& thread : threads)
    thread.join();
  EXPECT_EQ(manager.Remove(L"P"), 4u);

  void* object = &component;
  EXPECT_EQ(manager.GetObject(L"P", IOrnBaseInterface::kInterfaceId, &object), 1168u);
  EXPECT_EQ(object, nullptr);
  // Giving back too much, or what is gone, does no harm.
  manager.ReleaseObject(L"P");
  manager.Add(L"P", &component);
  manager.ReleaseObject(L"P");
  EXPECT_EQ(manager.Remove(L"P"), 0u);
}

}  // namespace
}  // namespace host
