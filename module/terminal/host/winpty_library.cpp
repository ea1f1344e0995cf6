#include "module/terminal/host/winpty_library.h"

#include <cstring>

#include "module/frame/path.h"
#include "module/frame/path_string.h"

namespace orn::RemoteTerminal {
namespace {

template <class Function>
bool Resolve(HMODULE module, const char* name, Function& function) {
  const FARPROC address = module != nullptr ? GetProcAddress(module, name) : nullptr;
  static_assert(sizeof(function) == sizeof(address));
  std::memcpy(&function, &address, sizeof(function));
  return address != nullptr;
}

}  // namespace

bool WinptyLibrary::Load() {
  PathStringT<260> path;
  table_.module = nullptr;
  if (GetModuleFolder(path)) {
    AppendPath(path, L"winpty.dll");
    table_.module = LoadLibraryW(path.c_str());
  }
  const HMODULE module = table_.module;
  const bool resolved[] = {
      Resolve(module, "winpty_config_new", table_.config_new),
      Resolve(module, "winpty_config_set_initial_size", table_.config_set_initial_size),
      Resolve(module, "winpty_config_set_agent_timeout", table_.config_set_agent_timeout),
      Resolve(module, "winpty_open", table_.open),
      Resolve(module, "winpty_config_free", table_.config_free),
      Resolve(module, "winpty_conin_name", table_.conin_name),
      Resolve(module, "winpty_conout_name", table_.conout_name),
      Resolve(module, "winpty_conerr_name", table_.conerr_name),
      Resolve(module, "winpty_spawn_config_new", table_.spawn_config_new),
      Resolve(module, "winpty_spawn", table_.spawn),
      Resolve(module, "winpty_set_size", table_.set_size),
      Resolve(module, "winpty_spawn_config_free", table_.spawn_config_free),
      Resolve(module, "winpty_free", table_.free),
  };
  for (const bool found : resolved) {
    if (!found) return false;
  }
  return true;
}

void WinptyLibrary::Release() {
  const HMODULE module = table_.module;
  if (module != nullptr) FreeLibrary(module);
  table_ = {};
  table_.module = module;
}

}  // namespace orn::RemoteTerminal
