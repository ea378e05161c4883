#pragma once

#include <gtk/gtk.h>

namespace quorvin {

// What the window shows in the place of a user interface of its own: that it is in the browser,
// and what closing the window does. The widget is floating, as GTK's constructors leave it.
[[nodiscard]] GtkWidget* makeNoticeView();

}  // namespace quorvin
