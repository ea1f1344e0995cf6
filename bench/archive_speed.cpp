// Packs a folder with the agent's compressor, as the module does.
//
//   archive_speed ARCHIVE FOLDER [PASSWORD]

#include <cstdio>
#include <filesystem>

#include "module/frame/windows.h"
#include "module/platform/compressor.h"

namespace {

namespace fs = std::filesystem;

// Returns whether all of it was packed.
bool Pack(orn::ICompressor& compressor, const wchar_t* archive, const fs::path& folder,
          const wchar_t* password) {
  compressor.SetMode(orn::kDeflateNormal);
  compressor.SetArchivePath(archive);
  if (password != nullptr) compressor.SetPassword(password);
  bool all_added = true;
  for (const auto& entry : fs::recursive_directory_iterator(folder)) {
    if (!entry.is_regular_file()) continue;
    const fs::path name = entry.path().lexically_relative(folder);
    all_added &= compressor.AddFile(entry.path().c_str(), name.c_str());
  }
  return compressor.Compress() && all_added;
}

}  // namespace

int wmain(int argc, wchar_t** argv) {
  const HMODULE library = LoadLibraryW(L"7z.dll");
  if (argc < 3 || library == nullptr) {
    std::fprintf(stderr, "usage: archive_speed ARCHIVE FOLDER [PASSWORD]\n");
    return 1;
  }
  const auto create = reinterpret_cast<orn::OrnCreateCompressorFunction>(
      reinterpret_cast<void*>(GetProcAddress(library, orn::kCreateCompressorName)));
  orn::ICompressor* const compressor = create(orn::kZipArchive);
  const bool packed = Pack(*compressor, argv[1], argv[2], argc > 3 ? argv[3] : nullptr);
  compressor->Release();
  return packed ? 0 : 1;
}
