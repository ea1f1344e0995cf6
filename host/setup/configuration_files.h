#pragma once

#include <string>

#include "host/setup/setup_log.h"
#include "host/setup/setup_values.h"

namespace host::setup {

// Writes the configurations of the agent's processes, from the templates in the folder `templates`,
// into the folder `fresh`, which is to take the place of the one of now, values.config(). Whatever
// else is in that one comes along.
//
// A configuration that somebody has changed since set-up wrote it stays as he left it, and where
// the new one differs from the one that he changed, it is put beside it under its name with ".new".
// With `anew` the new one takes its place, and his is put beside it under its name with ".old".
// What set-up wrote last is kept in the folder "as-installed".
//
// `key` is the content of the key's file, which only administrators may read.
bool WriteConfigurations(const std::wstring& templates, const std::wstring& fresh,
                         const SetupValues& values, const std::string& key, bool anew,
                         SetupLog& log);

}  // namespace host::setup
