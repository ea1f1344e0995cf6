#include "host/service/configuration.h"

#include <pugixml.hpp>

#include <algorithm>
#include <initializer_list>
#include <string_view>
#include <utility>

#include "host/common/file_path.h"
#include "host/common/host_configuration.h"
#include "host/common/host_presence.h"
#include "host/common/log_settings.h"
#include "module/frame/handle.h"

namespace host {
namespace {

constexpr DWORD kLargestFile = 1024 * 1024;
constexpr size_t kMostHosts = 32;  // Each is waited for, and a wait takes 64 objects.

bool IsBareName(const std::wstring& path) {
  return path.find_first_of(L"\\/:") == std::wstring::npos;
}

class Reader {
 public:
  Reader(Configuration& configuration, ConfigurationProblem& problem)
      : configuration_(configuration), problem_(problem) {}

  bool Read() {
    if (!Load()) return false;
    const pugi::xml_node root = document_.document_element();
    if (root.name() != std::string_view("host")) return Fail(root, L"the root must be <host>");
    return ReadHost(root) && ReadChildren(root);
  }

 private:
  bool Fail(int line, uint32_t code, std::wstring text) {
    problem_ = {.line = line, .code = code, .text = std::move(text)};
    return false;
  }

  bool Fail(const pugi::xml_node& node, std::wstring text) {
    return Fail(LineAt(node.offset_debug()), ERROR_INVALID_DATA, std::move(text));
  }

  int LineAt(ptrdiff_t offset) const {
    const auto end = text_.begin() + std::clamp<ptrdiff_t>(offset, 0, std::ssize(text_));
    return 1 + static_cast<int>(std::count(text_.begin(), end, '\n'));
  }

  bool Load() {
    const orn::UniqueFile file(CreateFileW(configuration_.file.c_str(), GENERIC_READ,
                                           FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE,
                                           /*security=*/nullptr, OPEN_EXISTING,
                                           FILE_ATTRIBUTE_NORMAL, /*template=*/nullptr));
    if (!file) return Fail(0, GetLastError(), L"the configuration cannot be opened");
    text_.resize(kLargestFile + 1);
    DWORD length = 0;
    if (!ReadFile(file.get(), text_.data(), kLargestFile + 1, &length, /*overlapped=*/nullptr)) {
      return Fail(0, GetLastError(), L"the configuration cannot be read");
    }
    if (length > kLargestFile)
      return Fail(0, ERROR_FILE_TOO_LARGE, L"the configuration is over 1 MiB");
    text_.resize(length);
    // The parser would take it for the end.
    if (const size_t zero = text_.find('\0'); zero != std::string::npos) {
      return Fail(LineAt(static_cast<ptrdiff_t>(zero)), ERROR_INVALID_DATA,
                  L"the configuration is no UTF-8 text");
    }
    const pugi::xml_parse_result result =
        document_.load_buffer(text_.data(), text_.size(), pugi::parse_default, pugi::encoding_utf8);
    return result || Fail(LineAt(result.offset), ERROR_INVALID_DATA,
                          L"the configuration is no XML: " + WideText(result.description()));
  }

  // Every attribute of `node` is one of `names`, and those before `required` are there and not
  // empty.
  bool CheckAttributes(const pugi::xml_node& node, size_t required,
                       std::initializer_list<const char*> names) {
    const std::wstring element = L"<" + WideText(node.name()) + L">";
    for (size_t i = 0; i < required; ++i) {
      const char* const name = names.begin()[i];
      if (*node.attribute(name).value() == 0) {
        return Fail(node, element + L" lacks the attribute \"" + WideText(name) + L"\"");
      }
    }
    for (const pugi::xml_attribute& attribute : node.attributes()) {
      const std::string_view name = attribute.name();
      if (std::find(names.begin(), names.end(), name) == names.end()) {
        return Fail(node, element + L" has an unknown attribute \"" + WideText(name) + L"\"");
      }
    }
    return true;
  }

  bool FailOnChild(const pugi::xml_node& child) {
    const std::string_view name = child.name();
    return Fail(child, name.empty() ? L"text where none belongs"
                                    : L"unknown or misplaced element <" + WideText(name) + L">");
  }

  bool ReadHost(const pugi::xml_node& root) {
    if (!CheckAttributes(root, 2, {"name", "data", "history", "instance", "stopLimit", "rights"}))
      return false;
    configuration_.folder = FolderOf(configuration_.file);
    configuration_.name = WideText(root.attribute("name").value());
    configuration_.data =
        ConfiguredPath(configuration_.folder, WideText(root.attribute("data").value()));
    while (configuration_.data.size() > 3 && configuration_.data.ends_with(L'\\')) {
      configuration_.data.pop_back();
    }
    configuration_.history =
        ConfiguredPath(configuration_.folder, WideText(root.attribute("history").value()));
    configuration_.instance = WideText(root.attribute("instance").value());
    if (!configuration_.instance.empty() && !IsHostName(configuration_.instance)) {
      return Fail(root, L"bad instance \"" + configuration_.instance + L"\"");
    }
    if (const pugi::xml_attribute limit = root.attribute("stopLimit")) {
      configuration_.stop_limit = limit.as_uint();
      if (configuration_.stop_limit < 1 || configuration_.stop_limit > 3600) {
        return Fail(root, L"stopLimit must be 1 to 3600 seconds");
      }
    }
    if (const pugi::xml_attribute rights = root.attribute("rights")) {
      configuration_.low_rights = rights.value() == std::string_view("low");
      if (!configuration_.low_rights && rights.value() != std::string_view("full")) {
        return Fail(root, L"rights must be \"full\" or \"low\"");
      }
    }
    return AddHost(root, configuration_.name);
  }

