#include "module/rpc/request_library.h"

#include <cstring>
#include <optional>

#include "module/frame/path.h"
#include "module/frame/path_string.h"
#include "module/frame/windows.h"

namespace messaging::rpc {
namespace {

template <class Function>
bool Resolve(HMODULE module, const char* name, Function& function) {
  const FARPROC address = GetProcAddress(module, name);
  static_assert(sizeof(function) == sizeof(address));
  std::memcpy(&function, &address, sizeof(function));
  return address != nullptr;
}

std::optional<RequestTable> Bind() {
  orn::PathStringT<260> path;
  if (!orn::GetModuleFolder(path)) return std::nullopt;
  orn::AppendPath(path, L"libreq.dll");
  // Never freed: lists of any age may still hold trees.
  const HMODULE module = LoadLibraryW(path.c_str());
  RequestTable table;
  if (module != nullptr && Resolve(module, "requestInitRoot", table.requestInitRoot) &&
      Resolve(module, "requestAddParameter", table.requestAddParameter) &&
      Resolve(module, "requestAddParameter2", table.requestAddParameter2) &&
      Resolve(module, "requestGetParameter", table.requestGetParameter) &&
      Resolve(module, "requestGetParameterSize", table.requestGetParameterSize) &&
      Resolve(module, "requestGetPointerToParameter", table.requestGetPointerToParameter) &&
      Resolve(module, "requestSaveTree", table.requestSaveTree) &&
      Resolve(module, "requestLoadTree", table.requestLoadTree) &&
      Resolve(module, "requestFreeBuffer", table.requestFreeBuffer) &&
      Resolve(module, "__requestFreeNode", table.requestFreeNode)) {
    return table;
  }
  return std::nullopt;
}

}  // namespace

const RequestTable* RequestLibrary() {
  static const std::optional<RequestTable> table = Bind();
  return table ? &*table : nullptr;
}

}  // namespace messaging::rpc
