#include "host/setup/package_files.h"

#include "module/frame/windows.h"

#include <bcrypt.h>

#include <algorithm>
#include <array>

#include "host/common/file_path.h"
#include "host/common/security.h"
#include "module/frame/handle.h"
#include "module/frame/path.h"

namespace host::setup {
namespace {

constexpr size_t kHashDigits = 64;
constexpr size_t kLargestList = 256 * 1024;
constexpr size_t kLargestFile = 256 * 1024 * 1024;
constexpr std::wstring_view kPrograms = L"bin\\";
// Who has these has the package.
constexpr std::wstring_view kNotInstalled[] = {L"install.cmd", L"uninstall.cmd"};

// Empty on failure.
std::string Sha256(std::string& content) {
  std::array<unsigned char, 32> hash;
  BCRYPT_ALG_HANDLE algorithm = nullptr;
  if (BCryptOpenAlgorithmProvider(&algorithm, BCRYPT_SHA256_ALGORITHM, /*implementation=*/nullptr,
                                  /*flags=*/0) < 0) {
    return {};
  }
  const NTSTATUS status =
      BCryptHash(algorithm, /*secret=*/nullptr, 0, reinterpret_cast<PUCHAR>(content.data()),
                 static_cast<ULONG>(content.size()), hash.data(), static_cast<ULONG>(hash.size()));
  BCryptCloseAlgorithmProvider(algorithm, /*flags=*/0);
  if (status < 0) return {};
  std::string digits;
  for (const unsigned char byte : hash) {
    constexpr char kDigits[] = "0123456789abcdef";
    digits += {kDigits[byte >> 4], kDigits[byte & 15]};
  }
  return digits;
}

bool IsInside(std::wstring_view path) {
  return !path.empty() && path.find_first_of(L":*?\"<>|") == std::wstring_view::npos &&
         path.front() != L'\\' && path.back() != L'\\' &&
         (L'\\' + std::wstring(path) + L'\\').find(L"\\..\\") == std::wstring::npos;
}

}  // namespace

bool ReadPackageList(std::string_view text, std::vector<PackageFile>& files) {
  files.clear();
  while (!text.empty()) {
    const size_t end = std::min(text.find('\n'), text.size());
    const std::string_view line = text.substr(0, end);
    text.remove_prefix(std::min(end + 1, text.size()));
    if (line.size() < kHashDigits + 3 || line.substr(kHashDigits, 2) != "  ") return false;
    PackageFile file;
    file.sha256 = line.substr(0, kHashDigits);
    file.path = WideText(line.substr(kHashDigits + 2));
    std::ranges::replace(file.path, L'/', L'\\');
    if (!IsInside(file.path)) return false;
    if (std::ranges::find(kNotInstalled, file.path) != std::end(kNotInstalled)) continue;
    file.target = file.path.substr(file.path.starts_with(kPrograms) ? kPrograms.size() : 0);
    files.push_back(std::move(file));
  }
  return !files.empty();
}

bool Package::Open(PackageProblem& problem) {
  std::string text;
  const uint32_t status = ReadWholeFile(folder_ + L"\\SHA256SUMS", kLargestList, text);
  if (status == 0 && ReadPackageList(text, files_)) return true;
  problem = {.text = folder_ + L"\\SHA256SUMS, the list of the package, cannot be read",
             .code = status};
  return false;
}

bool Package::CopyTo(const std::wstring& target, PackageProblem& problem) const {
  for (const PackageFile& file : files_) {
    const std::wstring source = folder_ + L'\\' + file.path;
    std::string content;
    if (const uint32_t status = ReadWholeFile(source, kLargestFile, content);
        status == ERROR_FILE_NOT_FOUND || status == ERROR_PATH_NOT_FOUND) {
      problem = {.text = source + L" is missing"};
      return false;
    } else if (status != 0) {
      problem = {.text = source + L" cannot be read", .code = status};
      return false;
    }
    if (Sha256(content) != file.sha256) {
      problem = {.text = source + L" is damaged"};
      return false;
    }
    const std::wstring path = target + L'\\' + file.target;
    orn::PathStringT<260> folder;
    folder += FolderOf(path);
    uint32_t status = orn::CreateFolderRecursively(folder) ? 0 : GetLastError();
    if (status == 0) status = WriteNewFile(path, content);
    if (status != 0) {
      problem = {.text = path + L" cannot be written", .code = status};
      return false;
    }
  }
  return true;
}

uint32_t ReadWholeFile(const std::wstring& path, size_t limit, std::string& content) {
  const orn::UniqueFile file(CreateFileW(path.c_str(), GENERIC_READ, FILE_SHARE_READ,
                                         /*security=*/nullptr, OPEN_EXISTING, FILE_ATTRIBUTE_NORMAL,
                                         /*template=*/nullptr));
  LARGE_INTEGER size{};
  if (!file || !GetFileSizeEx(file.get(), &size)) return GetLastError();
  if (size.QuadPart > static_cast<int64_t>(limit)) return ERROR_FILE_TOO_LARGE;
  content.resize(static_cast<size_t>(size.QuadPart));
  DWORD length = 0;
  if (!ReadFile(file.get(), content.data(), static_cast<DWORD>(content.size()), &length,
                /*overlapped=*/nullptr)) {
    return GetLastError();
  }
  content.resize(length);
  return 0;
}

uint32_t WriteNewFile(const std::wstring& path, std::string_view content,
                      const std::wstring& access) {
  SecurityDescriptor descriptor(access);
  if (!access.empty() && descriptor.attributes() == nullptr) return ERROR_INVALID_SECURITY_DESCR;
  const orn::UniqueFile file(CreateFileW(path.c_str(), GENERIC_WRITE, /*share=*/0,
                                         descriptor.attributes(), CREATE_NEW, FILE_ATTRIBUTE_NORMAL,
                                         /*template=*/nullptr));
  DWORD written = 0;
  if (!file) return GetLastError();
  if (!WriteFile(file.get(), content.data(), static_cast<DWORD>(content.size()), &written,
                 /*overlapped=*/nullptr) ||
      !FlushFileBuffers(file.get())) {
    return GetLastError();
  }
  return written == content.size() ? 0 : ERROR_DISK_FULL;
}

}  // namespace host::setup
