#include "host/testing/host_runner.h"

#include <atomic>
#include <filesystem>
#include <fstream>

#include "host/common/file_path.h"
#include "host/common/host_presence.h"
#include "module/frame/utf.h"

namespace host::testing {

HostRunner::HostRunner() {
  static std::atomic<int> counter{0};
  const std::wstring id = std::to_wstring(GetCurrentProcessId());
  SetEnvironmentVariableW(kInstanceVariable, (L"test-" + id).c_str());
  name_ = L"Host" + std::to_wstring(++counter);
  folder_ = std::filesystem::temp_directory_path() / (L"host-test-" + id + L"-" + name_);
  std::filesystem::create_directories(folder_);
}

HostRunner::~HostRunner() {
  if (process_) Kill();
  std::error_code ignored;
  std::filesystem::remove_all(folder_, ignored);
}

void HostRunner::Configure(const std::string& elements, const std::string& attributes) {
  std::ofstream(std::filesystem::path(file()), std::ios::binary)
      << "<host name=\"" << Utf8(name_) << "\" data=\"data\" " << attributes << ">\n"
      << elements << "</host>\n";
}

void HostRunner::Start(std::wstring arguments) {
  if (arguments.empty()) arguments = L"/process /config \"" + file() + L"\"";
  std::wstring command = L"\"" + FolderOf(ProgramPath()) + L'\\' + program_ + L"\" " + arguments;
  SECURITY_ATTRIBUTES inheritable{
      .nLength = sizeof(inheritable), .lpSecurityDescriptor = nullptr, .bInheritHandle = TRUE};
  orn::UniqueHandle write;
  CreatePipe(output_.put(), write.put(), &inheritable, 0);
  SetHandleInformation(output_.get(), HANDLE_FLAG_INHERIT, 0);
  STARTUPINFOW startup{};
  startup.cb = sizeof(startup);
  startup.dwFlags = STARTF_USESTDHANDLES;
  startup.hStdOutput = write.get();
  startup.hStdError = write.get();
  PROCESS_INFORMATION information{};
  CreateProcessW(nullptr, command.data(), nullptr, nullptr, /*inheritHandles=*/TRUE, 0, nullptr,
                 nullptr, &startup, &information);
  process_.reset(information.hProcess);
  orn::UniqueHandle(information.hThread).reset();
  read_.clear();
  next_ = 0;
}

const std::string& HostRunner::ReadUntil(const std::string& text) {
  for (;;) {
    const size_t found = read_.find(text);
    if (found != std::string::npos && read_.find('\n', found) != std::string::npos) return read_;
    if (!ReadByte()) return read_;
  }
}

std::string HostRunner::ReadNext(const std::string& text) {
  for (;;) {
    const size_t end = read_.find('\n', next_);
    if (end == std::string::npos) {
      if (!ReadByte()) return {};
      continue;
    }
    const std::string line = read_.substr(next_, end - next_);
    next_ = end + 1;
    if (line.starts_with(text)) return line.substr(text.size());
  }
}

bool HostRunner::ReadByte() {
  char byte = 0;
  DWORD length = 0;
  if (!ReadFile(output_.get(), &byte, 1, &length, nullptr) || length == 0) return false;
  if (byte != '\r') read_ += byte;
  return true;
}

void HostRunner::AskToStop() {
  HostPresence presence;
  bool running = false;
  if (presence.Open(name_) == 0) presence.RequestStop(running);
}

DWORD HostRunner::Wait() {
  DWORD code = 0;
  WaitForSingleObject(process_.get(), INFINITE);
  GetExitCodeProcess(process_.get(), &code);
  return code;
}

void HostRunner::Kill() {
  TerminateProcess(process_.get(), 77);
  WaitForSingleObject(process_.get(), INFINITE);
}

std::string Utf8(const std::wstring& text) {
  return std::string(orn::ToUtf8(text).view());
}

std::string TestPlugin(const std::string& name, const std::string& options) {
  return "<plugin name=\"" + name + "\" library=\"HostTestPlugin.dll\" object=\"" + name + "\">" +
         options + "</plugin>\n";
}

std::string Option(const std::string& name, const std::string& value) {
  return "<option name=\"" + name + "\" value=\"" + value + "\"/>";
}

}  // namespace host::testing
