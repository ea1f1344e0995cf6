#include "host/setup/uninstall.h"

#include <shlwapi.h>
#include <wchar.h>

#include <vector>

#include "host/common/file_path.h"
#include "host/service/service_install.h"
#include "host/setup/folder_replacement.h"
#include "host/setup/installation.h"
#include "host/setup/registry_changes.h"
#include "host/setup/running_programs.h"
#include "host/setup/user_traces.h"
#include "module/frame/directory_walk.h"
#include "module/frame/handle.h"
#include "module/frame/windows.h"

namespace host::setup {
namespace {

// What the module packs and runs in, in the temporary folders, as far as the service was killed.
constexpr const wchar_t* kTemporary[] = {L"Tessaro.{899B55B7-2737-4C6E-AE15-51B2D361C85E}",
                                         L"Tessaro.{013D0CD6-1A80-4332-AC26-D4538ABF0971}"};

class Remover {
 public:
  Remover(const SetupOptions& options, SetupLog& log)
      : options_(options), log_(log), found_(FindInstallation()) {}

  ExitCode Run() {
    if (!found_.present && !PathIsDirectoryW((found_.data + L"\\config").c_str())) {
      log_.Fail(L"RemoteAccess is not installed");
      return ExitCode::kNotInstalled;
    }
    log_.Tell(L"Removing RemoteAccess " + found_.version);
    // Programs that still run would make anew what is removed.
    if (!RemoveService()) return ExitCode::kNotAllRemoved;
    if (!EndProgramsIn(found_.programs, log_)) return ExitCode::kNotAllRemoved;
    if (found_.present) RemovePrograms();
    // What a user may have arranged so that it cannot be removed holds nothing else up.
    bool users_complete = RemoveTemporary();
    users_complete = RemoveUserTraces(log_) && users_complete;
    if (options_.keep_data) {
      log_.Tell(found_.data + L" stays, with the machine's identity, its key and its history");
    } else {
      RemoveData();
    }
    RemoveRegistry();
    if (!complete_) {
      log_.Fail(
          L"Not everything could be removed; see above. Close what uses it and run this again");
      return ExitCode::kNotAllRemoved;
    }
    if (remove_own_folder_ && !RemoveOwnFolder()) return ExitCode::kNotAllRemoved;
    log_.Tell(L"Done. RemoteAccess is removed");
    return users_complete ? ExitCode::kDone : ExitCode::kNotAllRemoved;
  }

 private:
  void Check(const std::wstring& what, uint32_t status) {
    if (status != 0) complete_ = log_.Fail(what + L" cannot be removed", status);
  }

  bool RemoveService() {
    Configuration configuration;
    configuration.name = kServiceName;
    const uint32_t status = UninstallService(configuration);
    if (status == 0) log_.Tell(L"The service has stopped and is removed");
    if (status == ERROR_SERVICE_MARKED_FOR_DELETE) {
      log_.Tell(
          L"The service goes once nobody holds it any more: when what shows or watches "
          L"services is closed, or Windows restarts");
    }
    return status == 0 || status == ERROR_SERVICE_DOES_NOT_EXIST ||
           status == ERROR_SERVICE_MARKED_FOR_DELETE ||
           log_.Fail(L"The service cannot be removed", status);
  }

  void RemovePrograms() {
    for (const wchar_t* rest : {kFreshSuffix, kOldSuffix})
      Check(found_.programs + rest, RemoveFolder(found_.programs + rest));
    const std::wstring own = ProgramPath();
    remove_own_folder_ =
        _wcsnicmp(own.c_str(), (found_.programs + L'\\').c_str(), found_.programs.size() + 1) == 0;
    if (!remove_own_folder_) {
      Check(found_.programs, RemoveFolder(found_.programs));
      return;
    }
    std::vector<orn::DirectoryEntry> entries;
    orn::WalkDirectory(found_.programs.c_str(), [&](const orn::DirectoryEntry& entry) {
      // What is in a folder goes with it.
      if (FolderOf(entry.path).size() == found_.programs.size()) entries.push_back(entry);
      return true;
    });
    for (const orn::DirectoryEntry& entry : entries) {
      if (_wcsicmp(entry.path.c_str(), own.c_str()) == 0) continue;
      if (entry.is_directory) {
        Check(entry.path, RemoveFolder(entry.path));
      } else {
        SetFileAttributesW(entry.path.c_str(), FILE_ATTRIBUTE_NORMAL);
        Check(entry.path, DeleteFileW(entry.path.c_str()) ? 0 : GetLastError());
      }
    }
  }

