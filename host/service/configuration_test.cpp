#include "host/service/configuration.h"

#include <gtest/gtest.h>

#include <string>

#include "module/frame/testing/test_folder.h"

namespace host {
namespace {

TEST(ConfigurationFile, WhateverIsBrokenOrHostileIsRefusedWithItsLine) {
  const TestFolder folder;
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
      {head + "<stop plugin='P'/>" + good_plugin + "</host>", 2, L"no plug-in \"P\" stands above"},
      {head + good_plugin + "<stop plugin='P'/><stop plugin='P'/></host>", 3, L"stopped twice"},
      {head + "<process program='p.exe'/></host>", 2, L"lacks the attribute \"config\""},
      {head + "<process program='p' config='c'/>\n<process program='q' config='c'/></host>", 3,
       L"\"c\" is started twice"},
      {"<host name='H' data='d' rights='lwo'/>", 1, L"rights must be"},
      {head + "<log path='l' level='loud'/></host>", 2, L"unusable value"},
      {std::string(2 * 1024 * 1024, ' '), 0, L"over 1 MiB"},
  };
  for (const auto& row : kRows) {
    SCOPED_TRACE(row.text.substr(0, 100));
    folder.Write(L"host.xml", row.text);
    Configuration configuration;
    ConfigurationProblem problem;
    EXPECT_FALSE(ReadConfiguration(folder / L"host.xml", configuration, problem));
    EXPECT_EQ(problem.line, row.line);
    EXPECT_NE(problem.text.find(row.problem), std::wstring::npos)
        << std::string(problem.text.begin(), problem.text.end());
  }
}

}  // namespace
}  // namespace host
