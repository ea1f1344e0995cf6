#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>

#include "host/setup/configuration_files.h"
#include "host/setup/folder_replacement.h"
#include "host/setup/installation.h"
#include "host/setup/package_files.h"
#include "host/setup/setup_options.h"
#include "host/setup/setup_values.h"
#include "host/setup/user_traces.h"
#include "module/frame/testing/test_folder.h"

namespace host::setup {
namespace {

constexpr wchar_t kEverybody[] = L"D:P(A;OICI;FA;;;WD)";

class Setup : public ::testing::Test {
 protected:
  static void Write(const std::wstring& path, const std::string& text) {
    std::filesystem::create_directories(std::filesystem::path(path).parent_path());
    std::ofstream(std::filesystem::path(path), std::ios::binary) << text;
  }
  static std::string Read(const std::wstring& path) {
    std::string text;
    return ReadWholeFile(path, 1000, text) == 0 ? text : "none";
  }

  const TestFolder root_;
};

bool Parses(std::initializer_list<const wchar_t*> arguments, SetupOptions& options) {
  std::vector<const wchar_t*> all = {L"TsrSetup"};
  all.insert(all.end(), arguments);
  std::wstring problem;
  const bool good = ParseOptions(static_cast<int>(all.size()), all.data(), options, problem);
  EXPECT_EQ(problem.empty(), good);
  return good;
}

TEST_F(Setup, TakesOnlyServersThatTheKeyMayGoToAndFoldersThatCanBeRemovedAgain) {
  SetupOptions options;
  EXPECT_TRUE(Parses({L"install", L"/SERVER", L"HTTPS://Host:8443/", L"/feature", L"ON"}, options));
  EXPECT_EQ(options.server, L"https://Host:8443");
  EXPECT_EQ(options.feature, true);
  EXPECT_TRUE(Parses({L"install", L"/server", L"http://127.0.0.1:8080"}, options));
  for (const wchar_t* server :
       {L"http://host", L"https://", L"https://u:p@host", L"https://host/path", L"https://host?q",
        L"ftp://host", L"host", L"https://a b", L"http://127.0.0.1.host@evil"}) {
    EXPECT_FALSE(Parses({L"install", L"/server", server}, options)) << server;
  }
  for (const wchar_t* folder : {L"C:\\", L"\\\\host\\share", L"C:\\%TEMP%", L"C:\\a\"b"})
    EXPECT_FALSE(Parses({L"install", L"/target", folder}, options)) << folder;
  EXPECT_FALSE(Parses({L"install", L"/server"}, options));
  EXPECT_FALSE(Parses({L"install", L"/keep-data"}, options));
  EXPECT_FALSE(Parses({L"uninstall", L"/feature", L"on"}, options));
  EXPECT_FALSE(Parses({}, options));
  EXPECT_TRUE(Parses({L"uninstall", L"/?"}, options));
  EXPECT_EQ(options.verb, SetupOptions::Verb::kHelp);
  EXPECT_TRUE(IsNewer(L"1.10.0", L"1.9") && !IsNewer(L"1.0", L"1.0.0") && !IsNewer(L"", L"1"));
}

TEST_F(Setup, ReadsNoPackageListThatLeadsOutOfThePackageOrIsCutOff) {
  const std::string hash(64, 'a');
  std::vector<PackageFile> files;
  ASSERT_TRUE(ReadPackageList(
      hash + "  bin/languages/de.json\n" + hash + "  install.cmd\n" + hash + "  licences/x.txt\n",
      files));
  ASSERT_EQ(files.size(), 2u);
  EXPECT_EQ(files[0].target, L"languages\\de.json");
  EXPECT_EQ(files[1].target, L"licences\\x.txt");
  for (const char* name : {"../x", "bin/../../x", "/x", "C:x", "bin/", "", "a\\..\\..\\b"})
    EXPECT_FALSE(ReadPackageList(hash + "  " + name + "\n", files)) << name;
  EXPECT_FALSE(ReadPackageList("", files));
  EXPECT_FALSE(ReadPackageList(hash.substr(1) + "  bin/x\n", files));
}

TEST_F(Setup, AFolderIsReplacedAsAWholeAndComesBackAlsoAfterASetUpThatWasCutOff) {
  const std::wstring folder = root_ / L"programs";
  Write(folder + L"\\file", "old");
  {
    FolderReplacement replacement(folder);
    ASSERT_EQ(replacement.Begin(kEverybody), 0u);
    Write(replacement.fresh() + L"\\file", "new");
    ASSERT_EQ(replacement.Swap(), 0u);
    EXPECT_EQ(Read(folder + L"\\file"), "new");
    EXPECT_EQ(replacement.TakeBack(), 0u);
    EXPECT_EQ(Read(folder + L"\\file"), "old");
  }
  EXPECT_FALSE(std::filesystem::exists(folder + kFreshSuffix));
  // Between the two renames; and before the old one was removed.
  std::filesystem::rename(folder, folder + kOldSuffix);
  Write(folder + kFreshSuffix + L"\\file", "new");
  EXPECT_EQ(FolderReplacement(folder).Recover(), 0u);
  EXPECT_EQ(Read(folder + L"\\file"), "old");
  Write(folder + kOldSuffix + L"\\file", "older");
  EXPECT_EQ(FolderReplacement(folder).Recover(), 0u);
  EXPECT_EQ(Read(folder + L"\\file"), "old");
  EXPECT_EQ(std::distance(std::filesystem::directory_iterator(root_ / L""), {}), 1);

  EXPECT_EQ(FindFileInUse(folder, 0), L"");
  std::ofstream holder(std::filesystem::path(folder) / L"file", std::ios::app);
  EXPECT_EQ(FindFileInUse(folder, 0), folder + L"\\file");
}

TEST_F(Setup, AFolderOfAUserGoesAsAWholeButNotWhereALinkLeadsToIt) {
  const std::wstring folder = root_ / L"user";
  EXPECT_EQ(RemoveForeignFolder(folder), 0u);
  Write(folder + L"\\log\\deep\\file", "text");
  Write(folder + L"\\file", "text");
  // Another way to the same folder, as a link in the path would be.
  EXPECT_EQ(RemoveForeignFolder(root_ / L"." + L"\\user"), DWORD{ERROR_CANT_RESOLVE_FILENAME});
  EXPECT_EQ(Read(folder + L"\\log\\deep\\file"), "text");
  EXPECT_EQ(RemoveForeignFolder(folder), 0u);
  EXPECT_FALSE(std::filesystem::exists(folder));
}

TEST_F(Setup, ConfigurationsThatWereChangedByHandStayUnlessTheirValuesAreToChange) {
  SetupLog log;
  SetupValues values = {.server = L"https://host",
                        .machine_id = L"12345678-id",
                        .machine_name = L"\"A\" & <B> @C@",
                        .data = root_ / L"root"};
  const std::wstring templates = root_ / L"templates", name = L"\\A.exe.xml";
  const auto host = [](const std::string& more) {
    return "<host name=\"A\" data=\"@DATA_DIR@\">" + more + "</host>";
  };
  Write(templates + name + L".in", host("<!-- @SERVER_URL@ @MACHINE_NAME@ a@b -->"));
  const auto upgrade = [&](bool anew) {
    FolderReplacement config(values.config());
    EXPECT_EQ(config.Begin(kEverybody), 0u);
    const bool written = WriteConfigurations(templates, config.fresh(), values, "key", anew, log);
    if (written) {
      EXPECT_EQ(config.Swap(), 0u);
      config.Commit();
    }
    return written;
  };
  ASSERT_TRUE(upgrade(false));
  const std::string first = Read(values.config() + name);
  EXPECT_NE(first.find("wss://host &quot;A&quot; &amp; &lt;B&gt; @C@ a@b"), std::string::npos);
  EXPECT_EQ(Read(values.key_file()), "key");
  const SetupValues read = ReadSetupValues(values.config() + L"\\setup.xml");
  EXPECT_EQ(read.machine_name, values.machine_name);

  Write(values.config() + name, first + "<!-- mine -->");
  ASSERT_TRUE(upgrade(false));
  EXPECT_EQ(Read(values.config() + name), first + "<!-- mine -->");
  EXPECT_EQ(Read(values.config() + name + L".new"), "none");
  Write(templates + name + L".in", host("<!-- better -->"));
  ASSERT_TRUE(upgrade(false));
  EXPECT_EQ(Read(values.config() + name), first + "<!-- mine -->");
  EXPECT_NE(Read(values.config() + name + L".new").find("better"), std::string::npos);
  ASSERT_TRUE(upgrade(true));
  EXPECT_NE(Read(values.config() + name).find("better"), std::string::npos);
  EXPECT_EQ(Read(values.config() + name + L".old"), first + "<!-- mine -->");

  // What no host could read, or set-up does not know, is found before anything changes.
  Write(templates + name + L".in", "<host/>");
  EXPECT_FALSE(upgrade(false));
  Write(templates + name + L".in", host("@UNKNOWN@"));
  EXPECT_FALSE(upgrade(false));
  DeleteFileW(log.file().c_str());
}

}  // namespace
}  // namespace host::setup
