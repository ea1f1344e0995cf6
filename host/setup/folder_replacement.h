#pragma once

#include <cstdint>
#include <string>

namespace host::setup {

// Names that nobody else gives to a folder.
inline constexpr const wchar_t* kFreshSuffix = L".tsr-new";
inline constexpr const wchar_t* kOldSuffix = L".tsr-old";

// Replaces a folder as a whole. What is new is made beside it, under the name with kFreshSuffix;
// then the two change places by renames, and the old one, by then with kOldSuffix, can come back
// until the end:
//
//   FolderReplacement programs(folder);
//   status = programs.Begin(access);      // an empty folder programs.fresh()
//   ... fill it ...
//   status = programs.Swap();
//   ... something fails: programs.TakeBack();  or all is well: programs.Commit();
//
// Set-up may be cut off at any point: Recover, the first thing of the next one, finds a folder in
// its place, the old one or the new one. Operations return a status.
class FolderReplacement {
 public:
  explicit FolderReplacement(const std::wstring& folder)
      : folder_(folder), fresh_(folder + kFreshSuffix), old_(folder + kOldSuffix) {}
  FolderReplacement(const FolderReplacement&) = delete;
  FolderReplacement& operator=(const FolderReplacement&) = delete;
  // What has not taken its place goes.
  ~FolderReplacement();

  const std::wstring& fresh() const { return fresh_; }

  uint32_t Recover();
  // `access` is a security descriptor's text.
  uint32_t Begin(const std::wstring& access);
  uint32_t Swap();
  uint32_t TakeBack();
  // The old one goes. What is left of it, in use by somebody, the next set-up removes.
  void Commit();

 private:
  const std::wstring folder_;
  const std::wstring fresh_;
  const std::wstring old_;
  bool begun_ = false;
  bool had_old_ = false;
  bool swapped_ = false;
};

// Removes a folder with all that is in it. 0 also where there is none.
uint32_t RemoveFolder(const std::wstring& folder);

// The path of a file in `folder`, at any depth, that somebody else has open or runs; empty where
// there is none. Waits up to `patience` milliseconds for whoever is about to end.
std::wstring FindFileInUse(const std::wstring& folder, uint32_t patience);

}  // namespace host::setup
