#pragma once

// The one way to <commctrl.h> and <windowsx.h>. Their macros call SendMessage by a name that
// module/frame/windows.h takes back.

#include "module/frame/windows.h"

#define SNDMSG ::SendMessageW

#include <commctrl.h>
#include <windowsx.h>
