#pragma once

#include <span>
#include <string>
#include <string_view>

namespace quorvin {

// What a program says outside the pages, in one of the languages.
struct DesktopText {
  std::string_view id;
  std::string_view language;
  std::string_view text;
};

// Generated from the catalogues in webui/languages/.
std::span<const DesktopText> desktopTexts();

// The first of these that there are texts in, otherwise English. `names` are a desktop's languages
// as g_get_language_names() has them, the most welcome first, and end with a null pointer.
std::string_view desktopLanguage(const char* const* names);

// Empty without such a text. `name` stands where the text has "{name}". On any thread.
std::string textIn(std::string_view language, std::string_view id, std::string_view name = {});
// In the language of the desktop when it was first asked for.
std::string desktopText(std::string_view id, std::string_view name = {});

}  // namespace quorvin
