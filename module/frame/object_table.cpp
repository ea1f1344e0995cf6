#include "module/frame/object_table.h"

#include "module/frame/error_codes.h"
#include "module/frame/spin_flag.h"

namespace {

// Declarations in other files register during static initialisation, in whatever order, and leave
// at its reverse: this state is there before them and after them.
constinit orn::SpinFlag state_flag;
constinit int32_t reference_count = 0;           // Guarded by state_flag.
constinit ExportedObjectTable* table = nullptr;  // Guarded by state_flag.

}  // namespace

uint32_t ExportedObjectTable::Add(const std::wstring& name, IObjectConstructor* constructor) {
  std::lock_guard lock(mutex_);
  return constructors_.emplace(name, constructor).second ? error::kSuccess : error::kAlreadyExists;
}

void ExportedObjectTable::Remove(const std::wstring& name) {
  std::lock_guard lock(mutex_);
  constructors_.erase(name);
}

IOrnBaseInterface* ExportedObjectTable::Create(const std::wstring& name) {
  std::lock_guard lock(mutex_);
  const auto found = constructors_.find(name);
  return found == constructors_.end() ? nullptr : found->second->CreateObject();
}

void ExportedObjectTable::Destroy(const std::wstring& name, IOrnBaseInterface* object) {
  std::lock_guard lock(mutex_);
  const auto found = constructors_.find(name);
  if (found != constructors_.end()) found->second->DestroyObject(object);
}

void TableReference::Acquire() {
  {
    std::lock_guard lock(state_flag);
    if (reference_count == 0) {
      delete table;
      table = nullptr;
      table = new ExportedObjectTable;
    }
    ++reference_count;
    table_ = table;
  }
  ++count_;
}

void TableReference::Release() {
  table_ = nullptr;
  while (--count_ >= 0) {
    std::lock_guard lock(state_flag);
    if (reference_count > 0) --reference_count;
    if (reference_count == 0) {
      delete table;
      table = nullptr;
    }
  }
  ++count_;
}
