#pragma once

#include <optional>
#include <string>

namespace host::setup {

// What the program returns. Scripts depend on the numbers, and kUsage tells of them.
enum class ExitCode : int {
  kDone = 0,
  kFailed = 1,         // Nothing has changed: what was done is taken back.
  kBadArguments = 2,   // Wrong, missing, or a key file that is none.
  kNotInstalled = 3,   // Nothing there to remove.
  kBusy = 4,           // Another set-up is at work.
  kNoRights = 5,       // Not an administrator.
  kBadPackage = 6,     // A file is missing or damaged.
  kNewerVersion = 7,   // A newer version is installed.
  kNotTakenBack = 8,   // Failed, and so did taking it back.
  kNotAllRemoved = 9,  // The removal left something, which it names.
};

struct SetupOptions {
  enum class Verb { kInstall, kUninstall, kHelp };
  Verb verb = Verb::kHelp;
  // Of an installation. Empty: as installed, or what is usual.
  std::wstring server;    // https://HOST[:PORT], or http:// of this machine itself.
  std::wstring key_file;  // The full path.
  std::wstring name;
  std::wstring data;    // The full path.
  std::wstring target;  // The full path.
  std::optional<bool> feature;
  bool start = true;
  // Of a removal.
  bool keep_data = false;
  bool elevate = false;  // Asks the user for an administrator's rights where they are missing.
};

// Reads VERB and its options, letters in any case. False, with what is wrong in `problem`, for
// anything else.
bool ParseOptions(int count, const wchar_t* const* arguments, SetupOptions& options,
                  std::wstring& problem);

extern const wchar_t* const kUsage;

}  // namespace host::setup
