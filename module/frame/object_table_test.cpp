#include "module/frame/object_table.h"

#include <gtest/gtest.h>

#include <atomic>
#include <stdexcept>
#include <string>
#include <thread>
#include <vector>

#include "module/frame/object_declaration.h"
#include "module/frame/object_exports.h"

namespace {

constexpr InterfaceId kOtherId{1, 2};
constexpr InterfaceId kUnknownId{5, 6};

struct IOther {
  virtual int Answer() { return 42; }

 protected:
  ~IOther() = default;
};

std::atomic<int> alive{0};
std::atomic<int> being_made{0};
std::atomic<int> overlaps{0};

class ManyFaces : public IServPlugin, public IOther {
 public:
  ManyFaces() {
    if (being_made++ != 0) ++overlaps;
    std::this_thread::yield();
    ++alive;
    --being_made;
  }
  virtual ~ManyFaces() {
    if (being_made++ != 0) ++overlaps;
    std::this_thread::yield();
    --alive;
    --being_made;
  }
  void* GetInterface(const InterfaceId& id) override {
    if (id == IOrnBaseInterface::kInterfaceId || id == IServPlugin::kInterfaceId) {
      return static_cast<IServPlugin*>(this);
    }
    if (id == kOtherId) return static_cast<IOther*>(this);
    return nullptr;
  }
  int32_t Init(IServMain*) override { return 0; }
  void UnInit() override {}
  int32_t Start() override { return 0; }
  void Stop() override {}
};

class AnotherClass final : public ManyFaces {};

class Reentrant final : public IOrnBaseInterface {
 public:
  Reentrant() { EXPECT_EQ(orn::CreateExportedObject(L"Object", kOtherId, &inner_), 0); }
  ~Reentrant() { orn::DestroyExportedObject(L"Object", inner_); }
  void* GetInterface(const InterfaceId&) override { return this; }

 private:
  void* inner_ = nullptr;
};

class Throwing final : public IOrnBaseInterface {
 public:
  Throwing() { throw std::runtime_error("no"); }
  void* GetInterface(const InterfaceId&) override { return this; }
};

ExportedObjectDeclaration<ManyFaces> object_declaration{L"Object"};
ExportedObjectDeclaration<AnotherClass> another_declaration{L"Another"};
ExportedObjectDeclaration<Reentrant> reentrant_declaration{L"Reentrant"};
ExportedObjectDeclaration<Throwing> throwing_declaration{L"Throwing"};
ExportedSingletonDeclaration<ManyFaces> singleton_declaration{L"Singleton"};

void* Create(const wchar_t* name, const InterfaceId& id = IOrnBaseInterface::kInterfaceId) {
  void* object = &object;
  const int status = orn::CreateExportedObject(name, id, &object);
  EXPECT_EQ(status, object != nullptr ? 0 : 1168);
  return object;
}

TEST(ObjectTable, DestroysAnObjectGivenByAnyOfItsFacesAndIgnoresOtherClasses) {
  for (const InterfaceId& id :
       {IOrnBaseInterface::kInterfaceId, IServPlugin::kInterfaceId, kOtherId}) {
    void* const face = Create(L"Object", id);
    EXPECT_EQ(alive, 1);
    orn::DestroyExportedObject(L"Another", face);
    orn::DestroyExportedObject(L"object", face);
    EXPECT_EQ(alive, 1);
    orn::DestroyExportedObject(L"Object", face);
    EXPECT_EQ(alive, 0);
  }
  orn::DestroyExportedObject(L"Object", nullptr);
}

TEST(ObjectTable, FailedCreateLeavesNothingBehind) {
  EXPECT_EQ(Create(L"Object", kUnknownId), nullptr);
  EXPECT_EQ(Create(L"object"), nullptr);
  EXPECT_EQ(Create(L""), nullptr);
  EXPECT_EQ(Create(nullptr), nullptr);
  EXPECT_EQ(alive, 0);

  // The first of two declarations of one name stays.
  {
    ExportedObjectDeclaration<ManyFaces> first(L"Twice");
    ExportedSingletonDeclaration<ManyFaces> second(L"Twice");
    void* const a = Create(L"Twice");
    void* const b = Create(L"Twice");
    EXPECT_NE(a, b);
    orn::DestroyExportedObject(L"Twice", a);
    orn::DestroyExportedObject(L"Twice", b);
  }
  EXPECT_EQ(Create(L"Twice"), nullptr);
}

TEST(ObjectTable, SingletonLivesUntilAsManyHaveGivenItBack) {
  void* const first = Create(L"Singleton");
  EXPECT_EQ(Create(L"Singleton"), first);
  EXPECT_EQ(Create(L"Singleton", kUnknownId), nullptr);
  EXPECT_EQ(alive, 1);
  orn::DestroyExportedObject(L"Singleton", first);
  EXPECT_EQ(alive, 1);
  EXPECT_TRUE(singleton_declaration.HasInstance());
  void* const foreign = Create(L"Object");
  orn::DestroyExportedObject(L"Singleton", foreign);  // Counts all the same.
  EXPECT_EQ(alive, 1);
  EXPECT_FALSE(singleton_declaration.HasInstance());
  orn::DestroyExportedObject(L"Object", foreign);

  {
    ExportedSingletonDeclaration<ManyFaces> brief(L"Brief");
    orn::DestroyExportedObject(L"Brief", nullptr);  // The count is -1 now.
    orn::DestroyExportedObject(L"Brief", Create(L"Brief"));
    EXPECT_FALSE(brief.HasInstance());
    EXPECT_EQ(alive, 1);
  }
  EXPECT_EQ(alive, 0);
}

TEST(ObjectTable, ConstructorMayCreateAndMayThrow) {
  void* const outer = Create(L"Reentrant");
  EXPECT_EQ(alive, 1);
  orn::DestroyExportedObject(L"Reentrant", outer);
  EXPECT_EQ(alive, 0);

  EXPECT_THROW(Create(L"Throwing"), std::runtime_error);
  std::jthread([] { orn::DestroyExportedObject(L"Object", Create(L"Object")); }).join();
}

TEST(ObjectTable, ManyThreadsCreateAndDestroyOneAtATime) {
  {
    std::vector<std::jthread> threads;
    for (int thread = 0; thread < 6; ++thread) {
      threads.emplace_back([thread] {
        const std::wstring own = L"Own" + std::to_wstring(thread);
        for (int round = 0; round < 200; ++round) {
          ExportedObjectDeclaration<ManyFaces> declaration(own.c_str());
          for (const wchar_t* name : {L"Object", L"Singleton", own.c_str()}) {
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

TEST(TableReference, ReleaseGivesBackAllThatTheHolderTook) {
  TableReference holder;
  holder.Acquire();
  ExportedObjectTable* const table = holder.get();
  holder.Acquire();
  EXPECT_EQ(holder.get(), table);
  holder.Release();
  holder.Release();
  EXPECT_EQ(holder.get(), nullptr);
  // What the static declarations hold is untouched.
  holder.Acquire();
  EXPECT_EQ(holder.get(), table);
  orn::DestroyExportedObject(L"Object", Create(L"Object"));
}

}  // namespace
