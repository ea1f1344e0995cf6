#pragma once

#include <algorithm>
#include <compare>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <functional>
#include <limits>
#include <new>
#include <string>
#include <string_view>
#include <utility>

// The string of this code base: one pointer wide, growing by a fixed policy, and guarded against
// memory corruption.
//
//   orn::StringT<wchar_t> name(L"RemoteAccess");
//   name += L".AL";
//   Register(name.c_str());
//
//   orn::StringT<wchar_t> text;                    // a C function writes the text
//   text.reserve(GetWindowTextLengthW(window));
//   GetWindowTextW(window, text.data(), static_cast<int>(text.capacity()) + 1);
//   text.UpdateLength();
//
// A null `const CharT*` is the empty text everywhere. A string has no lock: threads copy it, they
// do not share it. Exhausted memory and a damaged guard end the process; callers test for neither.

namespace orn {

// Ends the process at once. Neither a catch clause nor an exception handler sees it.
[[noreturn]] void FatalError() noexcept;

// Where the blocks of strings come from. The order of the operations is binary contract.
class IMemMgr {
 public:
  // Null when memory is exhausted.
  virtual void* Allocate(size_t size) = 0;
  // Null when it cannot; the old block stays as it is then.
  virtual void* Reallocate(void* block, size_t size) = 0;
  virtual void Free(void* block) = 0;
  // Called after each Free.
  virtual void Released() = 0;

 protected:
  ~IMemMgr() = default;
};

// The heap of the C runtime. Has no state; any thread.
class StringMemMgr final : public IMemMgr {
 public:
  static StringMemMgr& Instance() noexcept;

  void* Allocate(size_t size) override;
  void* Reallocate(void* block, size_t size) override;
  void Free(void* block) override;
  void Released() override;
};

// What a string needs to know of its characters.
template <class CharT>
struct ChTraitsCRT {
  static size_t Length(const CharT* text) noexcept {
    return text == nullptr ? 0 : std::char_traits<CharT>::length(text);
  }
  // The ranges may overlap.
  static void Move(CharT* to, const CharT* from, size_t length) noexcept {
    if (length != 0) std::memmove(to, from, length * sizeof(CharT));
  }
};

namespace detail {

struct StringControl {
  IMemMgr* manager;
  uint64_t length;    // characters in use
  uint64_t capacity;  // characters that fit, without the terminator
  uint64_t grow_by;   // least growth step
  bool buffer_on_heap;
  bool control_on_heap;
};

inline constexpr uint32_t kStringGuard = 0xABCD;
inline constexpr uint64_t kStringGrowBy = 64;

// In front of the characters stand a guard, the pointer to the control record and another guard,
// packed; a third guard stands right behind the terminator's slot.
inline constexpr size_t kStringControlOffset = sizeof(kStringGuard);
inline constexpr size_t kStringHeaderSize = sizeof(kStringGuard) + 8 + sizeof(kStringGuard);
static_assert(sizeof(StringControl*) == 8, "the layout of a block is that of 64-bit programs");

template <class CharT>
constexpr size_t StringBlockSize(size_t capacity) {
  return kStringHeaderSize + (capacity + 1) * sizeof(CharT) + sizeof(kStringGuard);
}

}  // namespace detail

template <class CharT, class MemMgr = StringMemMgr, class Traits = ChTraitsCRT<CharT>,
          int kLayout = 1>
class StringT {
 public:
  using View = std::basic_string_view<CharT>;

  StringT() noexcept = default;
  StringT(const CharT* text) { Assign(View(text, Traits::Length(text))); }  // Implicit on purpose.
  StringT(const CharT* text, size_t length) { Assign(View(text, length)); }
  explicit StringT(View text) { Assign(text); }
  StringT(const StringT& other) {
    other.CheckGuards();
    Assign(other.view());
  }
  // Leaves `other` empty.
  StringT(StringT&& other) noexcept { MoveFrom(other); }
  ~StringT() { Release(); }

