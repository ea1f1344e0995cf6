#pragma once

#include <gtest/gtest.h>

#include <atomic>
#include <string>

#include "module/frame/handle.h"
#include "module/frame/string.h"

namespace orn::RemoteAccess {

// The console's ends of the two pipes of a terminal.
class ConsolePipes {
 public:
  ConsolePipes() {
    static std::atomic<int> counter{0};
    const std::wstring name = L"\\\\.\\pipe\\console-" + std::to_wstring(GetCurrentProcessId()) +
                              L"-" + std::to_wstring(++counter);
    conin_name = (name + L"-conin").c_str();
    conout_name = (name + L"-conout").c_str();
    conin_.reset(Create(conin_name, PIPE_ACCESS_INBOUND));
    conout_.reset(Create(conout_name, PIPE_ACCESS_OUTBOUND));
  }

  StringT<wchar_t> conin_name;
  StringT<wchar_t> conout_name;

  void Print(const std::string& text) {
    DWORD written = 0;
    EXPECT_TRUE(
        WriteFile(conout_.get(), text.data(), static_cast<DWORD>(text.size()), &written, nullptr));
  }
  // Waits until so much was typed.
  std::string ReadKeys(size_t size) {
    std::string keys(size, '\0');
    for (DWORD at = 0, count = 0; at < size; at += count) {
      if (!ReadFile(conin_.get(), &keys[at], static_cast<DWORD>(size) - at, &count, nullptr)) break;
    }
    return keys;
  }
  // The shell dies.
  void Close() {
    conin_.reset();
    conout_.reset();
  }

 private:
  static HANDLE Create(const StringT<wchar_t>& name, DWORD access) {
    return CreateNamedPipeW(name.c_str(), access, PIPE_TYPE_BYTE, /*instances=*/1,
                            /*out_size=*/65536, /*in_size=*/65536, /*timeout=*/0, nullptr);
  }

  UniqueFile conin_;
  UniqueFile conout_;
};

}  // namespace orn::RemoteAccess
