#pragma once

#include <memory>
#include <string>
#include <typeinfo>

#include "module/frame/object_table.h"

// Declarations of the objects that a library exports, as static objects:
//
//   ExportedObjectDeclaration<RemoteAccessAL> remote_access_al{L"RemoteAccess.AL"};
//   ExportedSingletonDeclaration<HistoryLogger> logger{L"RemoteAccess.Console.HistoryLogger"};
//
// Each enters itself into the object table while the library's static objects are made and takes
// its name out at their end. Where two have one name the first stays. Compile the file with the
// declarations into the DLL itself: from a static library the linker drops a file that nothing
// refers to.

// Each CreateObject makes a new `T`, which belongs to the caller until DestroyObject.
template <class T>
class ExportedObjectDeclaration final : public IObjectConstructor {
 public:
  explicit ExportedObjectDeclaration(const wchar_t* name) : name_(name) {
    table_.Acquire();
    table_->Add(name_, this);
  }
  ExportedObjectDeclaration(const ExportedObjectDeclaration&) = delete;
  ExportedObjectDeclaration& operator=(const ExportedObjectDeclaration&) = delete;
  ~ExportedObjectDeclaration() { table_->Remove(name_); }

  IOrnBaseInterface* CreateObject() override {
    auto object = std::make_unique<T>();
    void* const face = object->GetInterface(IOrnBaseInterface::kInterfaceId);
    if (face != nullptr) object.release();
    return static_cast<IOrnBaseInterface*>(face);
  }

  // Deletes a `T` given by any of its faces; ignores an object of another class.
  void DestroyObject(IOrnBaseInterface* object) override {
    // Callers hand in a face as it is, so the pointer need not point at an IOrnBaseInterface of the
    // object. A dynamic_cast<T*> would give null then; the run-time type and the whole object are
    // right for every face.
    if (object == nullptr || typeid(*object) != typeid(T)) return;
    delete static_cast<T*>(dynamic_cast<void*>(object));
  }

  bool HasInstance() const override { return false; }

 private:
  std::wstring name_;
  TableReference table_;
};

// All creators share one `T`, which is deleted when as many have given it back, or with the
// declaration.
template <class T>
class ExportedSingletonDeclaration final : public IObjectConstructor {
 public:
  explicit ExportedSingletonDeclaration(const wchar_t* name) : name_(name) {
    table_.Acquire();
    table_->Add(name_, this);
  }
  ExportedSingletonDeclaration(const ExportedSingletonDeclaration&) = delete;
  ExportedSingletonDeclaration& operator=(const ExportedSingletonDeclaration&) = delete;
  ~ExportedSingletonDeclaration() {
    table_->Remove(name_);
    delete instance_;
  }

  IOrnBaseInterface* CreateObject() override {
    if (instance_ == nullptr) instance_ = new T;
    ++use_count_;
    return static_cast<IOrnBaseInterface*>(
        instance_->GetInterface(IOrnBaseInterface::kInterfaceId));
  }

  // Counts down whatever it is given. One call too many leaves the count at -1, so that the next
  // instance starts from there.
  void DestroyObject(IOrnBaseInterface*) override {
    if (use_count_-- == 1) {
      delete instance_;
      instance_ = nullptr;
    }
  }

  bool HasInstance() const override { return use_count_ > 0; }

 private:
  std::wstring name_;
  // Changed under the table's lock only.
  T* instance_ = nullptr;
  int32_t use_count_ = 0;
  TableReference table_;
};
