#pragma once

#include <zip.h>

#include <atomic>
#include <cstdint>
#include <string>

#include "module/frame/handle.h"
#include "module/frame/windows.h"

namespace host {

// Times as Windows counts them, in steps of 100 ns since 1601.
struct FileFacts {
  uint64_t size = 0;
  DWORD attributes = 0;
  int64_t created = 0;
  int64_t read = 0;
  int64_t written = 0;
};

// Opens a file for reading in such a way that others may go on reading, writing, renaming and
// deleting it. None for what is no file on a disk, or whose contents cannot be read.
orn::UniqueFile OpenShared(const std::wstring& path, FileFacts& facts);

class DeflateAhead;

// A file as libzip reads it: opened when its turn comes, as long as it is then. What is written
// behind that end meanwhile is left out; where it gets shorter, so does the entry. It comes
// deflated from `ahead`, where it is the file `index`; a large one as it is, for libzip to pack.
//
// Nothing is owned. `failed` is set where the file cannot be opened or read; `aborted` is asked
// before each read. Null where libzip has no memory.
zip_source_t* CreateFileSource(zip_t* archive, const std::wstring& path, DeflateAhead& ahead,
                               size_t index, bool& failed, const std::atomic<bool>& aborted);

}  // namespace host
