#include "webui/Browser.h"

#include <gio/gio.h>

#include <cstdlib>
#include <string_view>

#include "webui/Glib.h"

namespace quorvin::webui {

namespace {

void finish(GObject* browser, GAsyncResult* result, gpointer uris) {
  g_app_info_launch_uris_finish(G_APP_INFO(browser), result, nullptr);
  g_list_free_full(static_cast<GList*>(uris), g_free);
}

}  // namespace

void openInBrowser(const std::string& file) {
  const char* wish = std::getenv("QUORVIN_WEBUI_OPEN");
  if (wish != nullptr && std::string_view(wish) == "0") return;
  // Files of that kind may belong to an editor.
  const ObjectPointer<GAppInfo> browser(g_app_info_get_default_for_uri_scheme("http"));
  char* uri = g_filename_to_uri(file.c_str(), nullptr, nullptr);
  if (!browser || uri == nullptr) {
    g_free(uri);
    return;
  }
  auto* uris = g_list_prepend(nullptr, uri);
  g_app_info_launch_uris_async(browser.get(), uris, nullptr, nullptr, finish, uris);
}

}  // namespace quorvin::webui
