#include "host/setup/install.h"

#include <shlwapi.h>
#include <wchar.h>

#include <functional>
#include <ranges>
#include <utility>
#include <vector>

#include "host/common/file_path.h"
#include "host/common/protected_folder.h"
#include "host/plugins/link/key_file.h"
#include "host/service/service_install.h"
#include "host/setup/configuration_files.h"
#include "host/setup/folder_replacement.h"
#include "host/setup/installation.h"
#include "host/setup/package_files.h"
#include "host/setup/registry_changes.h"
#include "host/setup/running_programs.h"
#include "host/setup/shortcut.h"
#include "module/frame/guid.h"
#include "module/frame/utf.h"
#include "module/frame/windows.h"

namespace host::setup {
namespace {

// Administrators change it, everybody reads it. The system is not named, whose account the worker
// has without its rights.
constexpr wchar_t kFolderAccess[] =
    L"O:BAD:P(A;OICI;FA;;;BA)(A;OICI;0x1200a9;;;AU)(A;OICI;0x1200a9;;;BU)";
constexpr uint32_t kPatience = 5000;  // Milliseconds until the files of ended programs are free.
constexpr size_t kLargestLog = 64 * 1024 * 1024;
constexpr size_t kLogEnd = 3000;

std::wstring ComputerName() {
  wchar_t name[256] = {};
  DWORD size = 256;
  GetComputerNameExW(ComputerNameDnsHostname, name, &size);
  return name;
}

bool SamePath(const std::wstring& left, const std::wstring& right) {
  return _wcsicmp(left.c_str(), right.c_str()) == 0;
}

bool Contains(const std::wstring& folder, const std::wstring& path) {
  return SamePath(folder, path) || (path.size() > folder.size() && path[folder.size()] == L'\\' &&
                                    _wcsnicmp(folder.c_str(), path.c_str(), folder.size()) == 0);
}

class Installer {
 public:
  Installer(const SetupOptions& options, SetupLog& log)
      : options_(options),
        log_(log),
        found_(FindInstallation()),
        places_(ChoosePlaces(options, found_)),
        programs_(places_.programs),
        config_(places_.data + L"\\config") {}

  ExitCode Run() {
    if (!Recover() || !CheckPlaces() || !ChooseValues()) return failure_;
    log_.Tell((found_.present ? L"Upgrading version " + found_.version + L" to "
                              : L"Installing version ") +
              std::wstring(RA_VERSION) + L" in " + places_.programs + L", with its data in " +
              places_.data);
    if (StagePrograms() && StageConfiguration() && StopWhatRuns() && Replace() && Register() &&
        Start()) {
      Finish();
      return ExitCode::kDone;
    }
    return TakeBack();
  }

 private:
  static Installation ChoosePlaces(const SetupOptions& options, const Installation& found) {
    Installation places = found;
    if (!options.target.empty()) places.programs = options.target;
    if (!options.data.empty()) places.data = options.data;
    return places;
  }

  std::wstring ValuesFile() const { return places_.data + L"\\config\\setup.xml"; }

  bool Refuse(ExitCode code, const std::wstring& text, uint32_t status = 0) {
    failure_ = code;
    return log_.Fail(text, status);
  }

  bool CheckPlaces() {
    if (found_.present && IsNewer(found_.version, RA_VERSION)) {
      return Refuse(ExitCode::kNewerVersion,
                    L"Version " + found_.version + L" is installed, which is newer than " +
                        RA_VERSION + L". To go back, remove it first with uninstall /keep-data");
    }
    if (found_.present &&
        (!SamePath(places_.programs, found_.programs) || !SamePath(places_.data, found_.data))) {
      return Refuse(ExitCode::kBadArguments,
                    L"It is installed in " + found_.programs + L", with its data in " +
                        found_.data + L". To move it, remove it first with uninstall /keep-data");
    }
    if (Contains(places_.programs, places_.data) || Contains(places_.data, places_.programs)) {
      return Refuse(ExitCode::kBadArguments, L"Programs and data cannot lie in each other");
    }
    if (Contains(places_.programs, FolderOf(ProgramPath()))) {
      return Refuse(ExitCode::kBadArguments,
                    L"This is the installed set-up. Install from the unpacked package");
    }
    const std::wstring kept = ValuesFile();
    for (const std::wstring& folder : {places_.programs, places_.data}) {
      const bool ours = found_.present || (folder == places_.data && PathFileExistsW(kept.c_str()));
      if (!ours && PathIsDirectoryW(folder.c_str()) && !PathIsDirectoryEmptyW(folder.c_str()))
        return Refuse(ExitCode::kBadArguments, folder + L" holds something else already");
    }
    return true;
  }

  // After a set-up that was cut off.
  bool Recover() {
    for (FolderReplacement* folder : {&programs_, &config_}) {
      if (const uint32_t status = folder->Recover(); status != 0)
        return Refuse(ExitCode::kFailed, L"What an earlier set-up left cannot be removed", status);
    }
    return true;
  }

