// The two exports of ServiceInstance.Comm.dll. Its names carry a parameter,
// "ServiceControl::NAME.exe" for the host NAME, and so stand in no table.

#include <memory>
#include <mutex>
#include <string_view>
#include <vector>

#include "host/common/host_presence.h"
#include "host/control/service_control.h"
#include "module/frame/error_codes.h"

namespace {

std::mutex mutex;
std::vector<std::unique_ptr<host::ServiceControl>> objects;  // Guarded by mutex.

// Empty where `name` names no control object.
std::wstring_view HostNameOf(std::wstring_view name) {
  constexpr std::wstring_view kPrefix = L"ServiceControl::";
  constexpr std::wstring_view kSuffix = L".exe";
  if (!name.starts_with(kPrefix) || !name.ends_with(kSuffix)) return {};
  name.remove_prefix(kPrefix.size());
  if (name.size() <= kSuffix.size()) return {};
  name.remove_suffix(kSuffix.size());
  return host::IsHostName(name) ? name : std::wstring_view();
}

}  // namespace

extern "C" {

int OrnCreateObject(const wchar_t* name, const InterfaceId& id, void** object);
void OrnDestroyObject(const wchar_t* name, void* object);

int OrnCreateObject(const wchar_t* name, const InterfaceId& id, void** object) {
  *object = nullptr;
  const std::wstring_view host_name = HostNameOf(name == nullptr ? L"" : name);
  if (host_name.empty()) return error::kNotFound;
  auto control = std::make_unique<host::ServiceControl>(std::wstring(host_name));
  *object = control->GetInterface(id);
  if (*object == nullptr) return error::kNotFound;
  const std::lock_guard lock(mutex);
  objects.push_back(std::move(control));
  return 0;
}

// Takes the object by any of its faces. What is not alive is left alone.
void OrnDestroyObject(const wchar_t*, void* object) {
  std::unique_ptr<host::ServiceControl> control;
  const std::lock_guard lock(mutex);
  for (auto it = objects.begin(); it != objects.end(); ++it) {
    if (object == static_cast<IServPlugin*>(it->get()) ||
        object == static_cast<EndpointService::IControl*>(it->get())) {
      control = std::move(*it);
      objects.erase(it);
      return;
    }
  }
}

}  // extern "C"
