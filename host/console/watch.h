#pragma once

#include <functional>
#include <string>

#include "host/console/console_state.h"
#include "module/frame/windows.h"

namespace host::console {

// All that the state tells, as one line of JSON:
//
//   {"banner":{"sessions":[{"startTimestamp":n}]},
//    "history":{"newest":{"details","sequence","time","title"},"size":n},"language":"en",
//    "service":true,"sessions":[{"description","id","name"}]}
//
// "newest" is null where there is no record. UTF-8.
std::string DescribeState(IConsoleState& state);

// Gives `print` a line now and for each change, until `stop` is signalled or `print` gives false.
// Is the state's listener meanwhile.
void Watch(IConsoleState& state, HANDLE stop, const std::function<bool(const std::string&)>& print);

}  // namespace host::console
