#include "module/jobs/path_prevalidation.h"

#include <gtest/gtest.h>

#include "module/feature/testing/feature_in_agent.h"
#include "module/frame/json.h"
#include "module/frame/testing/test_folder.h"
#include "module/frame/utf.h"

namespace orn::RemoteAccess {
namespace {

// What the registry says of the machine is what this process has written, as long as this lives.
class OwnMachineKey {
 public:
  OwnMachineKey() {
    EXPECT_EQ(RegCreateKeyW(HKEY_CURRENT_USER, kName, &key_), ERROR_SUCCESS);
    EXPECT_EQ(RegOverridePredefKey(HKEY_LOCAL_MACHINE, key_), ERROR_SUCCESS);
  }
  ~OwnMachineKey() {
    RegOverridePredefKey(HKEY_LOCAL_MACHINE, nullptr);
    RegCloseKey(key_);
    RegDeleteTreeW(HKEY_CURRENT_USER, kName);
  }

  void Install(const std::wstring& folder) {
    HKEY key = nullptr;
    RegCreateKeyW(key_, L"SOFTWARE\\Microsoft\\Windows\\CurrentVersion\\Uninstall\\Tessaro", &key);
    // Without the zero at its end.
    RegSetValueExW(key, L"InstallLocation", 0, REG_SZ, reinterpret_cast<const BYTE*>(folder.data()),
                   static_cast<DWORD>(folder.size() * sizeof(wchar_t)));
    RegCloseKey(key);
  }

 private:
  static constexpr wchar_t kName[] = L"Software\\path_prevalidation_test";
  HKEY key_ = nullptr;
};

// Nobody may do anything with it any more.
void Deny(const std::wstring& path) {
  ACL nobody;
  InitializeAcl(&nobody, sizeof(nobody), ACL_REVISION);
  SECURITY_DESCRIPTOR descriptor;
  InitializeSecurityDescriptor(&descriptor, SECURITY_DESCRIPTOR_REVISION);
  SetSecurityDescriptorDacl(&descriptor, /*present=*/TRUE, &nobody, /*defaulted=*/FALSE);
  EXPECT_TRUE(SetFileSecurityW(path.c_str(), DACL_SECURITY_INFORMATION, &descriptor));
}

class PathPrevalidationTest : public FeatureInAgent {
 protected:
  TestFolder folder;
  OwnMachineKey machine;

  PathPrevalidationTest() { EXPECT_EQ(feature.Init(this), 0); }

  // The answer without its line feed.
  std::string Ask(const char* method, const std::string& params) {
    VeldConnector::Rpc::Reply reply{.text = "", .code = -1};
    EXPECT_EQ(feature.OnRpcMethod({"RemoteAccess", method, "1", params}, reply), 0u);
    Json::Value answer;
    EXPECT_TRUE(JsonReader().Parse(reply.text, answer));
    EXPECT_EQ(JsonMember(answer, "code").asInt(), reply.code);
    EXPECT_TRUE(reply.text.ends_with("}\n"));
    return reply.text.substr(0, reply.text.size() - 1);
  }
  std::string Ask(const char* method, const std::wstring& path, const char* profile = "p") {
    Json::Value params;
    params["path"] = ToUtf8(path).c_str();
    if (profile != nullptr) params["againstProfile"] = profile;
    return Ask(method, JsonWriter().Write(params));
  }
  std::string Download(const std::wstring& path, const char* profile = "p") {
    return Ask("PrevalidateDownloadPath", path, profile);
  }
  std::string Upload(const std::wstring& path, const char* profile = "p") {
    return Ask("PrevalidateUploadPath", path, profile);
  }
};

std::string Refusal(int code, const std::string& message) {
  return "{\"code\":" + std::to_string(code) + ",\"message\":\"" + message + "\"}";
}

const std::string kBadArguments = Refusal(160, "bad arguments");
const std::string kNoStorage = Refusal(1359, "internal error");

TEST_F(PathPrevalidationTest,
       DownloadWantsAFolderOutsideOfTheProductWithRoomForTheLargestTransfer) {
  folder.File(L"file");
  folder.Folder(L"product");
  folder.Folder(L"denied");
  Deny(folder / L"denied");
  EXPECT_EQ(Download(folder / L"product\\..\\"), "{\"valid\":true}");
  EXPECT_EQ(Download(folder / L"file", nullptr), Refusal(3, "not directory"));
  EXPECT_EQ(Download(folder / L"denied", nullptr), Refusal(5, "access denied"));

  std::wstring location = folder / L"PRODUCT";
  std::replace(location.begin(), location.end(), L'\\', L'/');
  machine.Install(L" \t" + location + L"//\n");
  EXPECT_EQ(Download(folder / L"Product", nullptr), Refusal(313, "access denied"));
  EXPECT_EQ(Download(folder / L"product\\.\\", nullptr), Refusal(313, "access denied"));
  EXPECT_EQ(Upload(folder / L"product"), Refusal(4306, "empty directory"));
  machine.Install(L"");
  EXPECT_EQ(Download(folder / L"product"), "{\"valid\":true}");

  storage.max_size = INT64_MAX;
  EXPECT_EQ(Download(folder / L""), Refusal(8, "not enough memory"));
  storage.max_size = UINT64_MAX;  // As a signed number it is small.
  EXPECT_EQ(Download(folder / L""), "{\"valid\":true}");

  plugins.erase(L"Product.CentralizedStorage");
  EXPECT_EQ(feature.Init(this), 0);
  EXPECT_EQ(Ask("PrevalidateDownloadPath", std::string("{")), kBadArguments);
  EXPECT_EQ(Download(folder / L"", nullptr), kBadArguments);
  EXPECT_EQ(Download(folder / L""), kNoStorage);
  EXPECT_EQ(Ask("PrevalidateUploadPath", std::string("{")), kNoStorage);
}

TEST_F(PathPrevalidationTest, UploadCountsWhatCanBeReadUpToTheLimit) {
  folder.Folder(L"a");
  folder.Folder(L"a\\b");
  EXPECT_EQ(Upload(folder / L""), Refusal(4306, "empty directory"));
  folder.Write(L"a\\denied", std::string(1000, 'x'));
  Deny(folder / L"a\\denied");
  EXPECT_EQ(Upload(folder / L""), Refusal(5, "access denied"));
  EXPECT_EQ(Upload(folder / L"a\\denied"), Refusal(5, "access denied"));
  folder.Write(L"a\\b\\one", std::string(60, 'x'));
  folder.Write(L"two", std::string(40, 'x'));
  EXPECT_EQ(Upload(folder / L""), R"({"fileCount":2,"size":100})");
  EXPECT_EQ(Upload(folder / L"a/x/../b/one"), R"({"fileCount":1,"size":60})");
  storage.max_size = 99;
  EXPECT_EQ(Upload(folder / L""), Refusal(223, "max size exceeded"));
  EXPECT_EQ(Upload(folder / L"two"), R"({"fileCount":1,"size":40})");
  storage.max_size = 39;
  EXPECT_EQ(Upload(folder / L"two"), Refusal(223, "max size exceeded"));
  storage.max_size = UINT64_MAX;
  EXPECT_EQ(Upload(folder / L""), R"({"fileCount":2,"size":100})");
}

}  // namespace
}  // namespace orn::RemoteAccess
