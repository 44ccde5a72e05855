// SPDX-License-Identifier: MIT
#include <cairo.h>
#include <librsvg/rsvg.h>

#include <memory>

#include "apps/zeltra/plot/SVGToPNG.h"

namespace zeltra::app {
namespace {

constexpr double kScale = 2;

cairo_status_t AppendBytes(void* to, const unsigned char* data, unsigned int size) {
  static_cast<std::string*>(to)->append(reinterpret_cast<const char*>(data), size);
  return CAIRO_STATUS_SUCCESS;
}

}  // namespace

bool CanMakePNG() {
  return true;
}

std::string SVGToPNG(const std::string& svg) {
  const std::unique_ptr<RsvgHandle, void (*)(void*)> drawing(
      rsvg_handle_new_from_data(reinterpret_cast<const guint8*>(svg.data()), svg.size(), nullptr), g_object_unref);
  double width = 0, height = 0;
  if (!drawing || !rsvg_handle_get_intrinsic_size_in_pixels(drawing.get(), &width, &height)) return {};
  const RsvgRectangle whole = {0, 0, kScale * width, kScale * height};
  const std::unique_ptr<cairo_surface_t, void (*)(cairo_surface_t*)> surface(
      cairo_image_surface_create(CAIRO_FORMAT_RGB24, static_cast<int>(whole.width), static_cast<int>(whole.height)),
      cairo_surface_destroy);
  const std::unique_ptr<cairo_t, void (*)(cairo_t*)> context(cairo_create(surface.get()), cairo_destroy);
  std::string png;
  // After a failed cairo call all later ones fail too, so checking the last one is enough.
  if (!rsvg_handle_render_document(drawing.get(), context.get(), &whole, nullptr)) return {};
  const cairo_status_t status = cairo_surface_write_to_png_stream(surface.get(), AppendBytes, &png);
  return status == CAIRO_STATUS_SUCCESS ? png : std::string();
}

}  // namespace zeltra::app
