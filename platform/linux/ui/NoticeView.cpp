#include "platform/linux/ui/NoticeView.h"

#include <numbers>
#include <string>

#include "platform/unix/DesktopText.h"
#include "platform/unix/GlibPtr.h"

namespace quorvin {
namespace {

constexpr int textWidthChars = 46;
constexpr int pictureWidthPx = 176;
constexpr int pictureHeightPx = 132;

// Colours come from the theme, so that the view is at home in a light and in a dark one.
constexpr auto style = R"(
.notice-heading { font-size: 21pt; font-weight: 600; }
.notice-explanation { font-size: 12pt; opacity: 0.8; }
.notice-reminder {
  font-size: 10.5pt;
  padding: 10px 18px;
  border-radius: 8px;
  background-color: alpha(@theme_fg_color, 0.07);
}
.notice-picture { color: mix(@theme_selected_bg_color, @theme_fg_color, 0.3); }
)";

void outlineRounded(cairo_t* cairo, double x, double y, double width, double height,
                    double radius) {
  constexpr double quarter = std::numbers::pi / 2;
  cairo_new_sub_path(cairo);
  cairo_arc(cairo, x + width - radius, y + radius, radius, -quarter, 0);
  cairo_arc(cairo, x + width - radius, y + height - radius, radius, 0, quarter);
  cairo_arc(cairo, x + radius, y + height - radius, radius, quarter, 2 * quarter);
  cairo_arc(cairo, x + radius, y + radius, radius, 2 * quarter, 3 * quarter);
  cairo_close_path(cairo);
}

void drawScreen(cairo_t* cairo) {
  cairo_set_line_width(cairo, 5);
  outlineRounded(cairo, 4, 4, 168, 100, 10);
  cairo_stroke(cairo);
  cairo_move_to(cairo, 88, 104);
  cairo_line_to(cairo, 88, 127);
  cairo_move_to(cairo, 56, 128);
  cairo_line_to(cairo, 120, 128);
  cairo_stroke(cairo);
}

// A browser window on that screen: a bar with three buttons over an empty page.
void drawBrowser(cairo_t* cairo) {
  cairo_set_line_width(cairo, 3);
  outlineRounded(cairo, 40, 26, 96, 56, 6);
  cairo_stroke(cairo);
  cairo_move_to(cairo, 40, 42);
  cairo_line_to(cairo, 136, 42);
  cairo_stroke(cairo);
  for (const double x : {49.0, 57.0, 65.0}) {
    cairo_arc(cairo, x, 34, 2, 0, 2 * std::numbers::pi);
    cairo_fill(cairo);
  }
}

gboolean drawPicture(GtkWidget* widget, cairo_t* cairo, gpointer /*data*/) noexcept {
  GdkRGBA colour{};
  auto* context = gtk_widget_get_style_context(widget);
  gtk_style_context_get_color(context, gtk_style_context_get_state(context), &colour);
  gdk_cairo_set_source_rgba(cairo, &colour);
  cairo_set_line_cap(cairo, CAIRO_LINE_CAP_ROUND);
  drawScreen(cairo);
  drawBrowser(cairo);
  return TRUE;
}

void applyStyle(GtkWidget* widget, const char* styleClass) {
  const GlibPtr<GtkCssProvider> provider(gtk_css_provider_new());
  gtk_css_provider_load_from_data(provider.get(), style, -1, nullptr);
  auto* context = gtk_widget_get_style_context(widget);
  gtk_style_context_add_class(context, styleClass);
  gtk_style_context_add_provider(context, GTK_STYLE_PROVIDER(provider.get()),
                                 GTK_STYLE_PROVIDER_PRIORITY_APPLICATION);
}

GtkWidget* makePicture() {
  auto* picture = gtk_drawing_area_new();
  gtk_widget_set_size_request(picture, pictureWidthPx, pictureHeightPx);
  gtk_widget_set_halign(picture, GTK_ALIGN_CENTER);
  g_signal_connect(picture, "draw", G_CALLBACK(&drawPicture), nullptr);
  applyStyle(picture, "notice-picture");
  return picture;
}

GtkWidget* makeText(const std::string& text, const char* styleClass) {
  auto* label = gtk_label_new(text.c_str());
  gtk_label_set_line_wrap(GTK_LABEL(label), TRUE);
  gtk_label_set_justify(GTK_LABEL(label), GTK_JUSTIFY_CENTER);
  gtk_label_set_max_width_chars(GTK_LABEL(label), textWidthChars);
  gtk_widget_set_halign(label, GTK_ALIGN_CENTER);
  applyStyle(label, styleClass);
  return label;
}

}  // namespace

GtkWidget* makeNoticeView() {
  auto* column = gtk_box_new(GTK_ORIENTATION_VERTICAL, 0);
  gtk_widget_set_valign(column, GTK_ALIGN_CENTER);
  gtk_container_set_border_width(GTK_CONTAINER(column), 48);
  const auto add = [column](GtkWidget* child, int spaceAbovePx) {
    gtk_widget_set_margin_top(child, spaceAbovePx);
    gtk_container_add(GTK_CONTAINER(column), child);
  };
  add(makePicture(), 0);
  add(makeText(desktopText("notice.heading"), "notice-heading"), 36);
  add(makeText(desktopText("notice.explanation"), "notice-explanation"), 12);
  add(makeText(desktopText("notice.reminder"), "notice-reminder"), 36);
  gtk_widget_show_all(column);
  return column;
}

}  // namespace quorvin
