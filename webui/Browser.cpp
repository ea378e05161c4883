#include "webui/Browser.h"

#include <gio/gio.h>

#include <cstdlib>
#include <string_view>

namespace quorvin::webui {

namespace {

void finish(GObject* /*source*/, GAsyncResult* result, gpointer /*data*/) {
  g_app_info_launch_default_for_uri_finish(result, nullptr);
}

}  // namespace

void openInBrowser(const std::string& address) {
  const char* wish = std::getenv("QUORVIN_WEBUI_OPEN");
  if (wish != nullptr && std::string_view(wish) == "0") return;
  g_app_info_launch_default_for_uri_async(address.c_str(), nullptr, nullptr, finish, nullptr);
}

}  // namespace quorvin::webui
