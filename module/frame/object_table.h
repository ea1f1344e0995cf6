#pragma once

#include <atomic>
#include <cstdint>
#include <map>
#include <mutex>
#include <string>

#include "module/frame/plugin_interfaces.h"

// How the objects that a library offers are made, by exported name. The declarations of
// object_declaration.h are the implementations. The order of the operations is binary contract.
struct IObjectConstructor {
  // A new instance, or the shared one; null on failure.
  virtual IOrnBaseInterface* CreateObject() = 0;
  // Gives an instance back, through any of its faces.
  virtual void DestroyObject(IOrnBaseInterface* object) = 0;
  // True while a singleton is in use.
  virtual bool HasInstance() const = 0;

 protected:
  ~IObjectConstructor() = default;
};

// The exported names of this library and who makes their objects. Any thread. One lock is held
// across CreateObject and DestroyObject, so that no two objects are made or destroyed at a time. It
// is re-entrant: a constructor may make further objects on its own thread, but must not wait for
// another thread that does.
class ExportedObjectTable {
 public:
  ExportedObjectTable() = default;
  ExportedObjectTable(const ExportedObjectTable&) = delete;
  ExportedObjectTable& operator=(const ExportedObjectTable&) = delete;

  // Returns 0; or 183 where the name is there already, which keeps its constructor. `constructor`
  // is not owned.
  uint32_t Add(const std::wstring& name, IObjectConstructor* constructor);
  // No effect for a name that is absent.
  void Remove(const std::wstring& name);

  // Null for a name that is absent, or where the constructor gives null. Names match exactly. What
  // the constructor throws passes through.
  IOrnBaseInterface* Create(const std::wstring& name);
  // No effect for a name that is absent.
  void Destroy(const std::wstring& name, IOrnBaseInterface* object);

 private:
  std::recursive_mutex mutex_;
  // Guarded by mutex_; std::wstring compares by code units.
  std::map<std::wstring, IObjectConstructor*> constructors_;
};

// Keeps this library's one table alive: the first reference makes it, the last destroys it. Each
// holder is used by one thread at a time.
class TableReference {
 public:
  TableReference() = default;
  ~TableReference() { Release(); }
  TableReference(const TableReference&) = delete;
  TableReference& operator=(const TableReference&) = delete;

  // May be called more than once: each call takes one more reference.
  void Acquire();
  // Gives back every reference that this holder took. Releasing twice has no effect.
  void Release();

  ExportedObjectTable* get() const noexcept { return table_; }
  ExportedObjectTable* operator->() const noexcept { return table_; }

 private:
  ExportedObjectTable* table_ = nullptr;
  std::atomic<int32_t> count_{0};
};
