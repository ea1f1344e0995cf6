// The export of 7z.dll. What it gives stands in module/platform/compressor.h.

#include <new>

#include "host/compressor/zip_compressor.h"

extern "C" {

orn::ICompressor* OrnCreateCompressor(uint32_t type);

orn::ICompressor* OrnCreateCompressor(uint32_t type) {
  return type == orn::kZipArchive ? new (std::nothrow) host::ZipCompressor : nullptr;
}

}  // extern "C"

// A definition that strays from the type under which others call it does not compile.
[[maybe_unused]] static constexpr orn::OrnCreateCompressorFunction kOrnCreateCompressor =
    OrnCreateCompressor;
