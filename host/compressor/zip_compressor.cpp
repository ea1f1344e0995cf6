#include "host/compressor/zip_compressor.h"

#include <algorithm>
#include <cstring>
#include <ctime>
#include <exception>
#include <iterator>
#include <utility>

#include "module/frame/long_path.h"
#include "module/frame/utf.h"

namespace host {
namespace {

// The end record of an archive without entries, which libzip does not write.
constexpr char kEmptyArchive[22] = {'P', 'K', 5, 6};

constexpr zip_uint32_t kNormalLevel = 6;

// What ZIP's own times can hold, from 1980 to 2107, in seconds since 1970.
constexpr int64_t kFirstZipTime = 315532800;
constexpr int64_t kLastZipTime = 4354819198;

time_t ZipTime(int64_t time) {
  constexpr int64_t kSecondsTo1970 = 11644473600;
  const int64_t seconds = time / 10'000'000 - kSecondsTo1970;
  // A day from either end, as the time zone is not known here.
  return std::clamp(seconds, kFirstZipTime + 86400, kLastZipTime - 86400);
}

// The times of the file in the form that NTFS has them.
bool SetTimes(zip_t* archive, zip_uint64_t index, const FileFacts& facts) {
  constexpr zip_uint16_t kNtfsTimes = 0x000A;
  constexpr uint16_t kTag = 1;
  const int64_t times[3] = {facts.written, facts.read, facts.created};
  constexpr uint16_t kSize = sizeof(times);
  zip_uint8_t field[4 + sizeof(kTag) + sizeof(kSize) + sizeof(times)] = {};
  std::memcpy(field + 4, &kTag, sizeof(kTag));
  std::memcpy(field + 6, &kSize, sizeof(kSize));
  std::memcpy(field + 8, times, sizeof(times));
  return zip_file_set_mtime(archive, index, ZipTime(facts.written), /*flags=*/0) == 0 &&
         zip_file_extra_field_set(archive, index, kNtfsTimes, ZIP_EXTRA_FIELD_NEW, field,
                                  sizeof(field), ZIP_FL_CENTRAL) == 0;
}

}  // namespace

void ZipCompressor::SetPassword(const wchar_t* password) {
  password_ = orn::ToUtf8(password == nullptr ? L"" : password).c_str();
}

void ZipCompressor::SetArchivePath(const wchar_t* path) {
  archive_path_ = path == nullptr ? L"" : path;
  in_memory_ = false;
}

void ZipCompressor::SetInMemory(bool in_memory) {
  in_memory_ = in_memory;
}

bool ZipCompressor::AddFile(const wchar_t* path, const wchar_t* name) try {
  if (aborted_ || path == nullptr || name == nullptr) return false;
  Entry entry{.path = path, .name = {}, .facts = {}};
  const orn::UniqueFile file = OpenShared(entry.path, entry.facts);
  if (!file) return false;
  // A file may be open to others and its contents locked all the same.
  char first;
  DWORD count = 0;
  if (!ReadFile(file.get(), &first, sizeof(first), &count, /*overlapped=*/nullptr)) return false;
  entry.name = orn::ToUtf8(names_.Add(name)).c_str();
  // ZIP counts the bytes of a name with 16 bits.
  if (entry.name.empty() || entry.name.size() > 0xFFFF) return false;
  entries_.push_back(std::move(entry));
  return true;
} catch (const std::exception&) {
  return false;
}

bool ZipCompressor::Compress() try {
  // A file that failed in the middle has spoiled the attempt; the next one goes without it.
  while (!aborted_) {
    if (WriteArchive()) return true;
    if (!DropFailedEntries()) return false;
  }
  return false;
} catch (const std::exception&) {
  return false;
}

bool ZipCompressor::DropFailedEntries() {
  if (std::none_of(entries_.begin(), entries_.end(), [](const Entry& e) { return e.failed; })) {
    return false;
  }
  // Where one has gone others may have too: one more attempt is dearer than a look at each.
  std::erase_if(entries_, [this](const Entry& entry) {
    FileFacts facts;
    return entry.failed || (!aborted_ && !OpenShared(entry.path, facts));
  });
  return true;
}

bool ZipCompressor::WriteArchive() {
  if (entries_.empty()) return WriteEmptyArchive();
  Archive archive = OpenArchive();
  if (archive == nullptr) return false;
  std::vector<DeflateAhead::Input> inputs;
  for (const Entry& entry : entries_)
    inputs.push_back({.path = entry.path, .size = entry.facts.size});
  DeflateAhead ahead(std::move(inputs), aborted_);
  for (size_t index = 0; index < entries_.size(); ++index) {
    if (aborted_ || !AddEntry(archive.get(), ahead, index)) return false;
  }
  const auto is_aborted = [](zip_t*, void* self) -> int {
    return static_cast<ZipCompressor*>(self)->aborted_ ? 1 : 0;
  };
  zip_register_cancel_callback_with_state(archive.get(), is_aborted, /*free=*/nullptr, this);
  if (zip_close(archive.get()) != 0) return false;
  static_cast<void>(archive.release());
  return true;
}

bool ZipCompressor::WriteEmptyArchive() {
  if (in_memory_) return true;
  const orn::UniqueFile file(CreateFileW(orn::LongPath(archive_path_).c_str(), GENERIC_WRITE,
                                         /*share=*/0, /*security=*/nullptr, CREATE_ALWAYS,
                                         FILE_ATTRIBUTE_NORMAL, /*template=*/nullptr));
  DWORD written = 0;
  return file &&
         WriteFile(file.get(), kEmptyArchive, sizeof(kEmptyArchive), &written,
                   /*overlapped=*/nullptr) &&
         written == sizeof(kEmptyArchive);
}

ZipCompressor::Archive ZipCompressor::OpenArchive() {
  Source source;
  if (in_memory_) {
    source.reset(zip_source_buffer_create(nullptr, 0, /*freep=*/1, /*error=*/nullptr));
  } else {
    const std::wstring path = orn::LongPath(archive_path_);
    const DWORD attributes = GetFileAttributesW(path.c_str());
    const bool is_folder =
        attributes != INVALID_FILE_ATTRIBUTES && (attributes & FILE_ATTRIBUTE_DIRECTORY) != 0;
    if (path.empty() || is_folder) return nullptr;
    source.reset(zip_source_win32w_create(path.c_str(), 0, /*len=*/-1, /*error=*/nullptr));
  }
  if (source == nullptr) return nullptr;
  Archive archive(zip_open_from_source(source.get(), ZIP_CREATE | ZIP_TRUNCATE, /*error=*/nullptr));
  if (archive == nullptr) return nullptr;
  // The archive has taken the source over.
  if (in_memory_) {
    zip_source_keep(source.get());
    memory_ = std::move(source);
  } else {
    static_cast<void>(source.release());
  }
  return archive;
}

bool ZipCompressor::AddEntry(zip_t* archive, DeflateAhead& ahead, size_t position) {
  Entry& entry = entries_[position];
  zip_source_t* const source =
      CreateFileSource(archive, entry.path, ahead, position, entry.failed, aborted_);
  if (source == nullptr) return false;
  const zip_int64_t added = zip_file_add(archive, entry.name.c_str(), source, ZIP_FL_ENC_UTF_8);
  if (added < 0) {
    zip_source_free(source);
    return false;
  }
  const auto index = static_cast<zip_uint64_t>(added);
  constexpr DWORD kZipAttributes = FILE_ATTRIBUTE_READONLY | FILE_ATTRIBUTE_HIDDEN |
                                   FILE_ATTRIBUTE_SYSTEM | FILE_ATTRIBUTE_ARCHIVE;
  if (zip_set_file_compression(archive, index, ZIP_CM_DEFLATE, kNormalLevel) != 0 ||
      zip_file_set_external_attributes(archive, index, /*flags=*/0, ZIP_OPSYS_DOS,
                                       entry.facts.attributes & kZipAttributes) != 0 ||
      !SetTimes(archive, index, entry.facts)) {
    return false;
  }
  return password_.empty() ||
         zip_file_set_encryption(archive, index, ZIP_EM_AES_256, password_.c_str()) == 0;
}

}  // namespace host
