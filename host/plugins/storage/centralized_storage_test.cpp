#include "host/plugins/storage/centralized_storage_plugin.h"

#include <gtest/gtest.h>

#include <deque>
#include <functional>
#include <memory>
#include <numeric>
#include <string>
#include <utility>

#include "host/plugins/common/fake_host.h"
#include "host/plugins/common/node_server.h"
#include "module/frame/handle.h"
#include "module/frame/json.h"
#include "module/frame/path.h"
#include "module/frame/windows.h"

namespace host {
namespace {

using namespace std::chrono_literals;
using orn::RemoteAccess::DownloadInput;
using orn::RemoteAccess::DownloadMetadata;
using orn::RemoteAccess::UploadArchiveMetadata;
using orn::tsrsdk::Product::ICentralizedStorage;
using orn::tsrsdk::Product::UploadRequest;
using Text = orn::StringT<wchar_t>;

constexpr int kContentBytes = 1'000'000;  // of the server's large files

void WriteFileAt(const std::wstring& path, std::string_view bytes) {
  const orn::UniqueFile file(CreateFileW(path.c_str(), GENERIC_WRITE, /*dwShareMode=*/0, nullptr,
                                         CREATE_ALWAYS, FILE_ATTRIBUTE_NORMAL, nullptr));
  DWORD written = 0;
  WriteFile(file.get(), bytes.data(), static_cast<DWORD>(bytes.size()), &written, nullptr);
}

std::string ReadFileAt(const std::wstring& path) {
  const orn::UniqueFile file(CreateFileW(path.c_str(), GENERIC_READ, FILE_SHARE_READ, nullptr,
                                         OPEN_EXISTING, FILE_ATTRIBUTE_NORMAL, nullptr));
  if (!file) return "(none)";
  std::string bytes(GetFileSize(file.get(), nullptr), '\0');
  DWORD read = 0;
  ReadFile(file.get(), bytes.data(), static_cast<DWORD>(bytes.size()), &read, nullptr);
  return bytes;
}

class CentralizedStorageTest : public testing::Test, public ICentralizedStorage::IFileManagerEvent {
 protected:
  static void SetUpTestSuite() {
    server_ = std::make_unique<NodeServer>("host/plugins/storage/storage_test_server.mjs");
  }
  static void TearDownTestSuite() { server_.reset(); }

  CentralizedStorageTest() {
    static int count = 0;
    wchar_t current[MAX_PATH];
    GetCurrentDirectoryW(MAX_PATH, current);
    folder_ = std::wstring(current) + L"\\storage_test." + std::to_wstring(GetCurrentProcessId()) +
              L"." + std::to_wstring(++count) + L"\\";
    CreateDirectoryW(folder_.c_str(), nullptr);
    limits_.pause = 1ms;
    limits_.report_delay = 1ms;
  }
  ~CentralizedStorageTest() override {
    plugin_.reset();
    orn::PathStringT<260> folder(std::wstring_view{folder_});
    orn::DeleteFolderRecursively(folder);
  }

  // The profiles "p", at that place of the server, and "away".
  void Start(const wchar_t* place) {
    ASSERT_NE(server_->port(), 0) << "the server did not start";
    plugin_.reset();
    Set(L"profiles", L" p  away ");
    Set(L"p.address",
        L"http://127.0.0.1:" + std::to_wstring(server_->port()) + L"/" + place + L"/");
    Set(L"p.maxSize", L"4000000");
    Set(L"away.address", L"http://127.0.0.1:1");
    Set(L"away.maxSize", L"1");
    plugin_ = std::make_unique<CentralizedStoragePlugin>(limits_);
    ASSERT_EQ(plugin_->Init(&host_), 0);
    ASSERT_EQ(plugin_->Start(), 0);
    plugin_->RegisterFileManagerEvent(this);
  }
  void Set(const wchar_t* option, const std::wstring& value) {
    host_.SetOption(L"Product.CentralizedStorage", option, value.c_str());
  }

