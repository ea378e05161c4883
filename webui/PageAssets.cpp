#include "webui/PageAssets.h"

#include <string>

#include "webui/Glib.h"

extern "C" {
#include "webui/PageResources.h"
}

namespace quorvin::webui {

namespace {

const char* typeOf(std::string_view name) {
  if (name.ends_with(".html")) return "text/html; charset=utf-8";
  if (name.ends_with(".css")) return "text/css; charset=utf-8";
  if (name.ends_with(".js")) return "text/javascript; charset=utf-8";
  if (name.ends_with(".svg")) return "image/svg+xml";
  return "application/octet-stream";
}

}  // namespace

std::optional<PageAsset> findPageAsset(std::string_view name) {
  if (name.empty()) name = "index.html";
  // A slash at the end would be overlooked.
  if (name.find('/') != std::string_view::npos) return std::nullopt;
  const auto path = "/com/quorvin/webui/" + std::string(name);
  const BytesPointer bytes(g_resource_lookup_data(quorvin_page_get_resource(), path.c_str(),
                                                  G_RESOURCE_LOOKUP_FLAGS_NONE, nullptr));
  if (!bytes) return std::nullopt;
  // Uncompressed resources are the program's own read-only data, which outlives `bytes`.
  gsize size = 0;
  const auto* content = static_cast<const char*>(g_bytes_get_data(bytes.get(), &size));
  return PageAsset{typeOf(name), {content, size}};
}

}  // namespace quorvin::webui
