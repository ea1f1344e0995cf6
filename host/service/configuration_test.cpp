#include "host/service/configuration.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <string>

#include "host/common/file_path.h"
#include "host/service/configuration_object.h"
#include "module/frame/windows.h"

namespace host {
namespace {

class ConfigurationFile : public ::testing::Test {
 protected:
  bool Read(const std::string& text) {
    std::ofstream(std::filesystem::path(file_), std::ios::binary) << text;
    return ReadConfiguration(file_, configuration_, problem_);
  }
  ~ConfigurationFile() override { std::filesystem::remove(std::filesystem::path(file_)); }

  const std::wstring file_ = std::filesystem::temp_directory_path() /
                             (L"configuration-" + std::to_wstring(GetCurrentProcessId()) + L".xml");
  Configuration configuration_;
  ConfigurationProblem problem_;
};

TEST_F(ConfigurationFile, GivesPluginsTheirOptionsAndResolvesPathsAgainstItsFolder) {
  ASSERT_TRUE(
      Read("\xEF\xBB\xBF<host name='H' data='d\\..\\data\\'>\n<declares host='W'/>\n"
           "<plugin name='P' library='l.dll' object='O'>"
           "<option name='server' value='\xC3\xA4 &amp; b'/><option name='empty' value=''/>"
           "</plugin></host>"))
      << std::string(problem_.text.begin(), problem_.text.end());
  EXPECT_EQ(configuration_.declared, (std::vector<std::wstring>{L"H", L"W"}));
  ConfigurationObject object(configuration_);
  EXPECT_EQ(object.GetDataFolder(), FolderOf(file_) + L"\\data");
  EXPECT_STREQ(object.GetOption(L"P", L"server"), L"\u00e4 & b");
  EXPECT_STREQ(object.GetOption(L"P", L"empty"), L"");
  EXPECT_EQ(object.ResolvePath(L"keys/agent.key"), FolderOf(file_) + L"\\keys\\agent.key");
  EXPECT_STREQ(object.ResolvePath(L"C:\\keys\\agent.key"), L"C:\\keys\\agent.key");
}

TEST_F(ConfigurationFile, TheTemplateIsAGoodConfiguration) {
  std::ifstream in(
      std::filesystem::path(FolderOf(ProgramPath()) + L"\\TsrSecurityService.exe.xml.in"));
  ASSERT_TRUE(Read({std::istreambuf_iterator<char>(in), {}}));
  EXPECT_EQ(configuration_.plugins.size(), 6u);
}

TEST_F(ConfigurationFile, WhateverIsBrokenOrHostileIsRefusedWithItsLine) {
  const std::string head = "<host name='H' data='d'>\n";
  const std::string plugin = "<plugin name='P' library='l' object='O'>";
  const std::string good_plugin = plugin + "</plugin>\n";
  std::string deep;
  for (int i = 0; i < 100000; ++i)
    deep += "<a>";
  const struct {
    std::string text;
    int line;
    const wchar_t* problem;
  } kRows[] = {
      {"", 1, L"no XML"},
      {std::string("\xFF\xFE<\0h\0", 6), 1, L"no UTF-8"},
      {head + "</host>\n\n" + std::string(1, '\0') + "x", 4, L"no UTF-8"},
      {head + deep, 2, L"no XML"},
      {"<!DOCTYPE host [<!ENTITY x SYSTEM 'file:///etc/passwd'>]>\n<host name='&x;' data='d'/>", 2,
       L"bad host name"},
      {"<host name='..\\x' data='d'/>", 1, L"bad host name"},
      {"<host name='H' data='d' stopLimit='-1'/>", 1, L"stopLimit"},
      {head + "\n<plug/></host>", 3, L"unknown or misplaced element <plug>"},
      {head + good_plugin + good_plugin + "</host>", 3, L"\"P\" is there already"},
      {head + "<plugin name='P' library='l' object='O' secret='s'/></host>", 2,
       L"unknown attribute \"secret\""},
      {head + plugin + "\n<option name='a'/></plugin></host>", 3, L"lacks the attribute \"value\""},
      {head + "<log path='l' level='loud'/></host>", 2, L"unusable value"},
      {std::string(2 * 1024 * 1024, ' '), 0, L"over 1 MiB"},
  };
  for (const auto& row : kRows) {
    SCOPED_TRACE(row.text.substr(0, 100));
    EXPECT_FALSE(Read(row.text));
    EXPECT_EQ(problem_.line, row.line);
    EXPECT_NE(problem_.text.find(row.problem), std::wstring::npos)
        << std::string(problem_.text.begin(), problem_.text.end());
  }
}

}  // namespace
}  // namespace host
