#pragma once

namespace host::console {

// A program with windows gets no console, and what it prints is lost. Where nobody has given it an
// output or an error stream it takes the console of the program that started it, if that has one.
void AttachToParentConsole();

}  // namespace host::console
