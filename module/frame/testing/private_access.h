#pragma once

#include <mutex>
#include <thread>

// For tests only: reads private members where only the inside of a class tells that a thread has
// gone to sleep. Stands outside of all namespaces, where an
// explicit instantiation may name what is private:
//
//   REVEAL(Waiting, CSyncRWLock, uint32_t, waiting_writers_);
//   ... Private<Waiting>(lock) == 1
#define REVEAL(name, owner, type, member)      \
  struct name : PrivateMember<owner, type> {}; \
  template struct Reveal<name, &owner::member>

template <class Class, class Member>
struct PrivateMember {
  using Pointer = Member Class::*;
};

template <class Tag>
struct Revealed {
  static inline typename Tag::Pointer pointer = nullptr;
};

template <class Tag, typename Tag::Pointer kPointer>
struct Reveal {
  static inline const bool revealed = (Revealed<Tag>::pointer = kPointer, true);
};

template <class Tag, class Class>
auto& Private(Class& object) {
  return object.*Revealed<Tag>::pointer;
}

// Returns when `reached` holds, looked at under the object's own mutex.
template <class Mutex, class Class, class Predicate>
void AwaitInside(Class& object, Predicate reached) {
  for (;; std::this_thread::yield()) {
    const std::lock_guard guard(Private<Mutex>(object));
    if (reached()) return;
  }
}
