// The object that LanguageManager.dll exports.

#include "host/language/language_manager.h"
#include "module/frame/object_declaration.h"

namespace {

const ExportedSingletonDeclaration<host::LanguageManager> language_manager{L"LanguageManager"};

}  // namespace
