#include "host/console/window/texts.h"

namespace host::console {

std::wstring Fill(const std::wstring& text, std::initializer_list<std::wstring> values) {
  std::wstring filled;
  for (size_t i = 0; i < text.size(); ++i) {
    if (text[i] == L'{' && i + 2 < text.size() && text[i + 2] == L'}') {
      const auto index = static_cast<size_t>(text[i + 1] - L'0');
      if (index < values.size()) {
        filled += values.begin()[index];
        i += 2;
        continue;
      }
    }
    filled += text[i];
  }
  return filled;
}

std::wstring FillTranslated(IConsoleState& state, const wchar_t* english,
                            std::initializer_list<std::wstring> values) {
  return Fill(state.Translate(english), values);
}

}  // namespace host::console
