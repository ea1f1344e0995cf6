// HostTestPlugin.dll: the plug-ins "A", "B" and "C", which write their life to the standard output,
// a line each, and do what their options say:
//
//   failInit, failStart = CODE   that operation fails
//   get = NAME                   Init fetches a plug-in and tells the code
//   tell = VARIABLE              Init writes a variable of the environment
//   pid                          Init writes the process's id
//   run = COMMAND                Init runs a program, whose output is the host's
//   stopHost = NAME              Start stops that host and tells the code
//   call                         a call runs from OpenIntake on, whose end CloseIntake waits for
//   hang                         Stop does not return

#include <string>
#include <thread>

#include "host/common/host_configuration.h"
#include "host/common/host_intake.h"
#include "module/frame/exported_plugin.h"
#include "module/frame/handle.h"
#include "module/frame/object_declaration.h"
#include "module/frame/serv_plugin.h"
#include "module/frame/utf.h"
#include "module/platform/service_control.h"

namespace {

template <wchar_t kName>
class TestPlugin : public IServPlugin, public host::IHostIntake {
 public:
  virtual ~TestPlugin() { Tell(L"destroyed"); }

  void* GetInterface(const InterfaceId& id) override {
    if (id == host::IHostIntake::kInterfaceId && Has(L"call")) {
      return static_cast<host::IHostIntake*>(this);
    }
    if (id == IServPlugin::kInterfaceId || id == IOrnBaseInterface::kInterfaceId) {
      return static_cast<IServPlugin*>(this);
    }
    return nullptr;
  }

  int32_t Init(IServMain* main) override {
    manager_ = main->GetComponentManager();
    configuration_.GetPlugin(manager_);
    Tell(L"Init");
    if (const wchar_t* other = Option(L"get")) {
      void* object = nullptr;
      const uint32_t status = manager_->GetObject(other, IOrnBaseInterface::kInterfaceId, &object);
      Tell(L"get " + std::to_wstring(status) + (object != nullptr ? L" object" : L" null"));
    }
    if (const wchar_t* variable = Option(L"tell")) {
      wchar_t value[4096] = {};
      GetEnvironmentVariableW(variable, value, 4096);
      Tell(std::wstring(variable) + L"=" + value);
    }
    if (Has(L"pid")) Tell(L"pid " + std::to_wstring(GetCurrentProcessId()));
    if (const wchar_t* command = Option(L"run")) Run(command);
    return Has(L"failInit") ? std::stoi(Option(L"failInit")) : 0;
  }

  void UnInit() override {
    Tell(L"UnInit");
    if (const wchar_t* other = Option(L"get")) manager_->ReleaseObject(other);
  }

  int32_t Start() override {
    Tell(L"Start");
    if (const wchar_t* other = Option(L"stopHost")) {
      ExportedPlugin<EndpointService::IControl, EndpointService::IControl> control;
      const std::wstring object = L"ServiceControl::" + std::wstring(other) + L".exe";
      const uint32_t status = control.Load(L"ServiceInstance.Comm.dll", object.c_str());
      uint32_t running = 0;
      if (status == 0) control.get()->IsRunning(&running);
      Tell(L"stopHost " + std::to_wstring(status == 0 ? control.get()->Stop(INFINITE) : status) +
           (running != 0 ? L" running" : L" not running"));
    }
    return Has(L"failStart") ? std::stoi(Option(L"failStart")) : 0;
  }

  void Stop() override {
    Tell(L"Stop");
    if (Has(L"hang")) Sleep(INFINITE);
  }

  void OpenIntake() override {
    closing_.reset(CreateEventW(nullptr, TRUE, FALSE, nullptr));
    call_ = std::thread([this] {
      WaitForSingleObject(closing_.get(), INFINITE);
      Tell(L"call ends");
    });
  }

  void CloseIntake() override {
    SetEvent(closing_.get());
    call_.join();
    Tell(L"CloseIntake");
  }

 private:
  static void Run(std::wstring command) {
    STARTUPINFOW startup{};
    startup.cb = sizeof(startup);
    PROCESS_INFORMATION information{};
    CreateProcessW(nullptr, command.data(), nullptr, nullptr, /*inheritHandles=*/TRUE, 0, nullptr,
                   nullptr, &startup, &information);
    const orn::UniqueHandle process(information.hProcess), thread(information.hThread);
    WaitForSingleObject(process.get(), INFINITE);
  }

  const wchar_t* Option(const wchar_t* option) {
    const wchar_t name[] = {kName, 0};
    return configuration_ ? configuration_->GetOption(name, option) : nullptr;
  }
  bool Has(const wchar_t* option) { return Option(option) != nullptr; }

  void Tell(const std::wstring& what) {
    const auto line = orn::ToUtf8(std::wstring(1, kName) + L"." + what + L"\n");
    DWORD written = 0;
    WriteFile(GetStdHandle(STD_OUTPUT_HANDLE), line.c_str(), static_cast<DWORD>(line.length()),
              &written, nullptr);
  }

  ServPlugin<host::IHostConfiguration> configuration_{host::kConfigurationName};
  IComponentManager* manager_ = nullptr;
  orn::UniqueHandle closing_;
  std::thread call_;
};

ExportedObjectDeclaration<TestPlugin<L'A'>> a{L"A"};
ExportedObjectDeclaration<TestPlugin<L'B'>> b{L"B"};
ExportedObjectDeclaration<TestPlugin<L'C'>> c{L"C"};

}  // namespace
