#include "module/rpc/parameter_list.h"

#include <cstring>
#include <limits>
#include <utility>

#include "module/rpc/request_library.h"
#include "module/rpc/wire.h"

namespace messaging::rpc {

ParameterList::ParameterList(ParameterList&& other) noexcept
    : root_(std::exchange(other.root_, nullptr)) {}

ParameterList& ParameterList::operator=(ParameterList&& other) noexcept {
  if (this != &other) {
    Free();
    root_ = std::exchange(other.root_, nullptr);
  }
  return *this;
}

bool ParameterList::AddValue(uint32_t id, uint32_t value) {
  return CreateTree() && RequestLibrary()->requestAddParameter(root_, id, &value) == 0;
}

bool ParameterList::AddBytes(uint32_t id, std::string_view bytes) {
  return bytes.size() <= std::numeric_limits<uint32_t>::max() && CreateTree() &&
         RequestLibrary()->requestAddParameter2(root_, id, bytes.data(),
                                                static_cast<uint32_t>(bytes.size())) == 0;
}

bool ParameterList::AddUtf16(uint32_t id, std::wstring_view text) {
  std::string bytes(text.size() * sizeof(char16_t), '\0');
  for (size_t i = 0; i != text.size(); ++i) {
    const auto unit = static_cast<char16_t>(text[i]);  // `wchar_t` is wider on other machines.
    std::memcpy(&bytes[i * sizeof(unit)], &unit, sizeof(unit));
  }
  return AddBytes(id, bytes);
}

bool ParameterList::ReadValue(uint32_t id, uint32_t& value) const {
  return root_ != nullptr &&
         RequestLibrary()->requestGetParameter(root_, id, &value, sizeof(value)) == 0;
}

bool ParameterList::ReadBytes(uint32_t id, std::string& bytes) const {
  const void* data = nullptr;
  uint32_t size = 0;
  if (!Find(id, data, size)) return false;
  bytes.assign(static_cast<const char*>(data), size);
  return true;
}

bool ParameterList::ReadUtf16(uint32_t id, orn::StringT<wchar_t>& text) const {
  const void* data = nullptr;
  uint32_t size = 0;
  if (!Find(id, data, size) || size % sizeof(char16_t) != 0) return false;
  std::wstring units(size / sizeof(char16_t), L'\0');
  for (size_t i = 0; i != units.size(); ++i) {
    char16_t unit;
    std::memcpy(&unit, static_cast<const char*>(data) + i * sizeof(unit), sizeof(unit));
    units[i] = unit;
  }
  text = std::wstring_view(units);
  return true;
}

void ParameterList::SaveTo(message& to) const {
  if (root_ == nullptr) return;
  void* buffer = nullptr;
  uint32_t size = 0;
  const uint32_t status = RequestLibrary()->requestSaveTree(root_, &buffer, &size);
  if (status == 0 && size != 0) to.set_binary(kData, buffer, size);
  RequestLibrary()->requestFreeBuffer(buffer);
}

bool ParameterList::LoadFrom(const message& from) {
  if (!from.has_field(kData, message::kBinary)) return true;
  Free();
  uint32_t size = 0;
  const void* const data = from.get_binary(kData, &size);
  return RequestLibrary() != nullptr && RequestLibrary()->requestLoadTree(&root_, data, size) == 0;
}

bool ParameterList::CreateTree() {
  if (root_ != nullptr) return true;
  return RequestLibrary() != nullptr && RequestLibrary()->requestInitRoot(&root_) == 0;
}

bool ParameterList::Find(uint32_t id, const void*& bytes, uint32_t& size) const {
  return root_ != nullptr && RequestLibrary()->requestGetParameterSize(root_, id, &size) == 0 &&
         RequestLibrary()->requestGetPointerToParameter(root_, id, &bytes) == 0;
}

void ParameterList::Free() {
  if (root_ != nullptr) RequestLibrary()->requestFreeNode(std::exchange(root_, nullptr), 1, 1);
}

}  // namespace messaging::rpc
