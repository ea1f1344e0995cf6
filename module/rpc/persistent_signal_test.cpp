#include "module/rpc/persistent_signal.h"

#include <gtest/gtest.h>

#include <vector>

#include "module/rpc/testing/manual_queue.h"

namespace {

using messaging::testing::ManualQueue;
using orn::Signal::Event;
using orn::Signal::MemberFunction;
using orn::Signal::PersistentSignal;
using orn::Signal::SignalSettings;

constexpr uint32_t kMinute = 60'000;

struct Listener {
  void OnNumber(int number) { heard.push_back(number); }
  std::vector<int> heard;
};
const Event<MemberFunction<Listener, int, &Listener::OnNumber>> number_event;

// The host with the plug-in that carries names.
struct Names final : IComponentManager,
                     orn::Signal::detail::IPesistentHandlers,
                     orn::Signal::detail::IPersistedNames {
  uint32_t GetObject(const wchar_t*, const InterfaceId& id, void** object) override {
    *object = id == IPesistentHandlers::kInterfaceId
                  ? static_cast<void*>(static_cast<IPesistentHandlers*>(this))
                  : static_cast<IPersistedNames*>(this);
    return 0;
  }
  void ReleaseObject(const wchar_t*) override {}
  void Add(const char* channel, const char* id) override { Note("+", channel, id); }
  void Remove(const char* channel, const char* id) override { Note("-", channel, id); }
  void ForEach(const char*, void (*each)(const char*, void*), void* user) override {
    for (const char* const id : kept)
      each(id, user);
  }
  void Note(const char* what, const char* channel, const char* id) {
    calls += what + std::string(channel) + "/" + id;
  }

  std::vector<const char*> kept;
  std::string calls;
};

class PersistentSignalTest : public testing::Test {
 protected:
  SignalSettings Settings(size_t limit) {
    return {.queue_limit = limit, .now = [this] { return now_; }};
  }
  static auto Is(Listener& listener) {
    return [&](Listener* each) { return each == &listener; };
  }
  static std::vector<int> Range(int first, int last) {
    std::vector<int> numbers;
    for (int number = first; number <= last; ++number)
      numbers.push_back(number);
    return numbers;
  }

  ManualQueue queue_;
  Names names_;
  int64_t now_ = 1000;
  Listener first_;
  Listener second_;
};

TEST_F(PersistentSignalTest, AbsentListenerHearsTheLatestEventsInOrderWhenItReturns) {
  for (const size_t limit : {size_t{16}, size_t{0}}) {
    Listener anonymous;
    Listener named;
    Listener heir;
    PersistentSignal<Listener> signal(Settings(limit));
    signal.Persist("c", &queue_, &names_);
    EXPECT_TRUE(signal.Register(&named, "n"));
    EXPECT_TRUE(signal.Register(&anonymous, ""));
    EXPECT_TRUE(signal.Unregister(Is(named)));
    EXPECT_FALSE(signal.Unregister(Is(named)));
    for (int number = 1; number <= 17; ++number)
      signal.Invoke(number_event, number);
    EXPECT_EQ(anonymous.heard, Range(1, 17));
    EXPECT_TRUE(named.heard.empty());

    now_ += 299;
    EXPECT_TRUE(signal.Register(&heir, "n"));
    signal.Invoke(number_event, 18);  // Behind the backlog.
    EXPECT_TRUE(heir.heard.empty());
    EXPECT_EQ(queue_.RunOldest(), kMinute);  // The check finds nobody away, and is the last.
    EXPECT_EQ(queue_.RunOldest(), 0u);
    EXPECT_EQ(heir.heard, limit == 0 ? Range(1, 18) : Range(3, 18));
    signal.Invoke(number_event, 19);
    EXPECT_EQ(heir.heard.back(), 19);
    EXPECT_TRUE(signal.Unregister(Is(anonymous)));
    signal.Invoke(number_event, 20);
    EXPECT_EQ(anonymous.heard.back(), 19);
  }
  EXPECT_EQ(names_.calls, "+c/n+c/n");
}

TEST_F(PersistentSignalTest, ListenerIsGivenUpAtItsTimeAndItsEventsWithIt) {
  names_.kept = {"back", "gone"};
  PersistentSignal<Listener> signal(Settings(16));
  signal.Persist("c", &queue_, &names_);  // Both are away since now.
  now_ += 100;
  signal.Register(&first_, "n");
  signal.Unregister(Is(first_));
  signal.Invoke(number_event, 1);
  signal.Register(&second_, "back");
  now_ += 199;
  EXPECT_EQ(queue_.RunOldest(), kMinute);
  EXPECT_EQ(names_.calls, "+c/n");
  now_ += 1;
  EXPECT_EQ(queue_.RunOldest(), kMinute);
  EXPECT_EQ(names_.calls, "+c/n-c/gone");
  EXPECT_EQ(queue_.RunOldest(), 0u);
  EXPECT_EQ(second_.heard, Range(1, 1));
  now_ += 100;
  EXPECT_EQ(queue_.RunOldest(), kMinute);
  EXPECT_EQ(names_.calls, "+c/n-c/gone-c/n");
  signal.Register(&first_, "n");
  EXPECT_EQ(queue_.RunOldest(), kMinute);
  EXPECT_TRUE(queue_.queued.empty());
  EXPECT_TRUE(first_.heard.empty());
}

TEST_F(PersistentSignalTest, WithoutPersistNamesAreNotKept) {
  PersistentSignal<Listener> signal(Settings(16));
  EXPECT_FALSE(signal.Register(nullptr, "n"));
  signal.Invoke(number_event, 1);
  signal.Register(&first_, "n");
  signal.Unregister(Is(first_));
  signal.Invoke(number_event, 2);
  signal.Register(&first_, "n");
  signal.Invoke(number_event, 3);
  EXPECT_EQ(first_.heard, Range(3, 3));
}

}  // namespace
