#pragma once

#include <type_traits>
#include <utility>

// One call of a listener's interface, now or later:
//
//   using Connected = MemberFunction<notifications, int, &notifications::on_server_connected>;
//   Event<Connected> connected_;
//   ...
//   signal_.Invoke(connected_, pid);

namespace orn::Signal {

// The operation `member` of `T`, with one argument of type `A`.
template <class T, class A, void (T::*member)(A)>
struct MemberFunction {
  using Interface = T;
  using Argument = A;
  using Member = void (T::*)(A);
  static constexpr Member kMember = member;
};

// Names an operation to PersistentSignal::Invoke.
template <class Function>
struct Event {
  typename Function::Member GetMember() const noexcept { return Function::kMember; }
};

// A call that is kept for listeners on `T` that are away; all of them share it.
template <class T>
class IDelayedEvent {
 public:
  virtual void Deliver(T* handler) = 0;
  virtual ~IDelayedEvent() = default;

 private:
  [[maybe_unused]] const char marker_[10] = "sg.DEvent";  // Tells the object in a memory dump.
};

template <class M, class A>
class DelayedEvent;

template <class T, class P, class A>
class DelayedEvent<void (T::*)(P), A> final : public IDelayedEvent<T> {
 public:
  using Member = void (T::*)(P);

  DelayedEvent(Member member, A argument) : member_(member), argument_(std::move(argument)) {}

  void Deliver(T* handler) override { (handler->*member_)(argument_); }

 private:
  const Member member_;
  const A argument_;
};

}  // namespace orn::Signal
