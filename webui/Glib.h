#pragma once

#include <gio/gio.h>
#include <glib-object.h>

#include <memory>

namespace quorvin::webui {

struct ObjectUnref {
  void operator()(gpointer object) const { g_object_unref(object); }
};
template <typename T>
using ObjectPointer = std::unique_ptr<T, ObjectUnref>;

// A second reference to an object that somebody else holds as well.
template <typename T>
ObjectPointer<T> referTo(T* object) {
  return ObjectPointer<T>(static_cast<T*>(g_object_ref(object)));
}

struct ErrorFree {
  void operator()(GError* error) const { g_error_free(error); }
};
using ErrorPointer = std::unique_ptr<GError, ErrorFree>;

struct BytesUnref {
  void operator()(GBytes* bytes) const { g_bytes_unref(bytes); }
};
using BytesPointer = std::unique_ptr<GBytes, BytesUnref>;

}  // namespace quorvin::webui
