// The two exports of a library of objects. Compiled into each DLL, never into a static library.

#include "module/frame/object_exports.h"

extern "C" {

int OrnCreateObject(const wchar_t* name, const InterfaceId& id, void** object);
void OrnDestroyObject(const wchar_t* name, void* object);

int OrnCreateObject(const wchar_t* name, const InterfaceId& id, void** object) {
  return orn::CreateExportedObject(name, id, object);
}

void OrnDestroyObject(const wchar_t* name, void* object) {
  orn::DestroyExportedObject(name, object);
}

}  // extern "C"
