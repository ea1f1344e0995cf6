#pragma once

#include <string>

namespace host::console {

// A program with windows gets no console, and what it prints is lost. Where nobody has given it an
// output or an error stream it takes the console of the program that started it, if that has one.
void AttachToParentConsole();

// An error that the person who started the program is to know of: on the error stream and in the
// log, or else, where there is nobody to read the stream, in a box.
void TellError(const std::wstring& text);

}  // namespace host::console