  bool AddHost(const pugi::xml_node& node, const std::wstring& name) {
    if (!IsHostName(name)) return Fail(node, L"bad host name \"" + name + L"\"");
    if (std::ranges::count(configuration_.declared, name) != 0) {
      return Fail(node, L"host \"" + name + L"\" is declared twice");
    }
    if (configuration_.declared.size() == kMostHosts) return Fail(node, L"too many hosts");
    configuration_.declared.push_back(name);
    return true;
  }

  bool ReadChildren(const pugi::xml_node& root) {
    for (const pugi::xml_node& child : root.children()) {
      const std::string_view name = child.name();
      const bool good = name == "plugin"                           ? ReadPlugin(child)
                        : name == "declares"                       ? ReadDeclaration(child)
                        : name == "stop"                           ? ReadStop(child)
                        : name == "process"                        ? ReadProcess(child)
                        : name == "log" && !configuration_.has_log ? ReadLog(child)
                                                                   : FailOnChild(child);
      if (!good) return false;
    }
    return true;
  }

  // What is said here is for the log library; a mistake in it is found before anything starts.
  bool ReadLog(const pugi::xml_node& node) {
    LogSettings settings;
    const std::string problem = ReadLogSettings(node, configuration_.folder, settings);
    if (!problem.empty()) return Fail(node, WideText(problem));
    configuration_.has_log = true;
    return !node.first_child() || FailOnChild(node.first_child());
  }

  bool ReadDeclaration(const pugi::xml_node& node) {
    return CheckAttributes(node, 1, {"host"}) &&
           (!node.first_child() || FailOnChild(node.first_child())) &&
           AddHost(node, WideText(node.attribute("host").value()));
  }

  bool ReadPlugin(const pugi::xml_node& node) {
    if (!CheckAttributes(node, 3, {"name", "library", "object", "optional"})) return false;
    PluginEntry plugin{.name = WideText(node.attribute("name").value()),
                       .library = WideText(node.attribute("library").value()),
                       .object = WideText(node.attribute("object").value()),
                       .options = {},
                       .optional = node.attribute("optional").as_bool(),
                       .line = LineAt(node.offset_debug())};
    if (plugin.name == kConfigurationName || HasPlugin(plugin.name)) {
      return Fail(node, L"plug-in \"" + plugin.name + L"\" is there already");
    }
    for (const pugi::xml_node& child : node.children()) {
      if (child.name() != std::string_view("option")) return FailOnChild(child);
      if (!CheckAttributes(child, 1, {"name", "value"})) return false;
      if (!child.attribute("value")) return Fail(child, L"<option> lacks the attribute \"value\"");
      if (child.first_child()) return FailOnChild(child.first_child());
      const std::wstring name = WideText(child.attribute("name").value());
      const std::wstring value = WideText(child.attribute("value").value());
      if (!plugin.options.emplace(name, value).second) {
        return Fail(child, L"option \"" + name + L"\" is given twice");
      }
    }
    configuration_.plugins.push_back(std::move(plugin));
    return true;
  }

  bool ReadStop(const pugi::xml_node& node) {
    if (!CheckAttributes(node, 1, {"plugin"})) return false;
    if (node.first_child()) return FailOnChild(node.first_child());
    const std::wstring name = WideText(node.attribute("plugin").value());
    if (!HasPlugin(name)) return Fail(node, L"no plug-in \"" + name + L"\" stands above");
    if (std::ranges::count(configuration_.first_to_stop, name) != 0) {
      return Fail(node, L"plug-in \"" + name + L"\" is stopped twice");
    }
    configuration_.first_to_stop.push_back(name);
    return true;
  }

  bool ReadProcess(const pugi::xml_node& node) {
    if (!CheckAttributes(node, 2, {"program", "config"})) return false;
    if (node.first_child()) return FailOnChild(node.first_child());
    ProcessEntry process{.program = AbsolutePath(FolderOf(ProgramPath()),
                                                 WideText(node.attribute("program").value())),
                         .config = WideText(node.attribute("config").value()),
                         .line = LineAt(node.offset_debug())};
    if (!IsBareName(process.config)) {
      process.config = AbsolutePath(configuration_.folder, process.config);
    }
    if (std::ranges::count(configuration_.processes, process.config, &ProcessEntry::config) != 0) {
      return Fail(node, L"configuration \"" + process.config + L"\" is started twice");
    }
    configuration_.processes.push_back(std::move(process));
    return true;
  }

  bool HasPlugin(const std::wstring& name) const {
    return std::ranges::find(configuration_.plugins, name, &PluginEntry::name) !=
           configuration_.plugins.end();
  }

  Configuration& configuration_;
  ConfigurationProblem& problem_;
  std::string text_;
  pugi::xml_document document_;
};

}  // namespace

std::wstring FindConfiguration(const std::wstring& given) {
  if (!IsBareName(given)) return AbsolutePath(L".", given);
  std::wstring folder(GetEnvironmentVariableW(kConfigurationFolderVariable, nullptr, 0), L'\0');
  folder.resize(GetEnvironmentVariableW(kConfigurationFolderVariable, folder.data(),
                                        static_cast<DWORD>(folder.size())));
  if (!folder.empty()) {
    std::wstring path = folder + L'\\' + given;
    if (GetFileAttributesW(path.c_str()) != INVALID_FILE_ATTRIBUTES) return path;
  }
  return FolderOf(ProgramPath()) + L'\\' + given;
}

bool ReadConfiguration(const std::wstring& file, Configuration& configuration,
                       ConfigurationProblem& problem) {
  configuration = Configuration();
  configuration.file = file;
  return Reader(configuration, problem).Read();
}

}  // namespace host
