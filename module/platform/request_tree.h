#pragma once

#include <cstdint>

// The request-tree library, "libreq.dll": numbered parameters in a tree, and a flat form of it. A
// tree is used by one thread at a time. Only what is called is declared.

struct RequestNode;  // Opaque.

// The entry points, by the names that the library exports. Each returns 0 for success; a failure
// leaves the tree and the destinations as they were.
struct RequestTable {
  // Creates an empty tree.
  uint32_t (*requestInitRoot)(RequestNode** root) = nullptr;
  // Stores a copy of the 32-bit value; one that is there already is replaced.
  uint32_t (*requestAddParameter)(RequestNode* root, uint32_t id, const uint32_t* value) = nullptr;
  // Stores a copy of `count` bytes. None is a value too, then `bytes` may be null.
  uint32_t (*requestAddParameter2)(RequestNode* root, uint32_t id, const void* bytes,
                                   uint32_t count) = nullptr;
  // Copies `size` bytes of a value out, no more and no less than it has.
  uint32_t (*requestGetParameter)(RequestNode* root, uint32_t id, void* destination,
                                  uint32_t size) = nullptr;
  uint32_t (*requestGetParameterSize)(RequestNode* root, uint32_t id, uint32_t* size) = nullptr;
  // Gives a pointer into the tree, valid while the tree lives and the parameter is not replaced;
  // not null for an empty value.
  uint32_t (*requestGetPointerToParameter)(RequestNode* root, uint32_t id,
                                           const void** pointer) = nullptr;
  // Allocates the flat form; requestFreeBuffer releases it. An empty tree gives zero bytes.
  uint32_t (*requestSaveTree)(RequestNode* root, void** buffer, uint32_t* size) = nullptr;
  // Builds a new tree from a flat form, which may be anybody's: whatever is wrong with it is a
  // failure, and nothing is read beyond `size`.
  uint32_t (*requestLoadTree)(RequestNode** root, const void* buffer, uint32_t size) = nullptr;
  uint32_t (*requestFreeBuffer)(void* buffer) = nullptr;
  // Frees the node and all below it; the two numbers are 1.
  uint32_t (*requestFreeNode)(RequestNode* node, uint32_t,
                              uint32_t) = nullptr;  // "__requestFreeNode"
};