  StringT& operator=(const StringT& other) {
    other.CheckGuards();
    return Assign(other.view());
  }
  StringT& operator=(StringT&& other) noexcept {
    if (this != &other) MoveFrom(other);
    return *this;
  }
  StringT& operator=(const CharT* text) { return Assign(View(text, Traits::Length(text))); }
  StringT& operator=(View text) { return Assign(text); }

  // Zero-terminated, never null.
  const CharT* c_str() const noexcept { return data_ == nullptr ? &kEmpty : data_; }
  // The buffer of capacity() + 1 characters; null when nothing was ever reserved. Whoever changes
  // the text's length in it calls UpdateLength.
  CharT* data() noexcept { return data_; }
  size_t length() const noexcept { return data_ == nullptr ? 0 : control().length; }
  size_t capacity() const noexcept { return data_ == nullptr ? 0 : control().capacity; }
  bool empty() const noexcept { return length() == 0; }
  // Valid until the string changes.
  View view() const noexcept { return View(c_str(), length()); }

  // Makes room for `capacity` characters; never shrinks, but cuts a longer text to that length.
  void reserve(size_t capacity) {
    CheckGuards();
    Grow(capacity);
    if (capacity < length()) SetLength(capacity);
  }

  // `text` may lie in this string.
  StringT& append(View text);
  StringT& append(const CharT* text) { return append(View(text, Traits::Length(text))); }
  StringT& append(const StringT& text) { return append(text.view()); }
  StringT& operator+=(View text) { return append(text); }
  StringT& operator+=(const CharT* text) { return append(text); }
  StringT& operator+=(const StringT& text) { return append(text.view()); }
  StringT& operator+=(CharT c) { return append(View(&c, 1)); }

  // Keeps the buffer.
  void clear() noexcept {
    if (data_ != nullptr) SetLength(0);
  }

  // Takes the length from the terminator that a C function wrote into data().
  void UpdateLength() noexcept {
    if (data_ != nullptr) SetLength(View(data_, capacity() + 1).find(CharT{}));
  }

  // The same where the length is known; a zero may lie in the text then.
  void UpdateLength(size_t length) noexcept {
    if (data_ != nullptr) SetLength(length);
  }

  // By code units.
  friend bool operator==(const StringT& a, const StringT& b) noexcept {
    return a.view() == b.view();
  }
  friend bool operator==(const StringT& a, View b) noexcept { return a.view() == b; }
  friend bool operator==(const StringT& a, const CharT* b) noexcept {
    return a.view() == View(b, Traits::Length(b));
  }
  friend std::strong_ordering operator<=>(const StringT& a, const StringT& b) noexcept {
    return a.view() <=> b.view();
  }
  friend std::strong_ordering operator<=>(const StringT& a, View b) noexcept {
    return a.view() <=> b;
  }
  friend std::strong_ordering operator<=>(const StringT& a, const CharT* b) noexcept {
    return a.view() <=> View(b, Traits::Length(b));
  }

 protected:
  // For a string that brings its own storage, called first in its constructor: `control` and a
  // block of StringBlockSize(capacity) bytes, aligned for a pointer. Both must live until Release.
  void UseStorage(detail::StringControl& control, void* block, size_t capacity) noexcept {
    control = {.manager = &MemMgr::Instance(),
               .length = 0,
               .capacity = capacity,
               .grow_by = detail::kStringGrowBy,
               .buffer_on_heap = false,
               .control_on_heap = false};
    UseBlock(block, control);
    SetLength(0);
  }

  // Gives everything back; the string is empty and has no storage then.
  void Release() noexcept;

 private:
  static constexpr CharT kEmpty{};
  static constexpr size_t kMaxCapacity = std::numeric_limits<size_t>::max() / 4 / sizeof(CharT);

