#include "module/jobs/archive_compressor.h"

#include <utility>

#include "module/frame/path.h"
#include "module/frame/utf.h"
#include "module/frame/windows.h"

namespace orn::RemoteAccess {

ArchiveCompressor::ArchiveCompressor(std::string archive_path, std::string password)
    : password_(std::move(password)), archive_path_(std::move(archive_path)) {
  PathStringT<260> library;
  GetModuleFolder(library);
  AppendPath(library, L"7z.dll");
  const HMODULE module = LoadLibraryW(library.c_str());
  module_ = module;
  create_ = reinterpret_cast<OrnCreateCompressorFunction>(
      reinterpret_cast<void*>(GetProcAddress(module, kCreateCompressorName)));
  if (create_ == nullptr) FatalError();
  compressor_ = create_(kZipArchive);
  if (compressor_ == nullptr) return;
  if (!password_.empty()) compressor_->SetPassword(ToWide(password_).c_str());
  compressor_->SetMode(kDeflateNormal);
  if (archive_path_.empty()) {
    compressor_->SetInMemory(true);
  } else {
    compressor_->SetArchivePath(ToWide(archive_path_).c_str());
  }
}

void ArchiveCompressor::SetMode(uint32_t mode) {
  if (compressor_ != nullptr) compressor_->SetMode(mode);
}

bool ArchiveCompressor::AddFile(const wchar_t* path, const wchar_t* name) {
  return compressor_ != nullptr && compressor_->AddFile(path, name);
}

bool ArchiveCompressor::Compress() {
  compressed_ = compressor_ != nullptr && compressor_->Compress();
  return compressed_;
}

bool ArchiveCompressor::Abort() {
  if (compressor_ == nullptr) return false;
  compressor_->Abort();
  return true;
}

void ArchiveCompressor::Release() {
  if (compressor_ != nullptr) std::exchange(compressor_, nullptr)->Release();
}

}  // namespace orn::RemoteAccess
