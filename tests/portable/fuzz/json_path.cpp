#include "module/frame/json_path.h"

#include <cstdlib>
#include <string>

#include "module/frame/json.h"

// The first line is a path, the rest a JSON text. What a path leads to once it leads to again, and
// what is written there can be read.
extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  const std::string text(reinterpret_cast<const char*>(data), size);
  const std::string path = text.substr(0, text.find('\n')).c_str();
  Json::Value tree;
  orn::JsonReader().Parse(text.substr(std::min(path.size() + 1, size)), tree);

  bool flag = false;
  uint32_t number = 0;
  int64_t large = 0;
  orn::StringT<char> narrow;
  orn::StringT<wchar_t> wide;
  const bool found = orn::FindNode(&tree, path.c_str(), /*create=*/false) != nullptr;
  for (const bool got :
       {orn::GetJson(flag, &tree, path.c_str()), orn::GetJson(number, &tree, path.c_str()),
        orn::GetJson(large, &tree, path.c_str()), orn::GetJson(narrow, &tree, path.c_str()),
        orn::GetJson(wide, &tree, path.c_str())}) {
    if (got && !found) std::abort();
  }
  if (orn::GetJsonText(wide, &tree, path.c_str()) != found) std::abort();
  if (orn::SetJsonText(wide, &tree, path.c_str()) !=
      (orn::FindNode(&tree, path.c_str(), /*create=*/true) != nullptr)) {
    std::abort();
  }
  if (orn::SetJson(Json::Value(7), &tree, path.c_str()) &&
      (!orn::GetJson(number, &tree, path.c_str()) || number != 7)) {
    std::abort();
  }
  return 0;
}
