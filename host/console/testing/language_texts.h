#pragma once

#include <fstream>
#include <sstream>
#include <string>

#include "host/console/testing/fake_console_state.h"
#include "module/frame/json.h"
#include "module/frame/utf.h"
#include "module/frame/windows.h"

namespace host::console {

// The language of that code as the build has put it beside the programs. Empty without a file.
inline FakeConsoleState::Texts ReadLanguage(const std::string& code, std::wstring& name) {
  wchar_t program[MAX_PATH];
  GetModuleFileNameW(nullptr, program, MAX_PATH);
  const std::wstring path(program);
  std::ifstream file(
      (path.substr(0, path.rfind(L'\\')) + L"\\languages\\" + orn::ToWide(code + ".json").c_str())
          .c_str());
  std::ostringstream text;
  text << file.rdbuf();
  Json::Value root;
  FakeConsoleState::Texts texts;
  if (!orn::JsonReader().Parse(text.str(), root)) return texts;
  name = orn::ToWide(orn::JsonText(orn::JsonMember(root, "name"))).c_str();
  const Json::Value& words = orn::JsonMember(root, "console");
  for (const std::string& key : words.getMemberNames())
    texts[orn::ToWide(key).c_str()] = orn::ToWide(words[key].asString()).c_str();
  return texts;
}

}  // namespace host::console
