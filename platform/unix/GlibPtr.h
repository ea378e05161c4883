#pragma once

#include <glib-object.h>

#include <memory>

namespace quorvin {

// Lets go of what GLib and the libraries upon it hand over: a reference to an object, unless the
// type has a function of its own for it.
struct GlibDelete {
  void operator()(char* text) const { g_free(text); }
  void operator()(GBytes* bytes) const { g_bytes_unref(bytes); }
  void operator()(GError* error) const { g_error_free(error); }
  void operator()(GKeyFile* file) const { g_key_file_free(file); }
  void operator()(GMainContext* context) const { g_main_context_unref(context); }
  void operator()(GMainLoop* loop) const { g_main_loop_unref(loop); }
  void operator()(GUri* uri) const { g_uri_unref(uri); }
  void operator()(GDateTime* time) const { g_date_time_unref(time); }
  void operator()(GVariant* variant) const { g_variant_unref(variant); }
  template <typename Object>
  void operator()(Object* object) const {
    g_object_unref(object);
  }
};

template <typename T>
using GlibPtr = std::unique_ptr<T, GlibDelete>;

// A second reference to an object that somebody else holds as well.
template <typename Object>
[[nodiscard]] GlibPtr<Object> referTo(Object* object) {
  return GlibPtr<Object>(static_cast<Object*>(g_object_ref(object)));
}

}  // namespace quorvin
