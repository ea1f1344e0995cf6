#pragma once

#include <new>

#include "module/frame/observers.h"
#include "module/frame/scope_guard.h"

// Firing of one operation of the subscribers' interface:
//
//   SynchronyzedObjectContainer<IStateEvent*> observers_;
//   Event<MemberFunction_1_args<IStateEvent, int, const TerminalSessionState&,
//                               &IStateEvent::OnTerminalSessionStateChanged>>
//       state_changed_{observers_};
//   ...
//   state_changed_.Fire(state);

// The operation `member` of `I`, with one argument of type `A` and a result of type `R`.
template <class I, class R, class A, R (I::*member)(A)>
struct MemberFunction_1_args {
  using Interface = I;
  using Argument = A;
  using Member = R (I::*)(A);
  static constexpr Member kMember = member;
};

template <class Function>
class Event {
 public:
  using Interface = typename Function::Interface;
  using Argument = typename Function::Argument;
  using Member = typename Function::Member;

  // Where an iteration stands.
  struct Context {
    Interface* const* next;
    Interface* const* end;
  };

  explicit Event(SynchronyzedObjectContainer<Interface*>& subscribers) noexcept
      : subscribers_(&subscribers) {}

  // Calls the operation on every subscriber, on this thread, with the container's read lock held
  // throughout; results are ignored. Any thread, several at once. A subscriber may fire events of
  // the same container in turn. Without memory nobody is told.
  void Fire(Argument argument) {
    Context* context = nullptr;
    Begin(context);
    const orn::ScopeGuard end([&] { End(context); });
    Interface* target = nullptr;
    Member member = nullptr;
    while (Next(context, target, member))
      (target->*member)(argument);
  }

  // The steps of a firing. The order of these operations is binary contract.
  //
  // Locks the container for reading, whatever comes of `context`; End undoes it on the same thread.
  // Returns true.
  virtual bool Begin(Context*& context) {
    context = new (std::nothrow) Context{};
    subscribers_->LockRead(0);
    if (context != nullptr) {
      const auto& all = subscribers_->subscribers();
      *context = {all.data(), all.data() + all.size()};
    }
    return true;
  }

  // Gives the next subscriber and what to call on it; false at the end, and for a null `context`.
  virtual bool Next(Context*& context, Interface*& target, Member& member) {
    if (context == nullptr || context->next == context->end) return false;
    target = *context->next++;
    member = GetMember();
    return true;
  }

  virtual void End(Context*& context) {
    subscribers_->UnlockRead(0);
    delete context;
    context = nullptr;
  }

  virtual Member GetMember() const { return Function::kMember; }

 private:
  SynchronyzedObjectContainer<Interface*>* subscribers_;  // Not owned.
};
