#pragma once

#include <cstddef>
#include <cstdint>
#include <list>

#include "module/frame/error_codes.h"

// Lists that cross the borders of plug-ins:
//
//   orn::List<TerminalSessionState> sessions;
//   manager->GetTerminalSessions(&sessions);  // takes an orn::IList
//   orn::IConstListEnum<TerminalSessionState>* walk = sessions.GetConstEnum();
//   while (walk->HasNext()) Show(*walk->Next());
//   walk->Release();
//
// The order of the operations is binary contract. Not synchronised. While somebody walks a list,
// Erase through that one enumerator is the only change allowed. Operations with a result return 0
// for success.

namespace orn {

// Given back by Release.
template <class T>
struct IListEnum {
  virtual bool HasNext() const = 0;
  // Steps on and returns what it stood at; null at the end.
  virtual T* Next() = 0;
  // What it stands at; null at the end.
  virtual T* Get() const = 0;
  virtual void Release() = 0;
  virtual void Reset() = 0;
  virtual ~IListEnum() = default;
};

template <class T>
struct IConstListEnum {
  virtual bool HasNext() const = 0;
  virtual const T* Next() = 0;
  virtual const T* Get() const = 0;
  virtual void Release() = 0;
  virtual void Reset() = 0;
  virtual ~IConstListEnum() = default;
};

template <class T>
struct IList {
  virtual uint32_t PushBack(const T& value) = 0;
  virtual uint32_t PushFront(const T& value) = 0;
  // Null when empty.
  virtual const T* Back() const = 0;
  virtual T* Back() = 0;
  // 1168 when empty.
  virtual uint32_t GetBack(T& value) const = 0;
  // Null when empty.
  virtual const T* Front() const = 0;
  virtual T* Front() = 0;
  // 1168 when empty.
  virtual uint32_t GetFront(T& value) const = 0;
  // Removes what `enumerator`, one of this list's own, stands at, and moves it to the next.
  virtual void Erase(IListEnum<T>* enumerator) = 0;
  // At the beginning. The caller gives it back.
  virtual IConstListEnum<T>* GetConstEnum() const = 0;
  virtual IListEnum<T>* GetEnum() = 0;
  virtual void Clear() = 0;
  virtual size_t Size() const = 0;

 protected:
  ~IList() = default;
};

template <class T>
class ListEnum final : public IListEnum<T> {
 public:
  explicit ListEnum(std::list<T>& list) : list_(list), position_(list.begin()) {}

  bool HasNext() const override { return position_ != list_.end(); }
  T* Next() override { return HasNext() ? &*position_++ : nullptr; }
  T* Get() const override { return HasNext() ? &*position_ : nullptr; }
  void Release() override { delete this; }
  void Reset() override { position_ = list_.begin(); }

  void Erase() {
    if (HasNext()) position_ = list_.erase(position_);
  }

 private:
  std::list<T>& list_;
  typename std::list<T>::iterator position_;
};

template <class T>
class ConstListEnum final : public IConstListEnum<T> {
 public:
  explicit ConstListEnum(const std::list<T>& list) : list_(list), position_(list.begin()) {}

  bool HasNext() const override { return position_ != list_.end(); }
  const T* Next() override { return HasNext() ? &*position_++ : nullptr; }
  const T* Get() const override { return HasNext() ? &*position_ : nullptr; }
  void Release() override { delete this; }
  void Reset() override { position_ = list_.begin(); }

 private:
  const std::list<T>& list_;
  typename std::list<T>::const_iterator position_;
};

template <class T>
class List final : public IList<T> {
 public:
  uint32_t PushBack(const T& value) override {
    elements_.push_back(value);
    return error::kSuccess;
  }
  uint32_t PushFront(const T& value) override {
    elements_.push_front(value);
    return error::kSuccess;
  }
  const T* Back() const override { return elements_.empty() ? nullptr : &elements_.back(); }
  T* Back() override { return elements_.empty() ? nullptr : &elements_.back(); }
  uint32_t GetBack(T& value) const override { return Copy(Back(), value); }
  const T* Front() const override { return elements_.empty() ? nullptr : &elements_.front(); }
  T* Front() override { return elements_.empty() ? nullptr : &elements_.front(); }
  uint32_t GetFront(T& value) const override { return Copy(Front(), value); }
  void Erase(IListEnum<T>* enumerator) override { static_cast<ListEnum<T>*>(enumerator)->Erase(); }
  IConstListEnum<T>* GetConstEnum() const override { return new ConstListEnum<T>(elements_); }
  IListEnum<T>* GetEnum() override { return new ListEnum<T>(elements_); }
  void Clear() override { elements_.clear(); }
  size_t Size() const override { return elements_.size(); }

 private:
  static uint32_t Copy(const T* element, T& value) {
    if (element == nullptr) return error::kNotFound;
    value = *element;
    return error::kSuccess;
  }

  std::list<T> elements_;
};

}  // namespace orn
