#pragma once

#include <cstddef>
#include <cstdint>
#include <unordered_map>

#include "module/frame/error_codes.h"

// Maps that cross the borders of plug-ins, in no particular order of keys:
//
//   orn::Map<int32_t, orn::StringT<wchar_t>> texts;
//   texts.Add(1, L"one");
//   if (const auto* text = texts.Find(1)) Show(*text);
//
// The order of the operations is binary contract. Not synchronised. While somebody walks a map,
// Erase through that one enumerator is the only change allowed. Operations with a result return 0
// for success.

namespace orn {

// Given back by Release.
template <class K, class V>
struct IEnum {
  virtual bool HasNext() const = 0;
  // Steps on and returns the value that it stood at; null at the end.
  virtual V* Next() = 0;
  // What it stands at; null at the end. The two stand in the other order in IConstEnum, and far
  // sides rely on that.
  virtual V* GetValue() const = 0;
  virtual const K* GetKey() const = 0;
  virtual void Release() = 0;
  virtual void Reset() = 0;
  virtual ~IEnum() = default;
};

template <class K, class V>
struct IConstEnum {
  virtual bool HasNext() const = 0;
  virtual const V* Next() = 0;
  virtual const K* GetKey() const = 0;
  virtual const V* GetValue() const = 0;
  virtual void Release() = 0;
  virtual void Reset() = 0;
  virtual ~IConstEnum() = default;
};

template <class K, class V>
struct IMap {
  // 183 where the key is there already; the entry stays.
  virtual uint32_t Add(const K& key, const V& value) = 0;
  // Null when absent.
  virtual const V* Find(const K& key) const = 0;
  virtual V* Find(const K& key) = 0;
  // 1168 when absent.
  virtual uint32_t Get(const K& key, V& value) const = 0;
  // Removes what `enumerator`, one of this map's own, stands at, and moves it to the next.
  virtual void Erase(IEnum<K, V>* enumerator) = 0;
  // 1168 when absent.
  virtual uint32_t Remove(const K& key) = 0;
  // At the beginning. The caller gives it back.
  virtual IConstEnum<K, V>* GetConstEnum() const = 0;
  virtual IEnum<K, V>* GetEnum() = 0;
  virtual void Clear() = 0;
  virtual size_t Size() const = 0;

 protected:
  ~IMap() = default;
};

template <class K, class V>
class Enum final : public IEnum<K, V> {
 public:
  explicit Enum(std::unordered_map<K, V>& map) : map_(map), position_(map.begin()) {}

  bool HasNext() const override { return position_ != map_.end(); }
  V* Next() override { return HasNext() ? &(position_++)->second : nullptr; }
  V* GetValue() const override { return HasNext() ? &position_->second : nullptr; }
  const K* GetKey() const override { return HasNext() ? &position_->first : nullptr; }
  void Release() override { delete this; }
  void Reset() override { position_ = map_.begin(); }

  void Erase() {
    if (HasNext()) position_ = map_.erase(position_);
  }

 private:
  std::unordered_map<K, V>& map_;
  typename std::unordered_map<K, V>::iterator position_;
};

template <class K, class V>
class ConstEnum final : public IConstEnum<K, V> {
 public:
  explicit ConstEnum(const std::unordered_map<K, V>& map) : map_(map), position_(map.begin()) {}

  bool HasNext() const override { return position_ != map_.end(); }
  const V* Next() override { return HasNext() ? &(position_++)->second : nullptr; }
  const K* GetKey() const override { return HasNext() ? &position_->first : nullptr; }
  const V* GetValue() const override { return HasNext() ? &position_->second : nullptr; }
  void Release() override { delete this; }
  void Reset() override { position_ = map_.begin(); }

 private:
  const std::unordered_map<K, V>& map_;
  typename std::unordered_map<K, V>::const_iterator position_;
};

template <class K, class V>
class Map final : public IMap<K, V> {
 public:
  uint32_t Add(const K& key, const V& value) override {
    return entries_.emplace(key, value).second ? error::kSuccess : error::kAlreadyExists;
  }
  const V* Find(const K& key) const override {
    const auto found = entries_.find(key);
    return found == entries_.end() ? nullptr : &found->second;
  }
  V* Find(const K& key) override {
    const auto found = entries_.find(key);
    return found == entries_.end() ? nullptr : &found->second;
  }
  uint32_t Get(const K& key, V& value) const override {
    const V* const found = Find(key);
    if (found == nullptr) return error::kNotFound;
    value = *found;
    return error::kSuccess;
  }
  void Erase(IEnum<K, V>* enumerator) override { static_cast<Enum<K, V>*>(enumerator)->Erase(); }
  uint32_t Remove(const K& key) override {
    return entries_.erase(key) != 0 ? error::kSuccess : error::kNotFound;
  }
  IConstEnum<K, V>* GetConstEnum() const override { return new ConstEnum<K, V>(entries_); }
  IEnum<K, V>* GetEnum() override { return new Enum<K, V>(entries_); }
  void Clear() override { entries_.clear(); }
  size_t Size() const override { return entries_.size(); }

 private:
  std::unordered_map<K, V> entries_;
};

}  // namespace orn
