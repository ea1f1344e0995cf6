#pragma once

#include <zip.h>

#include <atomic>
#include <memory>
#include <string>
#include <vector>

#include "host/compressor/deflate_ahead.h"
#include "host/compressor/entry_names.h"
#include "host/compressor/file_source.h"
#include "module/platform/compressor.h"

namespace host {

// Makes one ZIP archive: Deflate; AES-256 in the form that came with WinZip where there is a
// password; names in UTF-8; any number of files of any size. The times of a file are kept to the
// full, its attributes as far as ZIP has them. Each step only notes what is wanted; Compress does
// the work.
//
// A file that cannot be read any more when its turn comes is left out of the archive.
class ZipCompressor final : public orn::ICompressor {
 public:
  ZipCompressor() = default;
  ZipCompressor(const ZipCompressor&) = delete;
  ZipCompressor& operator=(const ZipCompressor&) = delete;

  // There is one mode so far.
  void SetMode(uint32_t) override {}
  void SetPassword(const wchar_t* password) override;
  bool AddFile(const wchar_t* path, const wchar_t* name) override;
  void SetArchivePath(const wchar_t* path) override;
  void SetInMemory(bool in_memory) override;
  // The file appears under its name when it is whole.
  bool Compress() override;
  void Abort() override { aborted_ = true; }
  void Release() override { delete this; }

 private:
  struct Entry {
    std::wstring path;
    std::string name;
    FileFacts facts;
    bool failed = false;
  };

  struct DiscardArchive {
    void operator()(zip_t* archive) const { zip_discard(archive); }
  };
  struct FreeSource {
    void operator()(zip_source_t* source) const { zip_source_free(source); }
  };
  using Archive = std::unique_ptr<zip_t, DiscardArchive>;
  using Source = std::unique_ptr<zip_source_t, FreeSource>;

  ~ZipCompressor() = default;

  bool WriteArchive();
  bool WriteEmptyArchive();
  Archive OpenArchive();
  bool AddEntry(zip_t* archive, DeflateAhead& ahead, size_t position);
  // Whether there were any.
  bool DropFailedEntries();

  std::atomic<bool> aborted_{false};
  // One thread only.
  std::string password_;
  std::wstring archive_path_;
  bool in_memory_ = false;
  EntryNames names_;
  std::vector<Entry> entries_;
  Source memory_;  // The archive that was built in memory.
};

}  // namespace host