  Text Download(const std::vector<std::pair<const char*, std::wstring>>& items,
                const wchar_t* profile = L"p", uint32_t timeout = 0) {
    DownloadInput input;
    for (const auto& [name, to] : items)
      input.items.push_back({.sourceUri = name, .to = to.c_str()});
    input.profile = profile;
    input.timeout = timeout;
    input.runContext = L"{\"run\":1}";
    orn::RemoteAccess::OperationResponse response;
    Text id;
    EXPECT_EQ(plugin_->Download(input, response, id), 0u);
    EXPECT_FALSE(id.empty());
    return id;
  }
  // Waits for the next report.
  DownloadMetadata Downloaded() { return Next(downloads_); }
  // The codes of the items of a download of all names into the folder, then the whole's.
  std::vector<int32_t> Codes(const std::vector<const char*>& names, const wchar_t* profile = L"p") {
    std::vector<std::pair<const char*, std::wstring>> items;
    for (const char* const name : names)
      items.emplace_back(name, folder_);
    Download(items, profile);
    last_ = Downloaded();
    std::vector<int32_t> codes;
    for (const auto& item : last_.items)
      codes.push_back(item.errorCode);
    codes.push_back(last_.centralizedStorage.error);
    return codes;
  }
  using C = std::vector<int32_t>;

  uint32_t Upload(const std::wstring& path, Text& id) {
    UploadRequest request;
    request.items.push_back({.name = "report", .path = path.c_str()});
    request.postItems.push_back({.name = "b\"\n", .value = "1\r\n2"});
    request.postItems.push_back({.name = "a", .value = ""});
    request.profile = L"p";
    request.runContext = L"{\"run\":1}";
    orn::tsrsdk::Product::UploadStarted started;
    return plugin_->Upload(request, started, id);
  }
  int32_t Uploaded(const std::wstring& path) {
    Text id;
    EXPECT_EQ(Upload(path, id), 0u);
    EXPECT_FALSE(id.empty());
    const UploadArchiveMetadata metadata = Next(uploads_);
    EXPECT_EQ(metadata.runContext, L"{\"run\":1}");
    answer_ = metadata.centralizedStorage;
    body_ = {};
    orn::JsonReader().Parse(answer_.httpResponse.body.c_str(), body_);
    return answer_.error;
  }

  // The folder's entries, separated by blanks.
  std::string Left() const {
    std::string names;
    WIN32_FIND_DATAA entry;
    const std::string pattern(folder_.begin(), folder_.end());
    const HANDLE search = FindFirstFileA((pattern + "*").c_str(), &entry);
    do {
      if (entry.cFileName[0] != '.') names += std::string(entry.cFileName) + " ";
    } while (FindNextFileA(search, &entry));
    FindClose(search);
    return names;
  }

  uint32_t OnUploadFinished(const Text&, const UploadArchiveMetadata& metadata) override {
    if (const auto action = std::exchange(on_upload_, {})) action();
    const Lock lock(mutex_);
    uploads_.push_back(metadata);
    changed_.NotifyAll();
    return 0;
  }
  uint32_t OnDownloadFinished(const Text&, const DownloadMetadata& metadata) override {
    const Lock lock(mutex_);
    downloads_.push_back(metadata);
    changed_.NotifyAll();
    return 0;
  }
  template <class Metadata>
  Metadata Next(std::deque<Metadata>& reports) {
    Lock lock(mutex_);
    changed_.Wait(lock, [&] { return !reports.empty(); });
    const Metadata metadata = reports.front();
    reports.pop_front();
    return metadata;
  }

  static inline std::unique_ptr<NodeServer> server_;
  FakeHost host_;
  storage::TransferLimits limits_;
  std::unique_ptr<CentralizedStoragePlugin> plugin_;
  std::wstring folder_;
  DownloadMetadata last_;
  orn::RemoteAccess::CentralizedStorageResult answer_;
  Json::Value body_;
  std::function<void()> on_upload_;

