#include "host/setup/configuration_files.h"

#include <vector>

#include "host/common/file_path.h"
#include "host/service/configuration.h"
#include "host/setup/package_files.h"
#include "module/frame/directory_walk.h"
#include "module/frame/path.h"
#include "module/frame/windows.h"

namespace host::setup {
namespace {

constexpr size_t kLargestFile = 1024 * 1024;
constexpr std::wstring_view kTemplateEnd = L".in";
constexpr std::wstring_view kAsInstalled = L"\\as-installed\\";
// By name, not the system: the worker has the system's account without its rights.
constexpr wchar_t kKeyAccess[] = L"O:BAD:P(A;;FA;;;BA)";

class Writer {
 public:
  Writer(const std::wstring& fresh, const SetupValues& values, bool anew, SetupLog& log)
      : fresh_(fresh), values_(values), anew_(anew), log_(log) {}

  bool KeepOthers() {
    std::vector<orn::DirectoryEntry> entries;
    orn::WalkDirectory(values_.config().c_str(), [&](const orn::DirectoryEntry& entry) {
      entries.push_back(entry);
      return true;
    });
    for (const orn::DirectoryEntry& entry : entries) {
      const std::wstring name = entry.path.substr(values_.config().size() + 1);
      // Written anew, with its own access.
      if (name == kKeyName) continue;
      const std::wstring to = fresh_ + L'\\' + name;
      // The file itself, with the access that somebody may have given it; a copy would be for all
      // to read.
      const bool kept = entry.is_directory
                            ? CreateDirectoryW(to.c_str(), nullptr)
                            : CreateHardLinkW(to.c_str(), entry.path.c_str(), nullptr) ||
                                  CopyFileW(entry.path.c_str(), to.c_str(), TRUE);
      if (!kept) return log_.Fail(entry.path + L" cannot be copied", GetLastError());
    }
    return true;
  }

  bool Write(const std::wstring& name, const std::string& text) {
    std::string found, written;
    const bool there = Read(values_.config() + L'\\' + name, found);
    const bool changed = there &&
                         Read(values_.config() + std::wstring(kAsInstalled) + name, written) &&
                         found != written;
    if (!Put(fresh_ + std::wstring(kAsInstalled) + name, text)) return false;
    if (!changed) return Put(fresh_ + L'\\' + name, text);
    if (anew_) {
      log_.Tell(name + L" had been changed by hand; it is written anew, and the changed one is " +
                name + L".old beside it");
      return Put(fresh_ + L'\\' + name + L".old", found) && Put(fresh_ + L'\\' + name, text);
    }
    if (text == written) return true;
    log_.Tell(name + L" has been changed by hand and stays; the new one is " + name +
              L".new beside it");
    return Put(fresh_ + L'\\' + name + L".new", text);
  }

  // What the hosts will say of it, said before anything depends on it.
  bool Check(const std::wstring& name) {
    Configuration configuration;
    ConfigurationProblem problem;
    if (ReadConfiguration(fresh_ + L'\\' + name, configuration, problem)) return true;
    return log_.Fail(values_.config() + L'\\' + name + L"(" + std::to_wstring(problem.line) +
                         L"): " + problem.text,
                     problem.code);
  }

  bool Put(const std::wstring& path, const std::string& text, const std::wstring& access = {}) {
    orn::PathStringT<260> folder;
    folder += FolderOf(path);
    uint32_t status = orn::CreateFolderRecursively(folder) ? 0 : GetLastError();
    if (status == 0 && !DeleteFileW(path.c_str()) && GetLastError() != ERROR_FILE_NOT_FOUND)
      status = GetLastError();
    if (status == 0) status = WriteNewFile(path, text, access);
    return status == 0 || log_.Fail(path + L" cannot be written", status);
  }

 private:
  static bool Read(const std::wstring& path, std::string& text) {
    return ReadWholeFile(path, kLargestFile, text) == 0;
  }

  const std::wstring& fresh_;
  const SetupValues& values_;
  const bool anew_;
  SetupLog& log_;
};

}  // namespace

bool WriteConfigurations(const std::wstring& templates, const std::wstring& fresh,
                         const SetupValues& values, const std::string& key, bool anew,
                         SetupLog& log) {
  Writer writer(fresh, values, anew, log);
  if (!writer.KeepOthers()) return false;
  std::vector<std::wstring> paths;
  orn::WalkDirectory(templates.c_str(), [&](const orn::DirectoryEntry& entry) {
    if (entry.path.ends_with(kTemplateEnd)) paths.push_back(entry.path);
    return true;
  });
  if (paths.empty()) return log.Fail(templates + L" has no configurations");
  for (const std::wstring& path : paths) {
    std::string text;
    if (const uint32_t status = ReadWholeFile(path, kLargestFile, text); status != 0)
      return log.Fail(path + L" cannot be read", status);
    text = FillTemplate(std::move(text), values);
    if (text.empty()) return log.Fail(path + L" asks for a value that set-up does not know");
    const size_t begin = templates.size() + 1;
    const std::wstring name = path.substr(begin, path.size() - begin - kTemplateEnd.size());
    if (!writer.Write(name, text) || !writer.Check(name)) return false;
  }
  return writer.Put(fresh + L"\\setup.xml", SetupValuesText(values)) &&
         writer.Put(fresh + L'\\' + kKeyName, key, kKeyAccess);
}

}  // namespace host::setup
