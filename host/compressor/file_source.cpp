#include "host/compressor/file_source.h"

#include <algorithm>
#include <cstring>
#include <memory>
#include <new>
#include <vector>

#include "module/frame/long_path.h"

namespace host {
namespace {

// libzip asks for 8 KiB at a time.
constexpr DWORD kReadSize = 256 * 1024;

// From here on an entry gets the large headers, which are chosen before its size is known: packing
// may make it a little larger, up to where the small ones end.
constexpr uint64_t kLargeFile = 0xFF00'0000;

class FileSource {
 public:
  FileSource(const std::wstring& path, bool& failed, const std::atomic<bool>& aborted)
      : path_(path), failed_(failed), aborted_(aborted) {
    zip_error_init(&error_);
  }
  FileSource(const FileSource&) = delete;
  FileSource& operator=(const FileSource&) = delete;
  ~FileSource() { zip_error_fini(&error_); }

  static zip_int64_t Serve(void* self, void* data, zip_uint64_t length, zip_source_cmd_t command) {
    auto* const source = static_cast<FileSource*>(self);
    switch (command) {
      case ZIP_SOURCE_OPEN:
        return source->Open() ? 0 : -1;
      case ZIP_SOURCE_READ:
        return source->Read(static_cast<char*>(data), length);
      case ZIP_SOURCE_CLOSE:
        source->Close();
        return 0;
      case ZIP_SOURCE_STAT:
        return source->Stat(static_cast<zip_stat_t*>(data));
      case ZIP_SOURCE_ERROR:
        return zip_error_to_data(&source->error_, data, length);
      case ZIP_SOURCE_FREE:
        delete source;
        return 0;
      case ZIP_SOURCE_SUPPORTS:
        return zip_source_make_command_bitmap(ZIP_SOURCE_OPEN, ZIP_SOURCE_READ, ZIP_SOURCE_CLOSE,
                                              ZIP_SOURCE_STAT, ZIP_SOURCE_ERROR, ZIP_SOURCE_FREE,
                                              -1);
      default:  // libzip has many more, for sources of other kinds.
        zip_error_set(&source->error_, ZIP_ER_OPNOTSUPP, 0);
        return -1;
    }
  }

 private:
  // Stays open from the first question for its size to the end of the reading.
  bool Open() {
    if (file_) return true;
    file_ = OpenShared(path_, facts_);
    if (!file_) return Fail(ZIP_ER_OPEN);
    measured_ = true;
    left_ = facts_.size;
    return true;
  }

  void Close() {
    file_.reset();
    buffer_ = std::vector<char>();  // `{}` would keep the memory, of each file in the archive.
  }

  zip_int64_t Stat(zip_stat_t* stat) {
    // It is asked once more after the reading, when the file may have gone.
    if (!measured_ && !Open()) return -1;
    zip_stat_init(stat);
    if (facts_.size < kLargeFile) {
      stat->valid |= ZIP_STAT_SIZE;
      stat->size = facts_.size;
    }
    return sizeof(*stat);
  }

  zip_int64_t Read(char* data, zip_uint64_t length) {
    if (aborted_) {
      zip_error_set(&error_, ZIP_ER_CANCELLED, 0);
      return -1;
    }
    if (next_ == end_ && !Fill()) return -1;
    const auto count = static_cast<DWORD>(std::min<uint64_t>(length, end_ - next_));
    std::memcpy(data, buffer_.data() + next_, count);
    next_ += count;
    return count;
  }

  bool Fill() {
    next_ = end_ = 0;
    const auto wanted = static_cast<DWORD>(std::min<uint64_t>(kReadSize, left_));
    if (wanted == 0) return true;
    if (buffer_.empty()) buffer_.resize(wanted);
    if (!ReadFile(file_.get(), buffer_.data(), wanted, &end_, /*overlapped=*/nullptr)) {
      end_ = 0;
      return GetLastError() == ERROR_HANDLE_EOF || Fail(ZIP_ER_READ);
    }
    left_ = end_ == 0 ? 0 : left_ - end_;
    return true;
  }

  bool Fail(int code) {
    failed_ = true;
    zip_error_set(&error_, code, 0);
    return false;
  }

  const std::wstring& path_;
  bool& failed_;
  const std::atomic<bool>& aborted_;
  zip_error_t error_;
  orn::UniqueFile file_;
  FileFacts facts_;
  bool measured_ = false;
  uint64_t left_ = 0;  // to be read from the file
  std::vector<char> buffer_;
  DWORD next_ = 0, end_ = 0;  // what of the buffer is to be given out
};

}  // namespace

orn::UniqueFile OpenShared(const std::wstring& path, FileFacts& facts) {
  orn::UniqueFile file(CreateFileW(orn::LongPath(path).c_str(), GENERIC_READ,
                                   FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE,
                                   /*security=*/nullptr, OPEN_EXISTING, FILE_FLAG_SEQUENTIAL_SCAN,
                                   /*template=*/nullptr));
  // Not GetFileInformationByHandle, which asks for the volume too.
  FILE_BASIC_INFO information;
  LARGE_INTEGER size;
  if (!file || GetFileType(file.get()) != FILE_TYPE_DISK || !GetFileSizeEx(file.get(), &size) ||
      !GetFileInformationByHandleEx(file.get(), FileBasicInfo, &information, sizeof(information))) {
    return {};
  }
  facts = {.size = static_cast<uint64_t>(size.QuadPart),
           .attributes = information.FileAttributes,
           .created = information.CreationTime.QuadPart,
           .read = information.LastAccessTime.QuadPart,
           .written = information.LastWriteTime.QuadPart};
  return file;
}

zip_source_t* CreateFileSource(zip_t* archive, const std::wstring& path, bool& failed,
                               const std::atomic<bool>& aborted) {
  auto source = std::make_unique<FileSource>(path, failed, aborted);
  zip_source_t* const created = zip_source_function(archive, FileSource::Serve, source.get());
  if (created != nullptr) static_cast<void>(source.release());
  return created;
}

}  // namespace host
