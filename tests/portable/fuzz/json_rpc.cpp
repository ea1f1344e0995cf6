#include <cstdlib>
#include <string>

#include "module/frame/json.h"
#include "module/frame/path.h"
#include "module/frame/utf.h"
#include "module/terminal/open_parameters.h"

// The parameters of the JSON-RPC methods: of a terminal, and the path of a check. A normal path
// stays as it is.
extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  using namespace orn::RemoteAccess;
  const std::string text(reinterpret_cast<const char*>(data), size);
  OpenParameters parameters;
  ReadOpenParameters(text, parameters);

  Json::Value input;
  orn::JsonReader().Parse(text, input);
  orn::StringT<wchar_t> path = orn::ToWide(orn::JsonText(orn::JsonMember(input, "path")));
  orn::NormalizePath(path);
  orn::StringT<wchar_t> again = path;
  orn::NormalizePath(again);
  if (again != path) std::abort();
  return 0;
}
