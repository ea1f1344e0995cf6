#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace host::setup {

// A file of the package, as its SHA256SUMS names it.
struct PackageFile {
  std::wstring path;    // In the package's folder.
  std::wstring target;  // In the folder of the programs.
  std::string sha256;   // 64 hexadecimal digits.
};

// Why a package is of no use.
struct PackageProblem {
  std::wstring text;
  uint32_t code = 0;
};

// Reads `HASH  NAME` lines: what stands in bin/ goes into the folder of the programs itself, all
// else keeps its folder; what only the package needs is left out. False where the text is no such
// list, or names a file outside of the package.
bool ReadPackageList(std::string_view text, std::vector<PackageFile>& files);

// An unpacked package in `folder`.
class Package {
 public:
  explicit Package(const std::wstring& folder) : folder_(folder) {}

  // False, with why in `problem`, where the list is missing or bad.
  bool Open(PackageProblem& problem);
  // Copies all into `target`, which is there and empty. A file that is missing or differs from what
  // the list says is a problem, with code 0, as is whatever goes wrong on the way.
  bool CopyTo(const std::wstring& target, PackageProblem& problem) const;

 private:
  const std::wstring folder_;
  std::vector<PackageFile> files_;
};

// The whole of a file of at most `limit` bytes. A status.
uint32_t ReadWholeFile(const std::wstring& path, size_t limit, std::string& content);

// Makes the file with that content, on the disk when this returns; `access` is a security
// descriptor's text, empty: as the folder hands down. A file that is there is an error. A status.
uint32_t WriteNewFile(const std::wstring& path, std::string_view content,
                      const std::wstring& access = {});

}  // namespace host::setup
