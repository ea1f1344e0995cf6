#include "module/frame/easy_event_queue.h"
#include "module/frame/error_codes.h"
#include "module/frame/exported_object.h"
#include "module/frame/path.h"

namespace orn {

// Stands apart from the rest, which needs nothing of Windows.
uint32_t EasyEventQueue::AttachLoaded(std::wstring name) {
  Detach();
  constexpr uint32_t kStartOptions = 4;
  PathStringT<260> path;
  GetModuleFolder(path);
  AppendPath(path, L"framework.dll");
  auto loaded = std::make_shared<ExportedObject<IEventQueue>>();
  if (const uint32_t status = loaded->Load(path.c_str(), kGlobalEventQueue);
      status != error::kSuccess) {
    return status;
  }
  if (const uint32_t status = loaded->get()->Start(kStartOptions); status != error::kSuccess) {
    return status;
  }
  Attach(loaded->get(), std::move(name));
  loaded_ = std::move(loaded);
  return error::kSuccess;
}

}  // namespace orn
