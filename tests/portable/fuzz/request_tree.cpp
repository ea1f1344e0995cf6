#include <cstdlib>
#include <string>

#include "host/requests/request_node.h"

// A saved tree of anybody's. What loads is saved to the same bytes.
extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  const std::string_view bytes(reinterpret_cast<const char*>(data), size);
  const auto tree = RequestNode::Load(bytes);
  if (!tree) return 0;
  std::string saved(tree->SavedSize(), '\0');
  tree->Save(saved.data());
  if (saved != bytes) std::abort();
  return 0;
}
