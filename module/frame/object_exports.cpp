#include "module/frame/object_exports.h"

#include <string>

#include "module/frame/error_codes.h"
#include "module/frame/object_table.h"

namespace orn {

int CreateExportedObject(const wchar_t* name, const InterfaceId& id, void** object) {
  const InterfaceId wanted = id;
  *object = nullptr;
  if (name == nullptr) return error::kNotFound;

  IOrnBaseInterface* created = nullptr;
  {
    TableReference table;
    table.Acquire();
    created = table->Create(name);
  }
  if (created == nullptr) return error::kNotFound;

  *object = created->GetInterface(wanted);
  if (*object != nullptr) return error::kSuccess;
  DestroyExportedObject(name, created);
  return error::kNotFound;
}

void DestroyExportedObject(const wchar_t* name, void* object) {
  if (name == nullptr) return;
  TableReference table;
  table.Acquire();
  table->Destroy(name, static_cast<IOrnBaseInterface*>(object));
}

}  // namespace orn
