#include "host/service/data_folder.h"

#include <aclapi.h>
#include <gtest/gtest.h>
#include <sddl.h>

#include <fstream>

#include "host/common/security.h"
#include "module/frame/testing/test_folder.h"

namespace host {
namespace {

// Who may do what with the file or folder, as text.
std::wstring AccessOf(const std::wstring& path) {
  PSECURITY_DESCRIPTOR descriptor = nullptr;
  wchar_t* text = nullptr;
  GetNamedSecurityInfoW(path.c_str(), SE_FILE_OBJECT, DACL_SECURITY_INFORMATION, nullptr, nullptr,
                        nullptr, nullptr, &descriptor);
  ConvertSecurityDescriptorToStringSecurityDescriptorW(descriptor, SDDL_REVISION_1,
                                                       DACL_SECURITY_INFORMATION, &text, nullptr);
  std::wstring access = text == nullptr ? L"" : text;
  LocalFree(text);
  LocalFree(descriptor);
  return access;
}

Configuration Folder(const std::wstring& path, bool low) {
  Configuration configuration;
  configuration.data = path;
  configuration.low_rights = low;
  return configuration;
}

TEST(DataFolder, IsClosedToOthersWhetherMadeOrFoundAndAFileInItsPlaceIsToldApart) {
  const TestFolder root;
  SetNamedSecurityInfoW((root / L"").data(), SE_FILE_OBJECT,
                        DACL_SECURITY_INFORMATION | PROTECTED_DACL_SECURITY_INFORMATION, nullptr,
                        nullptr, SecurityDescriptor(L"D:(A;OICI;FA;;;WD)").access_list(), nullptr);
  const std::wstring found = root / L"found";
  const std::wstring made = root / L"a\\made";
  CreateDirectoryW(found.c_str(), SecurityDescriptor(L"D:(A;OICI;FA;;;WD)").attributes());
  EXPECT_NE(AccessOf(found).find(L";;;WD)"), std::wstring::npos);
  for (const bool low : {false, true}) {
    for (const std::wstring& path : {found, made, made}) {
      EXPECT_EQ(PrepareDataFolder(Folder(path, low)), 0u);
      EXPECT_EQ(AccessOf(path).find(L";;;WD)"), std::wstring::npos);
      EXPECT_TRUE((std::ofstream((path + L"\\log").c_str()) << "line").good());
    }
  }
  EXPECT_EQ(PrepareDataFolder(Folder(found + L"\\log", false)), DWORD{ERROR_DIRECTORY});
}

}  // namespace
}  // namespace host
