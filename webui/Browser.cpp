#include "webui/Browser.h"

#include <gio/gio.h>

#include <cstdlib>
#include <string_view>

#include "webui/Glib.h"

namespace quorvin::webui {

namespace {

struct Launch {
  GMainLoop* loop;
  GList* uris;
};

void finish(GObject* browser, GAsyncResult* result, gpointer data) {
  const auto* launch = static_cast<const Launch*>(data);
  g_app_info_launch_uris_finish(G_APP_INFO(browser), result, nullptr);
  g_list_free_full(launch->uris, g_free);
  g_main_loop_quit(launch->loop);
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
  // One that is started over D-Bus takes a message and its answer.
  Launch launch{g_main_loop_new(nullptr, FALSE), g_list_prepend(nullptr, uri)};
  g_app_info_launch_uris_async(browser.get(), launch.uris, nullptr, nullptr, finish, &launch);
  g_main_loop_run(launch.loop);
  g_main_loop_unref(launch.loop);
}

}  // namespace quorvin::webui
