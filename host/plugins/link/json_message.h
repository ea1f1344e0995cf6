#pragma once

#include <json/value.h>

#include <string>

// The JSON texts that cross a connection to the management server.
namespace host::link {

// An object with that member "type".
Json::Value NewMessage(const char* type);

// On one line, without an end of line.
std::string MessageText(const Json::Value& message);

}  // namespace host::link
