#pragma once

#include <cstdint>
#include <optional>
#include <string>

#include "module/platform/messaging.h"

// The properties of an entry on a channel.
namespace messaging::rpc {

// Null where there is none. Valid as long as the entry.
const std::string* string_property(const channel_subscriber& entry, const char* name);

// Written as write_int_property does it. Nothing where the text has no digits, more behind them, or
// a number that does not fit.
std::optional<int32_t> int_property(const channel_subscriber& entry, const char* name);

void write_int_property(channel_subscriber& entry, const char* name, int32_t value);

}  // namespace messaging::rpc
