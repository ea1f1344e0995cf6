// The exports of libreq.dll. What they promise stands in module/platform/request_tree.h.

#include <cstdlib>
#include <cstring>
#include <new>
#include <utility>

#include "host/requests/exports.h"
#include "host/requests/request_node.h"

namespace {

constexpr uint32_t kSuccess = 0;
constexpr uint32_t kNoMemory = 8;
constexpr uint32_t kInvalidData = 13;
constexpr uint32_t kBadParameter = 87;
constexpr uint32_t kSizeLimit = 223;
constexpr uint32_t kNotFound = 1168;

// No exception leaves the library.
template <class Operation>
uint32_t Guarded(Operation operation) noexcept {
  try {
    return operation();
  } catch (const std::bad_alloc&) {
    return kNoMemory;
  }
}

std::string_view Bytes(const void* bytes, uint32_t count) {
  return {static_cast<const char*>(bytes), count};
}

}  // namespace

extern "C" {

uint32_t requestInitRoot(RequestNode** root) {
  if (root == nullptr) return kBadParameter;
  RequestNode* const created = new (std::nothrow) RequestNode;
  if (created == nullptr) return kNoMemory;
  *root = created;
  return kSuccess;
}

uint32_t requestAddParameter(RequestNode* root, uint32_t id, const uint32_t* value) {
  if (value == nullptr) return kBadParameter;
  return requestAddParameter2(root, id, value, sizeof(*value));
}

uint32_t requestAddParameter2(RequestNode* root, uint32_t id, const void* bytes, uint32_t count) {
  if (root == nullptr || (bytes == nullptr && count != 0)) return kBadParameter;
  return Guarded([&] { return root->Add(id, Bytes(bytes, count)) ? kSuccess : kSizeLimit; });
}

uint32_t requestGetParameter(RequestNode* root, uint32_t id, void* destination, uint32_t size) {
  if (root == nullptr || (destination == nullptr && size != 0)) return kBadParameter;
  const std::string* const bytes = root->Find(id);
  if (bytes == nullptr) return kNotFound;
  if (bytes->size() != size) return kBadParameter;
  if (size != 0) std::memcpy(destination, bytes->data(), size);
  return kSuccess;
}

uint32_t requestGetParameterSize(RequestNode* root, uint32_t id, uint32_t* size) {
  if (root == nullptr || size == nullptr) return kBadParameter;
  const std::string* const bytes = root->Find(id);
  if (bytes == nullptr) return kNotFound;
  *size = static_cast<uint32_t>(bytes->size());
  return kSuccess;
}

uint32_t requestGetPointerToParameter(RequestNode* root, uint32_t id, const void** pointer) {
  if (root == nullptr || pointer == nullptr) return kBadParameter;
  const std::string* const bytes = root->Find(id);
  if (bytes == nullptr) return kNotFound;
  *pointer = bytes->data();
  return kSuccess;
}

uint32_t requestSaveTree(RequestNode* root, void** buffer, uint32_t* size) {
  if (root == nullptr || buffer == nullptr || size == nullptr) return kBadParameter;
  const size_t needed = root->SavedSize();
  void* const saved = needed == 0 ? nullptr : std::malloc(needed);
  if (saved == nullptr && needed != 0) return kNoMemory;
  root->Save(static_cast<char*>(saved));
  *buffer = saved;
  *size = static_cast<uint32_t>(needed);
  return kSuccess;
}

uint32_t requestLoadTree(RequestNode** root, const void* buffer, uint32_t size) {
  if (root == nullptr || (buffer == nullptr && size != 0)) return kBadParameter;
  return Guarded([&] {
    std::optional<RequestNode> loaded = RequestNode::Load(Bytes(buffer, size));
    if (!loaded) return kInvalidData;
    *root = new RequestNode(std::move(*loaded));
    return kSuccess;
  });
}

uint32_t requestFreeBuffer(void* buffer) {
  std::free(buffer);
  return kSuccess;
}

uint32_t requestFreeNode(RequestNode* node, uint32_t, uint32_t) {
  delete node;
  return kSuccess;
}

}  // extern "C"