  bool ChooseValues() {
    old_values_ = ReadSetupValues(ValuesFile());
    old_values_.data = places_.data;
    values_ = old_values_;
    if (!options_.server.empty()) values_.server = options_.server;
    if (!options_.name.empty()) values_.machine_name = options_.name;
    if (values_.machine_id.empty()) values_.machine_id = std::wstring(orn::GenerateGuid().view());
    if (values_.machine_name.empty()) values_.machine_name = ComputerName();
    if (values_.server.empty())
      return Refuse(ExitCode::kBadArguments, L"/server is needed: nothing is installed yet");

    const std::wstring& file = options_.key_file.empty() ? values_.key_file() : options_.key_file;
    const auto key = link::ReadKeyFile(file);
    if (key) {
      key_ = orn::ToUtf8(*key).view();
      return true;
    }
    return Refuse(ExitCode::kBadArguments,
                  options_.key_file.empty()
                      ? L"/key-file is needed: there is no enrolment key yet"
                      : file +
                            L" is not there or holds no enrolment key: one word of printable "
                            L"ASCII, shorter than 1 KiB");
  }

  bool StagePrograms() {
    Package package(FolderOf(FolderOf(ProgramPath())));
    PackageProblem problem;
    if (!package.Open(problem)) return Refuse(ExitCode::kBadPackage, problem.text, problem.code);
    if (const uint32_t status = programs_.Begin(kFolderAccess); status != 0)
      return Refuse(ExitCode::kFailed, programs_.fresh() + L" cannot be made", status);
    if (!package.CopyTo(programs_.fresh(), problem)) {
      return Refuse(problem.code == 0 ? ExitCode::kBadPackage : ExitCode::kFailed, problem.text,
                    problem.code);
    }
    log_.Tell(L"The package is complete and copied");
    return true;
  }

  bool StageConfiguration() {
    const bool new_data = !PathFileExistsW(places_.data.c_str());
    uint32_t status = PrepareProtectedFolder(places_.data, kFolderAccess);
    if (status == ERROR_INVALID_OWNER) {
      return log_.Fail(places_.data +
                           L" belongs to a user who is no administrator, and who could "
                           L"change what is in it. Remove it, or let administrators own it",
                       status);
    }
    if (status != 0) return log_.Fail(places_.data + L" cannot be made", status);
    if (new_data)
      OnFailure(L"the folder of the data", [this] { return RemoveFolder(places_.data); });
    // The agent itself writes there, too.
    if (!MachineKeyExists(kSettingsKey)) {
      OnFailure(L"the settings", [] { return RemoveKey(HKEY_LOCAL_MACHINE, kSettingsKey); });
    }
    status = config_.Begin(kFolderAccess);
    if (status != 0) return log_.Fail(config_.fresh() + L" cannot be made", status);
    const bool anew = !old_values_.server.empty() && values_ != old_values_;
    return WriteConfigurations(programs_.fresh() + L"\\templates", config_.fresh(), values_, key_,
                               anew, log_);
  }

  bool StopWhatRuns() {
    // One that does not end in time is ended, which is a failure for Windows.
    if (SuspendRestarts(kServiceName) == 0)
      OnFailure(L"the restarts of the service", [this] { return RestoreRestarts(); });
    bool running = false;
    const uint32_t status = StopService(Service(), running);
    had_service_ = status != ERROR_SERVICE_DOES_NOT_EXIST;
    if (status != 0 && had_service_) return log_.Fail(L"The service cannot be stopped", status);
    if (running) {
      log_.Tell(L"The service has stopped");
      OnFailure(L"the service", [] { return StartInstalledService(kServiceName); });
    }
    if (!EndProgramsIn(places_.programs, log_)) return false;
    const std::wstring in_use = FindFileInUse(places_.programs, kPatience);
    return in_use.empty() ||
           log_.Fail(in_use + L" is in use by another program, which has to be closed first");
  }

  bool Replace() {
    for (FolderReplacement* folder : {&programs_, &config_}) {
      OnFailure(L"a folder", [folder] { return folder->TakeBack(); });
      if (const uint32_t status = folder->Swap(); status != 0)
        return log_.Fail(folder->fresh() + L" cannot take its place", status);
    }
    log_.Tell(L"Programs and configuration are in place");
    return true;
  }

