#pragma once

#include <memory>
#include <string>

#include "module/jobs/testing/child.h"

namespace host::testing {

// A real TsrSecurityService.exe with a configuration of its own, in a folder of its own. The names
// of hosts are set apart by the instance "test-PID", which this process has too. Ends the process
// if it still runs.
class HostRunner {
 public:
  HostRunner();
  ~HostRunner();
  HostRunner(const HostRunner&) = delete;
  HostRunner& operator=(const HostRunner&) = delete;

  // Writes <host name= data= ATTRIBUTES>ELEMENTS</host>.
  void Configure(const std::string& elements, const std::string& attributes = "");
  // Starts the program, its output joined in one pipe; with /process and the configuration unless
  // `arguments` says other.
  void Start(std::wstring arguments = L"");
  // Reads the output up to and with the line that contains `text`, or to its end. What was read
  // since Start.
  const std::string& ReadUntil(const std::string& text);
  // The rest of the next line, counted from the end of what this one returned last, that begins
  // with `text`; empty at the end of the output.
  std::string ReadNext(const std::string& text);
  const std::string& ReadToEnd() { return ReadUntil("\n\n\n"); }
  void AskToStop();
  // The exit code.
  DWORD Wait() { return process_->Await(); }
  void Kill() { process_->Kill(); }
  // Services of a machine are known by the host's name alone, whatever its instance. Before
  // Configure.
  void MakeNameUnique() { name_ += L'-' + std::to_wstring(GetCurrentProcessId()); }

  const std::wstring& name() const { return name_; }
  const std::wstring& folder() const { return folder_; }
  std::wstring file() const { return folder_ + L"\\host.xml"; }

 private:
  bool ReadLine();

  std::wstring name_;
  std::wstring folder_;
  std::unique_ptr<Child> process_;  // As it was started last.
  std::string read_;
  size_t next_ = 0;  // Where ReadNext goes on.
};

std::string Utf8(const std::wstring& text);

// <plugin> of HostTestPlugin.dll, with `options` as elements.
std::string TestPlugin(const std::string& name, const std::string& options = "");
std::string Option(const std::string& name, const std::string& value);

}  // namespace host::testing
