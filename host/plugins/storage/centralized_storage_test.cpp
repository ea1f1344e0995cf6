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
#include "module/frame/folder_search.h"
#include "module/frame/json.h"
#include "module/frame/path.h"
#include "module/frame/testing/semaphore.h"
#include "module/frame/testing/test_folder.h"

namespace host {
namespace {

using namespace std::chrono_literals;
using namespace std::string_literals;
using orn::RemoteAccess::DownloadInput;
using orn::RemoteAccess::DownloadMetadata;
using orn::RemoteAccess::UploadArchiveMetadata;
using orn::tsrsdk::Product::ICentralizedStorage;
using Text = orn::StringT<wchar_t>;
using Codes = std::vector<int32_t>;

class CentralizedStorageTest : public testing::Test, public ICentralizedStorage::IFileManagerEvent {
 protected:
  using Items = std::vector<std::pair<const char*, std::wstring>>;  // names, and where they go

  static void SetUpTestSuite() {
    server_ = std::make_unique<NodeServer>("host/plugins/storage/storage_test_server.mjs");
  }
  static void TearDownTestSuite() { server_.reset(); }

  CentralizedStorageTest() {
    limits_.pause = 1ms;
    limits_.report_delay = 1ms;
  }
  ~CentralizedStorageTest() override { plugin_.reset(); }