  Mutex mutex_;
  Condition changed_;
  std::deque<DownloadMetadata> downloads_;
  std::deque<UploadArchiveMetadata> uploads_;
};

TEST_F(CentralizedStorageTest, FilesLandWhereTheyAreToAndNamesLeadNowhereElse) {
  Start(L"whole");
  WriteFileAt(folder_ + L"old", "before");
  Download({{"caf\xC3\xA9 1.txt", folder_.substr(0, folder_.size() - 1)},
            {"b", folder_ + L"new\\deeper\\"},
            {"c", folder_ + L"old"},
            {"empty", folder_},
            {"d", L"relative"},
            {"e", L""}});
  const DownloadMetadata report = Downloaded();
  C codes;
  for (const auto& item : report.items)
    codes.push_back(item.errorCode);
  EXPECT_EQ(codes, (C{0, 0, 0, 0, 267, 123}));
  EXPECT_EQ(report.items[5].sourceUri, "e");
  EXPECT_EQ(report.items[5].error, L"invalid name");
  EXPECT_EQ(report.centralizedStorage.error, 267);
  EXPECT_EQ(report.centralizedStorage.reason, L"relative path");
  EXPECT_EQ(report.centralizedStorage.profile, L"p");
  EXPECT_EQ(report.runContext, L"{\"run\":1}");
  EXPECT_EQ(ReadFileAt(folder_ + L"caf\u00E9 1.txt"), "/whole/caf\xC3\xA9 1.txt");
  EXPECT_EQ(ReadFileAt(folder_ + L"new\\deeper\\b"), "/whole/b");
  EXPECT_EQ(ReadFileAt(folder_ + L"old"), "/whole/c");
  EXPECT_EQ(ReadFileAt(folder_ + L"empty"), "");

  EXPECT_EQ(Codes({"../x", "a/b", "a\\b", "..", "http:x", "x\n", "nul.txt", "lpt1", "x ", "\xFF"}),
            (C{123, 123, 123, 123, 123, 123, 123, 123, 123, 123, 123}));
  EXPECT_EQ(Codes({}), C{0});
}

TEST_F(CentralizedStorageTest, BrokenDownloadsGoOnWhereTheyWereAndFailedOnesLeaveNothing) {
  Start(L"breaking");
  limits_.attempts = 2;
  EXPECT_EQ(Codes({"a"}), (C{0, 0}));
  const std::string content = ReadFileAt(folder_ + L"a");
  ASSERT_EQ(content.size(), kContentBytes);
  for (size_t i = 0; i < content.size(); ++i)
    ASSERT_EQ(content[i], "0123456789abcdef\n"[i % 17]) << i;
  EXPECT_EQ(last_.centralizedStorage.httpResponse.responseCode, 206);

  Start(L"changing");
  EXPECT_EQ(Codes({"a"}), (C{0, 0}));
  EXPECT_EQ(ReadFileAt(folder_ + L"a"), "changed");

  // What was there stays when nothing whole replaces it.
  for (const wchar_t* const place : {L"lying", L"unsized", L"garbage"}) {
    Start(place);
    EXPECT_EQ(Codes({"a"}), (C{13, 13})) << place;
    EXPECT_EQ(last_.centralizedStorage.reason, L"the answer of the storage is damaged");
  }
  Start(L"huge");
  EXPECT_EQ(Codes({"a"}), (C{223, 223}));
  EXPECT_EQ(ReadFileAt(folder_ + L"a"), "changed");
  EXPECT_EQ(Left(), "a ");
}

TEST_F(CentralizedStorageTest, EachRefusalHasItsCodeAndTheRecordHoldsTheResponse) {
  Start(L"status");
  EXPECT_EQ(Codes({"404", "401", "403", "500", "503", "413", "507", "204"}),
            (C{2, 5, 5, 1627, 170, 223, 112, 13, 2}));
  EXPECT_EQ(last_.items[3].error, L"the storage failed (HTTP 500)");
  EXPECT_EQ(last_.centralizedStorage.reason, L"not found (HTTP 404)");
  EXPECT_EQ(Codes({"404"}), (C{2, 2}));
  const auto& response = last_.centralizedStorage.httpResponse;
  EXPECT_EQ(response.body, "{\"error\":\"word\",\"status\":404}");
  EXPECT_EQ(response.contentType, "application/json");
  EXPECT_EQ(response.responseCode, 404);

  Start(L"binary");
  EXPECT_EQ(Codes({"a"}), (C{1627, 1627}));
  EXPECT_EQ(last_.centralizedStorage.httpResponse.body64, "AP8B");
  EXPECT_TRUE(last_.centralizedStorage.httpResponse.body.empty());

  Start(L"redirect");
  EXPECT_EQ(Codes({"a"}), (C{0, 0}));
  EXPECT_EQ(ReadFileAt(folder_ + L"a"), "/whole/redirected");
  Start(L"elsewhere");
  EXPECT_EQ(Codes({"b"}), (C{12156, 12156}));
  Start(L"endless");
  EXPECT_EQ(Codes({"b"}), (C{12156, 12156}));
  EXPECT_EQ(Codes({"b", "c"}, L"away"), (C{12029, 12029, 12029}));
  EXPECT_EQ(Left(), "a ");
}

TEST_F(CentralizedStorageTest, CancelsAndTimeOutsEndWhateverWaits) {
  const auto expect_all = [&](const DownloadMetadata& report, int32_t code, const wchar_t* word) {
    EXPECT_EQ(report.centralizedStorage.error, code);
    EXPECT_EQ(report.centralizedStorage.reason, word);
    for (const auto& item : report.items) {
      EXPECT_EQ(item.errorCode, code);
      EXPECT_EQ(item.error, word);
    }
  };
  Start(L"stalled");
  for (const uint32_t timeout : {1, 0}) {
    std::vector<Text> ids;
    // The last ones wait for their turn.
    for (size_t i = 0; i < limits_.running + 2; ++i)
      ids.push_back(Download({{"a", folder_}, {"b", folder_}}, L"p", timeout));
    for (const Text& id : ids)
      EXPECT_TRUE(timeout != 0 || plugin_->CancelDownload(id) == 0);
    for (size_t i = 0; i < ids.size(); ++i)
      timeout != 0 ? expect_all(Downloaded(), 1460, L"timeout")
                   : expect_all(Downloaded(), 1223, L"aborted");
    EXPECT_EQ(plugin_->CancelDownload(ids[0]), error::kNotFound);
  }
  {
    // What had arrived goes again; what had not was aborted.
    const Text id = Download({{"whole", folder_}, {"a", folder_}});
    while (ReadFileAt(folder_ + L"whole") == "(none)")
      Sleep(1);
    EXPECT_EQ(plugin_->CancelDownload(id), 0u);
    const DownloadMetadata report = Downloaded();
    EXPECT_EQ(report.items[0].errorCode, 0);
    EXPECT_EQ(report.items[1].errorCode, 1223);
    EXPECT_EQ(report.centralizedStorage.error, 1223);
    EXPECT_EQ(Left(), "");
  }
  Start(L"silent");
  const Text id = Download({{"a", folder_}});
  EXPECT_EQ(plugin_->CancelUpload(id), error::kNotFound);
  EXPECT_EQ(plugin_->CancelDownload(id), 0u);
  expect_all(Downloaded(), 1223, L"aborted");
  // The end of the plug-in is one more cancel; each transfer is reported once.
  Download({{"a", folder_}});
  plugin_->Stop();
  expect_all(Downloaded(), 1223, L"aborted");
  EXPECT_TRUE(downloads_.empty());
  EXPECT_EQ(Left(), "");
}

TEST_F(CentralizedStorageTest, UploadsAreFormsWithTheFieldsFirstAndTheFileLast) {
  Start(L"whole");
  const std::wstring path = folder_ + L"report \u00E9.zip";
  WriteFileAt(path, "content");
  // Others may read it meanwhile, and delete it.
  on_upload_ = [&] { EXPECT_TRUE(DeleteFileW(path.c_str())); };
  ASSERT_EQ(Uploaded(path), 0);
  EXPECT_EQ(answer_.httpResponse.responseCode, 201);
  EXPECT_EQ(answer_.reason, L"success");
  const std::string form = body_["text"].asString();
  const std::string boundary = form.substr(0, form.find('\r'));
  const std::string disposition = boundary + "\r\nContent-Disposition: form-data; name=";
  EXPECT_EQ(form, disposition + "\"b%22%0A\"\r\n\r\n1\r\n2\r\n" + disposition +
                      "\"a\"\r\n\r\n\r\n" + disposition +
                      "\"file\"; filename=\"report \xC3\x83\xC2\xA9.zip\"\r\nContent-Type: "
                      "application/octet-stream\r\n\r\ncontent\r\n" +
                      boundary + "--\r\n");
  EXPECT_EQ(body_["length"].asInt(), body_["size"].asInt());

  std::string content(3'000'000, '\0');
  std::iota(content.begin(), content.end(), 0);
  WriteFileAt(path, content);
  for (const wchar_t* const place : {L"whole", L"moved"}) {
    Start(place);
    ASSERT_EQ(Uploaded(path), 0) << place;
    EXPECT_EQ(body_["length"].asInt(), body_["size"].asInt());
    EXPECT_GT(body_["size"].asInt(), 3'000'000);
    EXPECT_GT(body_["sum"].asInt(), 3'000'000 / 256 * 32640);
  }

  Text id;
  EXPECT_EQ(Upload(L"", id), error::kPathNotFound);
  EXPECT_EQ(Upload(folder_ + L"none", id), error::kPathNotFound);
  EXPECT_TRUE(id.empty());
  Set(L"p.maxSize", L"2999999");
  plugin_ = std::make_unique<CentralizedStoragePlugin>(limits_);
  ASSERT_EQ(plugin_->Init(&host_), 0);
  EXPECT_EQ(Upload(path, id), 223u);
}

TEST_F(CentralizedStorageTest, FailedUploadsSayWhyAndCancelledOnesEnd) {
  const std::wstring path = folder_ + L"a.zip";
  WriteFileAt(path, std::string(3'000'000, 'x'));
  Start(L"status/500");
  EXPECT_EQ(Uploaded(path), 1627);
  EXPECT_EQ(answer_.reason, L"the storage failed (HTTP 500)");
  EXPECT_EQ(answer_.httpResponse.responseCode, 500);
  EXPECT_EQ(body_["size"].asInt(), body_["length"].asInt());
  Start(L"breaking");
  EXPECT_EQ(Uploaded(path), 12030);
  Start(L"silent");
  Text id;
  ASSERT_EQ(Upload(path, id), 0u);
  EXPECT_EQ(plugin_->CancelUpload(id), 0u);
  EXPECT_EQ(Next(uploads_).centralizedStorage.error, 1223);
  EXPECT_TRUE(DeleteFileW(path.c_str()));
}

TEST_F(CentralizedStorageTest, AnObserverMayUseTheStorageAndIsLeftAloneOnceItIsGone) {
  Start(L"whole");
  const std::wstring path = folder_ + L"a.zip";
  WriteFileAt(path, "x");
  Text second;
  bool entered = false;
  bool leave = false;
  on_upload_ = [&] {
    EXPECT_EQ(Upload(path, second), 0u);
    plugin_->CancelUpload(second);
    Lock lock(mutex_);
    entered = true;
    changed_.NotifyAll();
    changed_.WaitUntil(lock, Clock::now() + 50ms, [&] { return leave; });
  };
  Text first;
  ASSERT_EQ(Upload(path, first), 0u);
  {
    Lock lock(mutex_);
    changed_.Wait(lock, [&] { return entered; });
  }
  EXPECT_EQ(plugin_->UnregisterFileManagerEvent(this), 0u);
  EXPECT_EQ(uploads_.size(), 1u);  // The first one's, which had begun.
  EXPECT_NE(first, second);
  plugin_->Stop();
  EXPECT_EQ(uploads_.size(), 1u);
  EXPECT_EQ(Upload(path, first), error::kNotReady);
}

TEST_F(CentralizedStorageTest, ProfilesDecideWhoComesAndHowMuchMayPass) {
  const std::wstring path = folder_ + L"a.zip";
  const std::wstring secret = folder_ + L"secret";
  WriteFileAt(path, "x");
  Set(L"machineId", L"machine-1");
  Set(L"p.keyFile", secret);
  Start(L"whole");
  EXPECT_EQ(Uploaded(path), 5);  // The key cannot be read.
  WriteFileAt(secret, "the-key\r\n");
  EXPECT_EQ(Uploaded(path), 0);
  EXPECT_EQ(body_["authorization"], "Bearer the-key");
  EXPECT_EQ(body_["machine"], "machine-1");
  EXPECT_EQ(body_["run"], "eyJydW4iOjF9");
  Set(L"p.keyFile", L"");
  Set(L"p.user", L"user");
  Set(L"p.passwordFile", secret);
  Start(L"whole");
  EXPECT_EQ(Uploaded(path), 0);
  EXPECT_EQ(body_["authorization"], "Basic dXNlcjp0aGUta2V5");
  EXPECT_FALSE(body_.isMember("run"));

  bool exists = false;
  uint64_t size = 0;
  EXPECT_EQ(plugin_->ProfileExists(L"away", &exists), 0u);
  EXPECT_TRUE(exists);
  plugin_->ProfileExists(L"other", &exists);
  EXPECT_FALSE(exists);
  EXPECT_EQ(plugin_->GetProfileMaxSize(L"p", &size), 0u);
  EXPECT_EQ(size, 4'000'000u);
  orn::RemoteAccess::OperationResponse response;
  Text id;
  EXPECT_EQ(plugin_->Download({}, response, id), error::kNotFound);

  orn::tsrsdk::Product::UploadData data;
  EXPECT_EQ(plugin_->PrevalidateUploadData(data), error::kBadParameter);
  data.items.resize(1);
  for (const char* const name :
       {"", "a:b", "com\xC2\xB9 .x", "a.", "a\xC2\xA0", "a\xC2\x85x", ".a"}) {
    data.items[0].name = name;
    EXPECT_EQ(plugin_->PrevalidateUploadData(data), error::kInvalidName) << name;
  }
  data.items[0].name = std::string_view(std::string(197, 'a'));
  EXPECT_EQ(plugin_->PrevalidateUploadData(data), error::kInvalidName);
  data.items[0].name = "r\xC3\xA9sum\xC3\xA9.1";
  EXPECT_EQ(plugin_->PrevalidateUploadData(data), 0u);

  for (const wchar_t* const bad : {L"ftp://h/", L"", L"http://u:p@h/", L"http://h/?q"}) {
    Set(L"p.address", bad);
    EXPECT_NE(CentralizedStoragePlugin(limits_).Init(&host_), 0) << bad;
  }
}

}  // namespace
}  // namespace host