  bool Register() {
    OnFailure(L"the registry", [this] { return registry_.TakeBack(); });
    const std::wstring uninstall = Quoted(L"TsrSetup.exe") + L" uninstall";
    const std::pair<const wchar_t*, std::wstring> texts[] = {
        {L"DisplayName", L"RemoteAccess"},
        {L"DisplayVersion", RA_VERSION},
        {L"Publisher", L"Tessaro"},
        {L"DisplayIcon", places_.programs + L'\\' + kConsoleProgram},
        {L"InstallLocation", places_.programs},
        {kDataLocation, places_.data},
        {L"UninstallString", uninstall + L" /elevate"},
        {L"QuietUninstallString", uninstall},
    };
    uint32_t status = 0;
    for (const auto& [name, text] : texts) {
      if (status == 0) status = registry_.SetText(kUninstallKey, name, text);
    }
    for (const wchar_t* name : {L"NoModify", L"NoRepair"}) {
      if (status == 0) status = registry_.SetNumber(kUninstallKey, name, 1);
    }
    if (status == 0)
      status = registry_.SetText(kRunKey, kRunValue,
                                 Quoted(kConsoleProgram) + L" /tray " + ConsoleConfiguration());
    if (status == 0 && options_.feature)
      status = registry_.SetNumber(kFeatureKey, L"enabled", *options_.feature ? 1 : 0);
    if (status != 0) return log_.Fail(L"The registry cannot be written", status);

    status = had_service_ ? UpdateService(Service(), ServiceProgram())
                          : InstallService(Service(), ServiceProgram());
    if (status == ERROR_SERVICE_MARKED_FOR_DELETE) {
      return log_.Fail(
          L"The service of an earlier installation is marked for deletion. Close what shows or "
          L"watches services, or restart Windows, and install again",
          status);
    }
    if (status != 0) return log_.Fail(L"The service cannot be registered", status);
    if (!had_service_)
      OnFailure(L"the registration of the service", [this] { return UninstallService(Service()); });
    log_.Tell(L"The service is registered");
    return true;
  }

  bool Start() {
    if (!options_.start) return true;
    // One that does not start must not be started again while it is replaced.
    uint32_t status = SuspendRestarts(kServiceName);
    if (status != 0) return log_.Fail(L"The service cannot be changed", status);
    OnFailure(L"the restarts of the service", [this] { return RestoreRestarts(); });
    OnFailure(L"the start of the service", [this] {
      bool running = false;
      return StopService(Service(), running);
    });
    status = StartInstalledService(kServiceName);
    if (status == 0) status = RestoreRestarts();
    if (status == 0) {
      log_.Tell(L"The service runs; it connects to " + values_.server +
                L" and tries again while that cannot be reached");
      return true;
    }
    std::string text;
    ReadWholeFile(places_.data + L"\\data\\log\\TsrSecurityService.log", kLargestLog, text);
    log_.Note(L"The end of the service's log:\r\n" +
              WideText(text.substr(text.size() - std::min(text.size(), kLogEnd))));
    return log_.Fail(L"The service does not start. The end of its log is in " + log_.file(),
                     status);
  }

  void Finish() {
    programs_.Commit();
    config_.Commit();
    if (const uint32_t status =
            WriteShortcut(ShortcutPath(),
                          {.program = places_.programs + L'\\' + kConsoleProgram,
                           .arguments = ConsoleConfiguration(),
                           .description = L"Who is connected to this machine, and what was done"});
        status != 0) {
      log_.Fail(L"There is no entry in the start menu", status);
    }
    log_.Tell(std::wstring(L"Done. The feature is ") +
              (ReadMachineNumber(kFeatureKey, L"enabled") == 1
                   ? L"on"
                   : L"off until somebody switches it on") +
              L". Each user's window starts when he signs in");
  }

  ExitCode TakeBack() {
    bool taken_back = true;
    for (const auto& [what, undo] : std::views::reverse(undo_)) {
      if (const uint32_t status = undo(); status != 0)
        taken_back = log_.Fail(L"Not taken back: " + what, status);
    }
    undo_.clear();
    if (!taken_back) return ExitCode::kNotTakenBack;
    log_.Tell(found_.present ? L"Everything is as it was before" : L"Nothing is installed");
    return failure_;
  }

  void OnFailure(std::wstring what, std::function<uint32_t()> undo) {
    undo_.emplace_back(std::move(what), std::move(undo));
  }

  Configuration Service() const {
    Configuration configuration;
    configuration.name = kServiceName;
    configuration.file = values_.config() + L'\\' + kServiceProgram + L".xml";
    return configuration;
  }

  uint32_t RestoreRestarts() const { return UpdateService(Service(), ServiceProgram()); }

  std::wstring ServiceProgram() const { return places_.programs + L'\\' + kServiceProgram; }

  std::wstring Quoted(const wchar_t* program) const {
    return L'"' + places_.programs + L'\\' + program + L'"';
  }

  std::wstring ConsoleConfiguration() const {
    return L"/config \"" + values_.config() + L'\\' + kConsoleProgram + L".xml\"";
  }

  const SetupOptions& options_;
  SetupLog& log_;
  const Installation found_;
  const Installation places_;
  SetupValues old_values_;
  SetupValues values_;
  std::string key_;
  bool had_service_ = false;
  ExitCode failure_ = ExitCode::kFailed;
  FolderReplacement programs_;
  FolderReplacement config_;
  RegistryChanges registry_;
  std::vector<std::pair<std::wstring, std::function<uint32_t()>>> undo_;
};

}  // namespace

ExitCode Install(const SetupOptions& options, SetupLog& log) {
  return Installer(options, log).Run();
}

}  // namespace host::setup