  // The profiles "p", at that place of the server, and "away".
  void Start(const std::wstring& place) {
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

  Text StartDownload(const Items& items, uint32_t timeout = 0, const wchar_t* profile = L"p") {
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
  // The codes of the items, then the whole's, of the next report.
  Codes NextDownload() {
    const DownloadMetadata metadata = Next(downloads_);
    EXPECT_EQ(metadata.runContext, L"{\"run\":1}");
    result_ = metadata.centralizedStorage;
    Codes codes;
    for (const auto& item : metadata.items)
      codes.push_back(item.errorCode);
    codes.push_back(result_.error);
    return codes;
  }
  Codes Download(const std::vector<const char*>& names, const wchar_t* profile = L"p") {
    Items items;
    for (const char* const name : names)
      items.emplace_back(name, folder_);
    StartDownload(items, /*timeout=*/0, profile);
    return NextDownload();
  }

  uint32_t StartUpload(const std::wstring& path, Text& id) {
    orn::tsrsdk::Product::UploadRequest request;
    request.items.push_back({.name = "report", .path = path.c_str()});
    request.postItems.push_back({.name = "b\"\n", .value = "1\r\n2"});
    request.postItems.push_back({.name = "a", .value = ""});
    request.profile = L"p";
    request.runContext = L"{\"run\":1}";
    orn::tsrsdk::Product::UploadStarted started;
    return plugin_->Upload(request, started, id);
  }
  int32_t Upload(const std::wstring& path) {
    Text id;
    EXPECT_EQ(StartUpload(path, id), 0u);
    const UploadArchiveMetadata metadata = Next(uploads_);
    EXPECT_EQ(metadata.runContext, L"{\"run\":1}");
    result_ = metadata.centralizedStorage;
    body_ = {};
    orn::JsonReader().Parse(result_.httpResponse.body.c_str(), body_);
    return result_.error;
  }

  // The folder's entries, each with a blank behind it.
  std::wstring Left() const {
    std::wstring names;
    orn::FolderSearch search((folder_ + L"*").c_str());
    while (const WIN32_FIND_DATAW* const entry = search.Next())
      names += std::wstring(entry->cFileName) + L" ";
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
  const TestFolder files_;
  const std::wstring folder_ = files_ / L"";
  std::unique_ptr<CentralizedStoragePlugin> plugin_;
  orn::RemoteAccess::CentralizedStorageResult result_;  // the last report's
  Json::Value body_;                                    // what the storage said of the upload
  std::function<void()> on_upload_;

  Mutex mutex_;
  Condition changed_;
  std::deque<DownloadMetadata> downloads_;
  std::deque<UploadArchiveMetadata> uploads_;
};

TEST_F(CentralizedStorageTest, FilesLandWhereTheyAreToAndNamesLeadNowhereElse) {
  Start(L"whole");
  files_.Write(L"old", "before");
  const std::wstring deep = L"\\\\?\\" + folder_ + std::wstring(150, L'x');
  const std::wstring long_name(150, L'y');
  StartDownload({{"caf\xC3\xA9 1.txt", folder_.substr(0, folder_.size() - 1)},
                 {"b", folder_ + L"new\\deeper\\"},
                 {"c", folder_ + L"old"},
                 {"empty", folder_},
                 {"long", deep.substr(4) + L"/" + long_name + L"\\"},
                 {"d", L"relative"},
                 {"e", L""}});
  EXPECT_EQ(NextDownload(), (Codes{0, 0, 0, 0, 0, 267, 123, 267}));
  EXPECT_EQ(result_.reason, L"relative path");
  EXPECT_EQ(result_.profile, L"p");
  EXPECT_EQ(files_.Read(L"caf\u00E9 1.txt"), "/whole/caf\xC3\xA9 1.txt");
  EXPECT_EQ(files_.Read(L"new\\deeper\\b"), "/whole/b");
  EXPECT_EQ(files_.Read(L"old"), "/whole/c");
  EXPECT_TRUE(Exists(folder_ + L"empty"));
  EXPECT_TRUE(Exists(deep + L"\\" + long_name + L"\\long"));
  EXPECT_EQ(Upload(deep + L"\\" + long_name + L"\\long"), 0);
  orn::PathStringT<260> all_deep(std::wstring_view{deep});
  EXPECT_TRUE(orn::DeleteFolderRecursively(all_deep));

  EXPECT_EQ(Download({"..", "x\n", "lpt1", "x ", "\xFF"}), Codes(6, 123));
  EXPECT_EQ(Download({}), Codes{0});
}

TEST_F(CentralizedStorageTest, BrokenDownloadsGoOnAndFailedOnesLeaveWhatWasThere) {
  limits_.attempts = 3;
  Start(L"breaking");
  EXPECT_EQ(Download({"a"}), (Codes{0, 0}));
  EXPECT_EQ(result_.httpResponse.responseCode, 206);
  const std::string content = files_.Read(L"a");
  ASSERT_EQ(content.size(), 1'000'000u);
  for (size_t i = 0; i < content.size(); ++i)
    ASSERT_EQ(content[i], "0123456789abcdef\n"[i % 17]) << i;
  Start(L"redirect");
  EXPECT_EQ(Download({"a"}), (Codes{0, 0}));
  EXPECT_EQ(files_.Read(L"a"), "/whole/redirected");
  Start(L"changing");
  EXPECT_EQ(Download({"a"}), (Codes{0, 0}));

  const struct {
    const wchar_t* place;
    int32_t code;
    const wchar_t* reason;
  } rows[] = {{L"lying", 13, L"the answer of the storage is damaged"},
              {L"unsized", 13, L"the answer of the storage is damaged"},
              {L"garbage", 13, L"the answer of the storage is damaged"},
              {L"huge", 223, L"too large"},
              {L"restless", 13, L"the answer of the storage is damaged"},
              {L"elsewhere", 12156, L"redirected to another server (HTTP 302)"},
              {L"endless", 12156, L"redirected to another server (HTTP 302)"},
              {L"binary", 1627, L"the storage failed (HTTP 500)"}};
  for (const auto& row : rows) {
    Start(row.place);
    EXPECT_EQ(Download({"a"}), (Codes{row.code, row.code})) << row.place;
    EXPECT_EQ(result_.reason, row.reason) << row.place;
  }
  EXPECT_EQ(result_.httpResponse.body64, "AP8B");
  EXPECT_TRUE(result_.httpResponse.body.empty());
  EXPECT_EQ(Download({"b", "c"}, L"away"), Codes(3, 12029));

  Start(L"status");
  EXPECT_EQ(Download({"401", "403", "500", "503", "413", "507", "204", "404"}),
            (Codes{5, 5, 1627, 170, 223, 112, 13, 2, 5}));
  EXPECT_EQ(result_.httpResponse.responseCode, 404);
  EXPECT_EQ(result_.httpResponse.body, "{\"error\":\"word\",\"status\":404}");
  EXPECT_EQ(result_.httpResponse.contentType, "application/json");
  EXPECT_EQ(files_.Read(L"a"), "changed");
  EXPECT_EQ(Left(), L"a ");
}

TEST_F(CentralizedStorageTest, CancelsAndTimeOutsEndWhateverWaits) {
  const Items two = {{"a", folder_}, {"b", folder_}};
  Start(L"stalled");
  for (const uint32_t timeout : {1, 0}) {
    std::vector<Text> ids;
    // The last ones wait for their turn.
    for (size_t i = 0; i < limits_.running + 2; ++i)
      ids.push_back(StartDownload(two, timeout));
    for (const Text& id : ids)
      EXPECT_TRUE(timeout != 0 || plugin_->CancelDownload(id) == 0);
    for (size_t i = 0; i < ids.size(); ++i)
      EXPECT_EQ(NextDownload(), Codes(3, timeout != 0 ? 1460 : 1223));
    EXPECT_EQ(plugin_->CancelDownload(ids[0]), error::kNotFound);
  }
  Start(L"silent");
  Text id = StartDownload(two);
  EXPECT_EQ(plugin_->CancelUpload(id), error::kNotFound);
  EXPECT_EQ(plugin_->CancelDownload(id), 0u);
  EXPECT_EQ(NextDownload(), Codes(3, 1223));
  const std::wstring path = folder_ + L"a.zip";
  files_.Write(L"a.zip", std::string(3'000'000, 'x'));
  ASSERT_EQ(StartUpload(path, id), 0u);
  EXPECT_EQ(plugin_->CancelUpload(id), 0u);
  EXPECT_EQ(Next(uploads_).centralizedStorage.error, 1223);
  EXPECT_TRUE(DeleteFileW(path.c_str()));

  // The end of the plug-in is one more cancel; each transfer is reported once.
  StartDownload(two);
  plugin_->Stop();
  EXPECT_EQ(NextDownload(), Codes(3, 1223));
  EXPECT_TRUE(downloads_.empty());
  EXPECT_EQ(Left(), L"");
}

TEST_F(CentralizedStorageTest, UploadsAreFormsAndFailedOnesSayWhy) {
  Start(L"whole");
  constexpr wchar_t kReport[] = L"report \u00E9.zip";
  const std::wstring path = folder_ + kReport;
  files_.Write(kReport, "content");
  // Others may read it meanwhile, and delete it.
  on_upload_ = [&] { EXPECT_TRUE(DeleteFileW(path.c_str())); };
  ASSERT_EQ(Upload(path), 0);
  EXPECT_EQ(result_.httpResponse.responseCode, 201);
  EXPECT_EQ(result_.reason, L"success");
  const std::string form = body_["text"].asString();
  const std::string boundary = form.substr(0, form.find('\r'));
  const std::string disposition = boundary + "\r\nContent-Disposition: form-data; name=";
  EXPECT_EQ(form, disposition + "\"b%22%0A\"\r\n\r\n1\r\n2\r\n" + disposition +
                      "\"a\"\r\n\r\n\r\n" + disposition +
                      "\"file\"; filename=\"report \xC3\x83\xC2\xA9.zip\"\r\nContent-Type: "
                      "application/octet-stream\r\n\r\ncontent\r\n" +
                      boundary + "--\r\n");

  std::string content(3'000'000, '\0');
  std::iota(content.begin(), content.end(), 0);
  files_.Write(kReport, content);
  const std::pair<const wchar_t*, int32_t> rows[] = {
      {L"breaking", 12030}, {L"whole", 0}, {L"moved", 0}, {L"status/500", 1627}};
  for (const auto& [place, code] : rows) {
    Start(place);
    EXPECT_EQ(Upload(path), code) << place;
    EXPECT_EQ(body_["length"], body_["size"]) << place;
    EXPECT_TRUE(code == 12030 || body_["size"].asInt() > 3'000'000) << place;
    EXPECT_TRUE(code == 12030 || body_["sum"].asInt() > 3'000'000 / 256 * 32640) << place;
  }
  EXPECT_EQ(result_.reason, L"the storage failed (HTTP 500)");

  Text id;
  EXPECT_EQ(StartUpload(L"", id), error::kPathNotFound);
  EXPECT_EQ(StartUpload(folder_ + L"none", id), error::kPathNotFound);
  files_.Write(kReport, std::string(4'000'001, 'x'));
  EXPECT_EQ(StartUpload(path, id), 223u);
  EXPECT_TRUE(id.empty());
}

TEST_F(CentralizedStorageTest, AnObserverMayUseTheStorageAndIsLeftAloneOnceItIsGone) {
  Start(L"whole");
  const std::wstring path = folder_ + L"a.zip";
  files_.Write(L"a.zip", "x");
  Text second;
  Semaphore entered;
  on_upload_ = [&] {
    EXPECT_EQ(StartUpload(path, second), 0u);
    plugin_->CancelUpload(second);
    entered.Release();
    // It can be registered again once Unregister has taken it out, and waits.
    while (plugin_->RegisterFileManagerEvent(this) != 0)
      Sleep(0);
    plugin_->UnregisterFileManagerEvent(this);
  };
  Text first;
  ASSERT_EQ(StartUpload(path, first), 0u);
  entered.Acquire();
  EXPECT_EQ(plugin_->UnregisterFileManagerEvent(this), 0u);
  EXPECT_EQ(uploads_.size(), 1u);  // The first one's, which had begun.
  EXPECT_NE(first, second);
  plugin_->Stop();
  EXPECT_EQ(uploads_.size(), 1u);
  EXPECT_EQ(StartUpload(path, first), error::kNotReady);
}

TEST_F(CentralizedStorageTest, ProfilesDecideWhoComesAndHowMuchMayPass) {
  const std::wstring path = folder_ + L"a.zip";
  const std::wstring secret = folder_ + L"secret";
  files_.Write(L"a.zip", "x");
  Set(L"p.keyFile", secret);
  Start(L"whole");
  EXPECT_EQ(Upload(path), 5);  // The key cannot be read.
  files_.Write(L"secret", "the-key\r\n");
  EXPECT_EQ(Upload(path), 0);
  EXPECT_EQ(body_["authorization"], "Bearer the-key");
  Set(L"p.keyFile", L"");
  Set(L"p.user", L"user");
  Set(L"p.passwordFile", secret);
  Start(L"whole");
  EXPECT_EQ(Upload(path), 0);
  EXPECT_EQ(body_["authorization"], "Basic dXNlcjp0aGUta2V5");
  EXPECT_FALSE(body_.isMember("run"));

  uint64_t size = 0;
  EXPECT_EQ(plugin_->GetProfileMaxSize(L"p", &size), 0u);
  EXPECT_EQ(size, 4'000'000u);
  EXPECT_EQ(plugin_->GetProfileMaxSize(L"other", &size), error::kNotFound);
  orn::RemoteAccess::OperationResponse response;
  Text id;
  EXPECT_EQ(plugin_->Download({}, response, id), error::kNotFound);

  orn::tsrsdk::Product::UploadData data;
  EXPECT_EQ(plugin_->PrevalidateUploadData(data), error::kBadParameter);
  data.items.resize(1);
  for (const std::string& name : {""s, "a:b"s, "com\xC2\xB9 .x"s, "a."s, "a\xC2\xA0"s,
                                  "a\xC2\x85x"s, ".a"s, std::string(197, 'a')}) {
    data.items[0].name = std::string_view(name);
    EXPECT_EQ(plugin_->PrevalidateUploadData(data), error::kInvalidName) << name;
  }
  data.items[0].name = "r\xC3\xA9sum\xC3\xA9.1";
  EXPECT_EQ(plugin_->PrevalidateUploadData(data), 0u);

  for (const wchar_t* const bad : {L"ftp://h/", L"", L"http://u:p@h/", L"http://h/?q"}) {
    Set(L"p.address", bad);
    EXPECT_NE(CentralizedStoragePlugin(limits_).Init(&host_), 0) << bad;
  }
}

}  // namespace
}  // namespace host
