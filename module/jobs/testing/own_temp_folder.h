#pragma once

#include <string>

#include "module/frame/path.h"
#include "module/frame/testing/test_folder.h"

// While it lives, the user's temporary folder is one of this test's own: test programs that run at
// the same time would clean up each other's archives.
class OwnTempFolder {
 public:
  OwnTempFolder() {
    orn::GetTempFolder(before_);
    SetEnvironmentVariableW(L"TMP", (folder / L"").c_str());
  }
  OwnTempFolder(const OwnTempFolder&) = delete;
  OwnTempFolder& operator=(const OwnTempFolder&) = delete;
  ~OwnTempFolder() { SetEnvironmentVariableW(L"TMP", before_.c_str()); }

  const TestFolder folder;

 private:
  orn::PathStringT<260> before_;
};
