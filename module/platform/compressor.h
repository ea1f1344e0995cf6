#pragma once

#include <cstdint>

namespace orn {

// One archive in the making, an object of 7z.dll. The order of the operations is binary contract.
// One thread, but for Abort. Texts are UTF-16 and only borrowed.
//
//   ICompressor* const compressor = OrnCreateCompressor(kZipArchive);
//   compressor->SetMode(kDeflateNormal);
//   compressor->SetArchivePath(L"C:\\Temp\\report.zip");
//   compressor->AddFile(L"C:\\Users\\x\\a.txt", L"Users\\x\\a.txt");
//   const bool written = compressor->Compress();
//   compressor->Release();
struct ICompressor {
  virtual void SetMode(uint32_t mode) = 0;
  // Everything added is encrypted with AES-256.
  virtual void SetPassword(const wchar_t* password) = 0;
  // False where the file cannot be opened now; the archive goes on without it.
  virtual bool AddFile(const wchar_t* path, const wchar_t* name) = 0;
  virtual void SetArchivePath(const wchar_t* path) = 0;
  // The archive is built in memory and goes with the object.
  virtual void SetInMemory(bool in_memory) = 0;
  // Writes the archive; runs long. False where it was aborted or could not be written: then no
  // archive is left behind.
  virtual bool Compress() = 0;
  // Any thread, while the object lives: AddFile and Compress, running or to come, end soon with
  // false.
  virtual void Abort() = 0;
  // Destroys the object.
  virtual void Release() = 0;

 protected:
  ~ICompressor() = default;
};

inline constexpr uint32_t kZipArchive = 1;     // of OrnCreateCompressor
inline constexpr uint32_t kDeflateNormal = 2;  // of SetMode

// What 7z.dll exports under this name. Null for an unknown type.
using OrnCreateCompressorFunction = ICompressor* (*)(uint32_t type);
inline constexpr char kCreateCompressorName[] = "OrnCreateCompressor";

}  // namespace orn
