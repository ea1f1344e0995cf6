#pragma once

#include <cstdint>

#include "module/frame/windows.h"

// The console emulator's library, bound at run time from "winpty.dll". Only what is called is
// declared.

struct winpty_s;
struct winpty_config_s;
struct winpty_spawn_config_s;
struct winpty_error_s;

using winpty_t = winpty_s;
using winpty_config_t = winpty_config_s;
using winpty_spawn_config_t = winpty_spawn_config_s;
using winpty_error_ptr_t = winpty_error_s*;

// The thirteen entry points, in the order in which they are looked up.
struct WinptyTable {
  HMODULE module = nullptr;

  winpty_config_t* (*config_new)(uint64_t agent_flags, winpty_error_ptr_t* error) = nullptr;
  void (*config_set_initial_size)(winpty_config_t* config, int cols, int rows) = nullptr;
  void (*config_set_agent_timeout)(winpty_config_t* config, DWORD milliseconds) = nullptr;
  winpty_t* (*open)(const winpty_config_t* config, winpty_error_ptr_t* error) = nullptr;
  void (*config_free)(winpty_config_t* config) = nullptr;
  LPCWSTR (*conin_name)(winpty_t* agent) = nullptr;
  LPCWSTR (*conout_name)(winpty_t* agent) = nullptr;
  LPCWSTR (*conerr_name)(winpty_t* agent) = nullptr;
  winpty_spawn_config_t* (*spawn_config_new)(uint64_t spawn_flags, LPCWSTR application,
                                             LPCWSTR command_line, LPCWSTR directory,
                                             LPCWSTR environment,
                                             winpty_error_ptr_t* error) = nullptr;
  BOOL (*spawn)(winpty_t* agent, const winpty_spawn_config_t* config, HANDLE* process,
                HANDLE* thread, DWORD* create_process_error, winpty_error_ptr_t* error) = nullptr;
  BOOL (*set_size)(winpty_t* agent, int cols, int rows, winpty_error_ptr_t* error) = nullptr;
  void (*spawn_config_free)(winpty_spawn_config_t* config) = nullptr;
  void (*free)(winpty_t* agent) = nullptr;
};