  detail::StringControl& control() const noexcept {
    detail::StringControl* control;
    std::memcpy(&control, Block() + detail::kStringControlOffset, sizeof(control));
    return *control;
  }
  std::byte* Block() const noexcept {
    return reinterpret_cast<std::byte*>(data_) - detail::kStringHeaderSize;
  }

  // Ends the process if a guard is damaged.
  void CheckGuards() const noexcept;
  // Writes control pointer and guards into `block` and makes it the string's.
  void UseBlock(void* block, detail::StringControl& control) noexcept;
  void SetLength(size_t length) noexcept;
  // Makes room for `need` characters and keeps the text.
  void Grow(size_t need);
  void MoveToLargerBlock(size_t capacity);
  StringT& Assign(View text);
  void MoveFrom(StringT& other) noexcept;
  bool OwnsAllItsMemory() const noexcept {
    return control().buffer_on_heap && control().control_on_heap;
  }

  CharT* data_ = nullptr;  // All there is: the rest stands around the characters.
};

// Orders keys as _mbscmp does: by unsigned bytes, up to the first zero.
struct MbsLess {
  bool operator()(const StringT<char>& a, const StringT<char>& b) const noexcept;
};

// ---------------------------------------------------------------------------------------------

template <class CharT, class MemMgr, class Traits, int kLayout>
void StringT<CharT, MemMgr, Traits, kLayout>::CheckGuards() const noexcept {
  if (data_ == nullptr) return;
  const auto is_whole = [](const void* at) {
    return std::memcmp(at, &detail::kStringGuard, sizeof(detail::kStringGuard)) == 0;
  };
  // The ones in front go first: the capacity is read through the pointer between them.
  if (!is_whole(Block()) ||
      !is_whole(Block() + detail::kStringHeaderSize - sizeof(detail::kStringGuard)) ||
      !is_whole(data_ + control().capacity + 1)) {
    FatalError();
  }
}

template <class CharT, class MemMgr, class Traits, int kLayout>
void StringT<CharT, MemMgr, Traits, kLayout>::UseBlock(void* block,
                                                       detail::StringControl& control) noexcept {
  auto* const bytes = static_cast<std::byte*>(block);
  const auto put_guard = [](void* at) {
    std::memcpy(at, &detail::kStringGuard, sizeof(detail::kStringGuard));
  };
  const detail::StringControl* const pointer = &control;
  put_guard(bytes);
  std::memcpy(bytes + detail::kStringControlOffset, &pointer, sizeof(pointer));
  put_guard(bytes + detail::kStringHeaderSize - sizeof(detail::kStringGuard));
  data_ = reinterpret_cast<CharT*>(bytes + detail::kStringHeaderSize);
  put_guard(data_ + control.capacity + 1);
}

template <class CharT, class MemMgr, class Traits, int kLayout>
void StringT<CharT, MemMgr, Traits, kLayout>::SetLength(size_t length) noexcept {
  // Not found by UpdateLength: even the terminator's slot was written over.
  if (length > capacity()) length = capacity();
  data_[length] = CharT{};
  control().length = length;
  CheckGuards();
}

template <class CharT, class MemMgr, class Traits, int kLayout>
void StringT<CharT, MemMgr, Traits, kLayout>::Grow(size_t need) {
  const size_t capacity = this->capacity();
  if (data_ != nullptr && need <= capacity) return;
  if (need > kMaxCapacity) FatalError();
  const size_t grow_by = data_ == nullptr ? detail::kStringGrowBy : control().grow_by;
  const size_t extra = std::max<size_t>(need - capacity, grow_by);
  MoveToLargerBlock(capacity + std::max<size_t>(extra, capacity < 1024 ? capacity : 1024));
}

template <class CharT, class MemMgr, class Traits, int kLayout>
void StringT<CharT, MemMgr, Traits, kLayout>::MoveToLargerBlock(size_t capacity) {
  const size_t size = detail::StringBlockSize<CharT>(capacity);
  if (data_ == nullptr) {
    IMemMgr& manager = MemMgr::Instance();
    void* const record = manager.Allocate(sizeof(detail::StringControl));
    void* const block = manager.Allocate(size);
    if (record == nullptr || block == nullptr) FatalError();
    UseBlock(block, *new (record) detail::StringControl{.manager = &manager,
                                                        .length = 0,
                                                        .capacity = capacity,
                                                        .grow_by = detail::kStringGrowBy,
                                                        .buffer_on_heap = true,
                                                        .control_on_heap = true});
    SetLength(0);
    return;
  }

  detail::StringControl& control = this->control();
  IMemMgr& manager = *control.manager;
  void* block = control.buffer_on_heap ? manager.Reallocate(Block(), size) : nullptr;
  if (block == nullptr) {
    block = manager.Allocate(size);
    if (block == nullptr) FatalError();
    std::memcpy(block, Block(), detail::kStringHeaderSize + (control.length + 1) * sizeof(CharT));
    if (control.buffer_on_heap) {
      manager.Free(Block());
      manager.Released();
    }
  }
  control.capacity = capacity;
  control.buffer_on_heap = true;
  UseBlock(block, control);
}

template <class CharT, class MemMgr, class Traits, int kLayout>
auto StringT<CharT, MemMgr, Traits, kLayout>::Assign(View text) -> StringT& {
  if (data_ == nullptr && text.empty()) return *this;
  CheckGuards();
  Grow(text.size());  // Does nothing where `text` lies in this string.
  Traits::Move(data_, text.data(), text.size());
  SetLength(text.size());
  return *this;
}

template <class CharT, class MemMgr, class Traits, int kLayout>
auto StringT<CharT, MemMgr, Traits, kLayout>::append(View text) -> StringT& {
  if (text.empty()) return *this;
  CheckGuards();
  const size_t old_length = length();
  if (text.size() > kMaxCapacity - old_length) FatalError();
  const std::less<const CharT*> before;
  const bool is_own = data_ != nullptr && !before(text.data(), data_) &&
                      before(text.data(), data_ + old_length + 1);
  const size_t offset = is_own ? static_cast<size_t>(text.data() - data_) : 0;
  Grow(old_length + text.size());
  Traits::Move(data_ + old_length, is_own ? data_ + offset : text.data(), text.size());
  SetLength(old_length + text.size());
  return *this;
}

template <class CharT, class MemMgr, class Traits, int kLayout>
void StringT<CharT, MemMgr, Traits, kLayout>::MoveFrom(StringT& other) noexcept {
  other.CheckGuards();
  CheckGuards();
  // Storage inside an object stays with that object.
  const bool can_steal = (other.data_ == nullptr || other.OwnsAllItsMemory()) &&
                         (data_ == nullptr || OwnsAllItsMemory());
  if (can_steal) {
    Release();
    data_ = std::exchange(other.data_, nullptr);
  } else {
    Assign(other.view());
    other.clear();
  }
}

template <class CharT, class MemMgr, class Traits, int kLayout>
void StringT<CharT, MemMgr, Traits, kLayout>::Release() noexcept {
  if (data_ == nullptr) return;
  CheckGuards();
  detail::StringControl& control = this->control();
  IMemMgr& manager = *control.manager;
  if (control.buffer_on_heap) {
    manager.Free(Block());
    manager.Released();
  }
  if (control.control_on_heap) {
    manager.Free(&control);
    manager.Released();
  }
  data_ = nullptr;
}

extern template class StringT<char>;
extern template class StringT<wchar_t>;

}  // namespace orn

template <class CharT, class MemMgr, class Traits, int kLayout>
struct std::hash<orn::StringT<CharT, MemMgr, Traits, kLayout>> {
  size_t operator()(const orn::StringT<CharT, MemMgr, Traits, kLayout>& text) const noexcept {
    return std::hash<std::basic_string_view<CharT>>()(text.view());
  }
};