  void RemoveData() {
    const std::wstring config = L"\\config";
    for (const std::wstring& part : {config, config + kFreshSuffix, config + kOldSuffix,
                                     std::wstring(L"\\worker"), std::wstring(L"\\data")}) {
      Check(found_.data + part, RemoveFolder(found_.data + part));
    }
    // Somebody may have put something else there.
    if (!RemoveDirectoryW(found_.data.c_str()) && GetLastError() == ERROR_DIR_NOT_EMPTY)
      log_.Tell(found_.data + L" stays: there is something in it that is not ours");
  }

  // The service's temporary folder is one in which every user may write.
  bool RemoveTemporary() {
    bool complete = true;
    wchar_t own[MAX_PATH + 1] = {};
    GetTempPathW(MAX_PATH + 1, own);
    // It may be told by short names.
    GetLongPathNameW(own, own, MAX_PATH + 1);
    for (const std::wstring name : kTemporary) {
      for (const std::wstring& path :
           {own + name, ConfiguredPath(L"", L"%SystemRoot%\\Temp\\" + name)}) {
        const uint32_t status = RemoveForeignFolder(path);
        if (status != 0) complete = log_.Fail(path + L" cannot be removed", status);
      }
    }
    return complete;
  }

  void RemoveRegistry() {
    const LSTATUS status = RegDeleteKeyValueW(HKEY_LOCAL_MACHINE, kRunKey, kRunValue);
    Check(kRunKey, status == ERROR_FILE_NOT_FOUND ? 0 : static_cast<uint32_t>(status));
    const std::wstring shortcut = ShortcutPath();
    Check(shortcut,
          DeleteFileW(shortcut.c_str()) || !PathFileExistsW(shortcut.c_str()) ? 0 : GetLastError());
    Check(kSettingsKey, RemoveKey(HKEY_LOCAL_MACHINE, kSettingsKey));
    // The last: while it is there, a further run knows where to go on.
    if (complete_) Check(kUninstallKey, RemoveKey(HKEY_LOCAL_MACHINE, kUninstallKey));
  }

  // A program that runs cannot delete itself. A command processor tries until it has ended.
  bool RemoveOwnFolder() {
    const std::wstring own = ProgramPath();
    const std::wstring system = ConfiguredPath(L"", L"%SystemRoot%\\System32");
    // The pause between two tries is a second of waiting for an answer of this machine itself.
    std::wstring command = L"\"" + system +
                           L"\\cmd.exe\" /d /c for /l %i in (1,1,60) do (del /f /q \"" + own +
                           L"\" & rd \"" + found_.programs + L"\" & if not exist \"" +
                           found_.programs + L"\" (exit) else ping -n 2 127.0.0.1)";
    STARTUPINFOW startup{};
    startup.cb = sizeof(startup);
    PROCESS_INFORMATION process{};
    if (CreateProcessW((system + L"\\cmd.exe").c_str(), command.data(), /*processSecurity=*/nullptr,
                       /*threadSecurity=*/nullptr, /*inheritHandles=*/FALSE, CREATE_NO_WINDOW,
                       /*environment=*/nullptr, system.c_str(), &startup, &process)) {
      CloseHandle(process.hThread);
      CloseHandle(process.hProcess);
      log_.Tell(own + L" and its folder are removed as soon as it has ended");
      return true;
    }
    log_.Note(L"No command processor: " + std::to_wstring(GetLastError()));
    if (MoveFileExW(own.c_str(), /*to=*/nullptr, MOVEFILE_DELAY_UNTIL_REBOOT) &&
        MoveFileExW(found_.programs.c_str(), /*to=*/nullptr, MOVEFILE_DELAY_UNTIL_REBOOT)) {
      log_.Tell(own + L" and its folder are removed when Windows starts again");
      return true;
    }
    return log_.Fail(own + L" cannot be removed", GetLastError());
  }

  const SetupOptions& options_;
  SetupLog& log_;
  const Installation found_;
  bool complete_ = true;
  bool remove_own_folder_ = false;
};

}  // namespace

ExitCode Uninstall(const SetupOptions& options, SetupLog& log) {
  return Remover(options, log).Run();
}

}  // namespace host::setup
