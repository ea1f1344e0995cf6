#pragma once

#include <string>

#include "module/platform/compressor.h"

namespace orn::RemoteAccess {

// One archive in the making by the compressor of 7z.dll, which is loaded from this module's folder
// and stays loaded. One thread, but for Abort.
class ArchiveCompressor {
 public:
  // Both in UTF-8. An empty path builds the archive in memory, an empty password encrypts nothing.
  // A missing library is a fault of the installation and ends the process.
  ArchiveCompressor(std::string archive_path, std::string password);
  ArchiveCompressor(const ArchiveCompressor&) = delete;
  ArchiveCompressor& operator=(const ArchiveCompressor&) = delete;
  ~ArchiveCompressor() { Release(); }

  // Whether the library has given a compressor. Without one only Release has an effect.
  bool exists() const noexcept { return compressor_ != nullptr; }

  void SetMode(uint32_t mode);
  bool AddFile(const wchar_t* path, const wchar_t* name);
  bool Compress();
  // Any thread. False where there is nothing to abort.
  bool Abort();
  void Release();

 private:
  const std::string password_;
  const std::string archive_path_;
  void* module_ = nullptr;  // A HMODULE, never freed.
  OrnCreateCompressorFunction create_ = nullptr;
  ICompressor* compressor_ = nullptr;  // Ends by its own Release.
  bool compressed_ = false;            // What Compress gave.
};

}  // namespace orn::RemoteAccess
