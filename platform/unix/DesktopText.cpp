#include "platform/unix/DesktopText.h"

#include <glib.h>

#include <algorithm>

namespace quorvin {

std::string_view desktopLanguage(const char* const* names) {
  for (; *names != nullptr; ++names) {
    const std::string_view name = *names;
    const auto language = name.substr(0, name.find_first_of("_.@"));
    const auto texts = desktopTexts();
    const auto found = std::ranges::find(texts, language, &DesktopText::language);
    if (found != texts.end()) return found->language;
  }
  return "en";
}

std::string textIn(std::string_view language, std::string_view id, std::string_view name) {
  constexpr std::string_view place = "{name}";
  for (const auto& known : desktopTexts()) {
    if (known.id != id || known.language != language) continue;
    std::string text(known.text);
    const auto at = text.find(place);
    return at == std::string::npos ? text : text.replace(at, place.size(), name);
  }
  return {};
}

std::string desktopText(std::string_view id, std::string_view name) {
  static const auto language = desktopLanguage(g_get_language_names());
  return textIn(language, id, name);
}

}  // namespace quorvin
