#pragma once

#include <cstdint>
#include <string>
#include <string_view>

#include "module/frame/handle.h"
#include "module/frame/path_string.h"

namespace host::storage {

// Where a download of `name` to `to` lands: in the folder `to`, where there is such a folder or the
// text ends in a separator, else at `to` itself; of any length. 0, 123 or 267.
uint32_t ResolveTarget(const orn::PathStringT<260>& to, std::string_view name,
                       std::wstring& target);

// A file on its way: it has a temporary name in the target's folder, and goes with this object, or
// with the process, unless it was moved into place. Operations return Windows codes.
class DownloadFile {
 public:
  DownloadFile() = default;
  ~DownloadFile() { Drop(); }
  DownloadFile(const DownloadFile&) = delete;
  DownloadFile& operator=(const DownloadFile&) = delete;

  bool is_open() const { return static_cast<bool>(file_); }

  // Makes what is missing of the target's folder. 112 where the disk has less than `size` bytes
  // left.
  uint32_t Create(const std::wstring& target, uint64_t size);
  uint32_t Write(std::string_view piece);
  // Back to the empty file.
  uint32_t Clear();
  // Closes the file and gives it the target's name; a file that has it is replaced.
  uint32_t MoveIntoPlace();
  void Drop();

 private:
  void SetDeletedWithHandle(bool deleted);

  orn::UniqueFile file_;
  std::wstring path_;
  std::wstring target_;
};

}  // namespace host::storage
