#pragma once

#include <cstdarg>
#include <cstdint>

// The entry points of the agent's log library, "log.dll", bound at run time. Any may be missing;
// any thread may call any of them; null texts count as empty ones. The name of each type less "Fn"
// is the name of the export.
namespace logging {

extern "C" {

// Each user of the library calls LogInit once before and LogDeinit once after use. Every LogDeinit
// writes out what is held back; the last one closes the file.
using LogInitFn = void (*)();
using LogDeinitFn = void (*)();

// Names the settings file: an XML file whose root has an element <log path level maxSize files/>.
// Nothing is read yet. Returns a status, 0 for success.
using LogSetSettingsFileFn = uint32_t (*)(const wchar_t* path);
// Reads the settings file and applies it: 0, 2 (no such file) or 13 (bad contents), both of which
// change nothing, or what LogSetPath gave.
using LogApplySettingsFn = uint32_t (*)();
// Non-zero: the settings file is watched and applied whenever it changes. Zero ends that.
using LogMonitorSettingsFn = uint32_t (*)(uint32_t on);

// On from the start; off drops every message.
using LogEnableFn = void (*)(uint32_t on);
using LogIsEnabledFn = uint32_t (*)();
// The levels that are written, as a mask of their values. At first 2 | 4 | 8 | 16.
using LogSetLevelFn = void (*)(uint32_t mask);
using LogGetLevelFn = uint32_t (*)();

// The file; it is opened at once, with its folder made where missing. A null or empty path closes
// it. Returns a status: 0, or 110 where it cannot be opened (it is tried again with later lines).
using LogSetPathFn = uint32_t (*)(const wchar_t* path);
// Where lines go, a mask: 1 the file, 2 the debugger. At first 1.
using LogSetTypeFn = void (*)(uint32_t mask);
// 0 carries on with an existing file, 1 begins a new one when the file is next opened. At first 0.
using LogSetModeFn = void (*)(uint32_t mode);
// A file that would grow past `bytes` is renamed to NAME.1.EXT and so on; `files` of these are
// kept. At first 10 MiB and 5.
using LogSetMaxSizeFn = void (*)(uint64_t bytes, uint32_t files);
// How many levels of nested functions are shown by indentation. At first 32.
using LogSetDepthFn = void (*)(uint32_t levels);

// Writes one line. `depth_change` is 1 on function entry, 0xFFFF on exit, 0 otherwise; `module` is
// the image that logs; `format` is a wide printf format (`%s` a wide text, `%S` a narrow one in
// UTF-8). Keeps the last Windows error. Returns 0.
using LogWriteFn = uint32_t (*)(uint16_t depth_change, const uint32_t* level, void* module,
                                const wchar_t* function, const wchar_t* format, va_list args);

// An event of use, as a line of level 16.
using LogTrackEventFn = void (*)(const wchar_t* event);
using LogTrackEventDataFn = void (*)(const wchar_t* event, const wchar_t* data);
// The calling module tracks no more events; writes out what is held back.
using LogUninitDeskMetricsFn = void (*)();
// The calling module is about to be unloaded; writes out what is held back. `caller` is a narrow
// text.
using LogRemoveModuleFn = void (*)(const char* caller);

}  // extern "C"

}  // namespace logging
