#pragma once

#include "module/frame/plugin_interfaces.h"

// What a library's two exports forward to. A library gets the exports by compiling exports.cpp into
// itself and linking with exports.def.
namespace orn {

// Stores the face for `id` of a new (or the shared) object `name` in `*object`, and returns 0.
// Returns 1168 with `*object` null where there is no such name, or the object could not be made or
// does not serve `id`. Any thread. What the object's constructor throws passes through.
int CreateExportedObject(const wchar_t* name, const InterfaceId& id, void** object);

// Gives an object back under the name that it was created with, through any of its faces. Any
// thread. No effect for an unknown name or an object of another class; a singleton counts down in
// any case.
void DestroyExportedObject(const wchar_t* name, void* object);

}  // namespace orn

// The exports as a loader finds them.
using OrnCreateObjectFunction = int (*)(const wchar_t* name, const InterfaceId& id, void** object);
using OrnDestroyObjectFunction = void (*)(const wchar_t* name, void* object);
