#pragma once

// The one way to <windows.h>: it takes back the macros that would rename operations of ours
// (`GetObject` of wingdi.h would change an interface's slot name by the order of includes).

#include <windows.h>

#undef GetObject
#undef interface
#undef small
#undef near
#undef far
#undef SendMessage
#undef GetMessage
#undef CreateProcess
