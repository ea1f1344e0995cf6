#include "host/compressor/file_source.h"

#include <algorithm>
#include <cstring>
#include <memory>
#include <new>
#include <vector>

#include "host/compressor/deflate_ahead.h"
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
  FileSource(const std::wstring& path, DeflateAhead& ahead, size_t index, bool& failed,
             const std::atomic<bool>& aborted)
      : path_(path), ahead_(ahead), index_(index), failed_(failed), aborted_(aborted) {
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
  // From the first question for its size to the end of the reading the content is there, or the
  // file is open.
  bool Open() {
    if (opened_) return true;
    DeflatedFile deflated = ahead_.Take(index_);
    if (deflated.outcome == DeflatedFile::Outcome::kFailed) return Fail(ZIP_ER_OPEN);
    deflated_ = deflated.outcome == DeflatedFile::Outcome::kDeflated;
    if (deflated_) {
      size_ = deflated.size;
      crc_ = deflated.crc;
      buffer_ = std::move(deflated.data);
      packed_size_ = end_ = static_cast<DWORD>(buffer_.size());
    } else {
      FileFacts facts;
      file_ = OpenShared(path_, facts);
      if (!file_) return Fail(ZIP_ER_OPEN);
      size_ = left_ = facts.size;
    }
    opened_ = true;
    return true;
  }

  void Close() {
    file_.reset();
    buffer_ = std::vector<char>();  // `{}` would keep the memory, of each file in the archive.
  }

  zip_int64_t Stat(zip_stat_t* stat) {
    // It is asked once more after the reading, when the file may have gone.
    if (!Open()) return -1;
    zip_stat_init(stat);
    if (deflated_) {
      stat->valid |= ZIP_STAT_SIZE | ZIP_STAT_COMP_SIZE | ZIP_STAT_CRC | ZIP_STAT_COMP_METHOD;
      stat->size = size_;
      stat->comp_size = packed_size_;
      stat->crc = crc_;
      stat->comp_method = ZIP_CM_DEFLATE;
    } else if (size_ < kLargeFile) {
      stat->valid |= ZIP_STAT_SIZE;
      stat->size = size_;
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
  DeflateAhead& ahead_;
  const size_t index_;
  bool& failed_;
  const std::atomic<bool>& aborted_;
  zip_error_t error_;
  orn::UniqueFile file_;
  bool opened_ = false;
  uint64_t size_ = 0;      // of the file
  bool deflated_ = false;  // The buffer has it all, packed to
  DWORD packed_size_ = 0;  // so many bytes,
  uint32_t crc_ = 0;       // with this sum over the file.
  uint64_t left_ = 0;      // to be read from the file
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

zip_source_t* CreateFileSource(zip_t* archive, const std::wstring& path, DeflateAhead& ahead,
                               size_t index, bool& failed, const std::atomic<bool>& aborted) {
  auto source = std::make_unique<FileSource>(path, ahead, index, failed, aborted);
  zip_source_t* const created = zip_source_function(archive, FileSource::Serve, source.get());
  if (created != nullptr) static_cast<void>(source.release());
  return created;
}

}  // namespace host
