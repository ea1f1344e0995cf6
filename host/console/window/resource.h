#pragma once

// Numbers of the window's resources.

#define IDI_NOBODY 1
#define IDI_CONNECTED 2
#define IDI_NO_SERVICE 3
