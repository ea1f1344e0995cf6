#include "module/frame/object_table.h"

#include <gtest/gtest.h>

#include <atomic>
#include <string>
#include <thread>
#include <vector>

#include "module/frame/object_declaration.h"
#include "module/frame/object_exports.h"

namespace {

constexpr InterfaceId kOtherId{1, 2};
constexpr InterfaceId kUnknownId{5, 6};

struct IOther {
  virtual void Answer() {}

 protected:
  ~IOther() = default;
};

std::atomic<int> alive{0};
std::atomic<int> being_made{0};
std::atomic<int> overlaps{0};

class ManyFaces : public IOrnBaseInterface, public IOther {
 public:
  ManyFaces() { Change(+1); }
  virtual ~ManyFaces() { Change(-1); }
  void* GetInterface(const InterfaceId& id) override {
    if (id == IOrnBaseInterface::kInterfaceId) return static_cast<IOrnBaseInterface*>(this);
    if (id == kOtherId) return static_cast<IOther*>(this);
    return nullptr;
  }

 private:
  static void Change(int by) {
    if (being_made++ != 0) ++overlaps;
    std::this_thread::yield();
    alive += by;
    --being_made;
  }
};

class Reentrant final : public IOrnBaseInterface {
 public:
  Reentrant() { EXPECT_EQ(orn::CreateExportedObject(L"Object", kOtherId, &inner_), 0); }
  ~Reentrant() { orn::DestroyExportedObject(L"Object", inner_); }
  void* GetInterface(const InterfaceId&) override { return this; }

 private:
  void* inner_ = nullptr;
};

ExportedObjectDeclaration<ManyFaces> object_declaration{L"Object"};
ExportedObjectDeclaration<Reentrant> reentrant_declaration{L"Reentrant"};
ExportedSingletonDeclaration<ManyFaces> singleton_declaration{L"Singleton"};

void* Create(const wchar_t* name, const InterfaceId& id = IOrnBaseInterface::kInterfaceId) {
  void* object = &object;
  const int status = orn::CreateExportedObject(name, id, &object);
  EXPECT_EQ(status, object != nullptr ? 0 : 1168);
  return object;
}

TEST(ObjectTable, SingletonLivesUntilAsManyHaveGivenItBack) {
  {
    ExportedSingletonDeclaration<ManyFaces> singleton(L"Brief");
    ExportedObjectDeclaration<ManyFaces> second_of_its_name(L"Brief");
    void* const first = Create(L"Brief");
    EXPECT_EQ(Create(L"Brief"), first);
    EXPECT_EQ(Create(L"Brief", kUnknownId), nullptr);
    orn::DestroyExportedObject(L"Brief", first);
    EXPECT_TRUE(singleton.HasInstance());
    EXPECT_EQ(alive, 1);
    orn::DestroyExportedObject(L"Brief", &singleton);  // Counts all the same.
    EXPECT_EQ(alive, 0);

    orn::DestroyExportedObject(L"Brief", nullptr);  // The count is -1 now.
    orn::DestroyExportedObject(L"Brief", Create(L"Brief"));
    EXPECT_FALSE(singleton.HasInstance());
    EXPECT_EQ(alive, 1);
  }
  EXPECT_EQ(alive, 0);
}

TEST(ObjectTable, ManyThreadsCreateAndDestroyOneAtATime) {
  {
    std::vector<std::jthread> threads;
    for (int thread = 0; thread < 6; ++thread) {
      threads.emplace_back([thread] {
        const std::wstring own = L"Own" + std::to_wstring(thread);
        for (int round = 0; round < 200; ++round) {
          TableReference twice;
          twice.Acquire();
          twice.Acquire();
          twice.Release();
          twice.Release();
          ExportedObjectDeclaration<ManyFaces> declaration(own.c_str());
          for (const wchar_t* name : {L"Reentrant", L"Singleton", own.c_str()}) {
            void* const object = Create(name);
            ASSERT_NE(object, nullptr);
            orn::DestroyExportedObject(name, object);
          }
        }
      });
    }
  }
  EXPECT_EQ(overlaps, 0);
  EXPECT_EQ(alive, 0);
}

}  // namespace
