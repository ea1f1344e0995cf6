#pragma once

#include "module/platform/request_tree.h"

// What libreq.dll exports, and the table of it for programs that link it in. A function that strays
// from the type under which others call it does not compile.

extern "C" {

uint32_t requestInitRoot(RequestNode** root);
uint32_t requestAddParameter(RequestNode* root, uint32_t id, const uint32_t* value);
uint32_t requestAddParameter2(RequestNode* root, uint32_t id, const void* bytes, uint32_t count);
uint32_t requestGetParameter(RequestNode* root, uint32_t id, void* destination, uint32_t size);
uint32_t requestGetParameterSize(RequestNode* root, uint32_t id, uint32_t* size);
uint32_t requestGetPointerToParameter(RequestNode* root, uint32_t id, const void** pointer);
uint32_t requestSaveTree(RequestNode* root, void** buffer, uint32_t* size);
uint32_t requestLoadTree(RequestNode** root, const void* buffer, uint32_t size);
uint32_t requestFreeBuffer(void* buffer);
uint32_t requestFreeNode(RequestNode* node, uint32_t, uint32_t);

}  // extern "C"

inline constexpr RequestTable kRequestTable = {
    .requestInitRoot = requestInitRoot,
    .requestAddParameter = requestAddParameter,
    .requestAddParameter2 = requestAddParameter2,
    .requestGetParameter = requestGetParameter,
    .requestGetParameterSize = requestGetParameterSize,
    .requestGetPointerToParameter = requestGetPointerToParameter,
    .requestSaveTree = requestSaveTree,
    .requestLoadTree = requestLoadTree,
    .requestFreeBuffer = requestFreeBuffer,
    .requestFreeNode = requestFreeNode,
};
