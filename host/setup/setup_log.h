#pragma once

#include <cstdint>
#include <string>

#include "module/frame/handle.h"

namespace host::setup {

// What set-up does, told to the person and written to a file in %TEMP%. No secret goes in.
class SetupLog {
 public:
  // Makes the file; without one the person is told still.
  SetupLog();

  void Tell(const std::wstring& text);
  // On the standard error stream, with what the system says about `code` unless that is 0. Returns
  // false, for the caller to hand on.
  bool Fail(const std::wstring& text, uint32_t code = 0);
  // In the file only.
  void Note(const std::wstring& text);

  // The full path; empty where there is none.
  const std::wstring& file() const { return path_; }

 private:
  std::wstring path_;
  orn::UniqueFile file_;
};

}  // namespace host::setup
