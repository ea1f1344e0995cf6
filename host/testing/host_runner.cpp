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
  process_.reset();
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
  process_ = std::make_unique<Child>(L"\"" + FolderOf(ProgramPath()) +
                                     L"\\TsrSecurityService.exe\" " + arguments);
  read_.clear();
  next_ = 0;
}

const std::string& HostRunner::ReadUntil(const std::string& text) {
  while (read_.find(text) == std::string::npos && ReadLine()) {
  }
  return read_;
}

std::string HostRunner::ReadNext(const std::string& text) {
  while (next_ < read_.size() || ReadLine()) {
    const size_t end = read_.find('\n', next_);
    const std::string line = read_.substr(next_, end - next_);
    next_ = end + 1;
    if (line.starts_with(text)) return line.substr(text.size());
  }
  return {};
}

bool HostRunner::ReadLine() {
  const std::optional<std::string> line = process_->ReadLine();
  if (line) read_ += *line + '\n';
  return line.has_value();
}

void HostRunner::AskToStop() {
  HostPresence presence;
  bool running = false;
  if (presence.Open(name_) == 0) presence.RequestStop(running);
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
