// SPDX-License-Identifier: MIT
#include <cairo.h>
#include <dlfcn.h>
#include <librsvg/rsvg.h>

#include <memory>

#include "apps/zeltra/plot/SVGToPNG.h"

namespace zeltra::app {
namespace {

constexpr double kScale = 2;

/// The functions of librsvg and of the libraries that come with it. They are loaded only when a picture needs them:
/// there are some forty libraries, which take longer to load than any command takes to start.
class RSVG {
 public:
  RSVG() : library_(dlopen("librsvg-2.so.2", RTLD_NOW)) {
    Find(HandleFromData, "rsvg_handle_new_from_data");
    Find(GetSize, "rsvg_handle_get_intrinsic_size_in_pixels");
    Find(Render, "rsvg_handle_render_document");
    Find(Unref, "g_object_unref");
    Find(CreateSurface, "cairo_image_surface_create");
    Find(DestroySurface, "cairo_surface_destroy");
    Find(CreateContext, "cairo_create");
    Find(DestroyContext, "cairo_destroy");
    Find(WriteToPNG, "cairo_surface_write_to_png_stream");
  }

  bool IsWhole() const { return isWhole_; }

  decltype(&rsvg_handle_new_from_data) HandleFromData = nullptr;
  decltype(&rsvg_handle_get_intrinsic_size_in_pixels) GetSize = nullptr;
  decltype(&rsvg_handle_render_document) Render = nullptr;
  decltype(&g_object_unref) Unref = nullptr;
  decltype(&cairo_image_surface_create) CreateSurface = nullptr;
  decltype(&cairo_surface_destroy) DestroySurface = nullptr;
  decltype(&cairo_create) CreateContext = nullptr;
  decltype(&cairo_destroy) DestroyContext = nullptr;
  decltype(&cairo_surface_write_to_png_stream) WriteToPNG = nullptr;

 private:
  template <typename Function>
  void Find(Function& function, const char* name) {
    if (library_) function = reinterpret_cast<Function>(dlsym(library_, name));
    isWhole_ = isWhole_ && function;
  }

  void* library_;  // never closed: what it loads registers types that cannot be unloaded
  bool isWhole_ = true;
};

const RSVG& LoadedRSVG() {
  static const RSVG rsvg;
  return rsvg;
}

cairo_status_t AppendBytes(void* to, const unsigned char* data, unsigned int size) {
  static_cast<std::string*>(to)->append(reinterpret_cast<const char*>(data), size);
  return CAIRO_STATUS_SUCCESS;
}

}  // namespace

std::string ObstacleToPNG() {
  return LoadedRSVG().IsWhole() ? "" : "this program cannot load librsvg";
}

std::string SVGToPNG(const std::string& svg) {
  const RSVG& rsvg = LoadedRSVG();
  const std::unique_ptr<RsvgHandle, void (*)(void*)> drawing(
      rsvg.HandleFromData(reinterpret_cast<const guint8*>(svg.data()), svg.size(), nullptr), rsvg.Unref);
  double width = 0, height = 0;
  if (!drawing || !rsvg.GetSize(drawing.get(), &width, &height)) return {};
  const RsvgRectangle whole = {0, 0, kScale * width, kScale * height};
  const std::unique_ptr<cairo_surface_t, void (*)(cairo_surface_t*)> surface(
      rsvg.CreateSurface(CAIRO_FORMAT_RGB24, static_cast<int>(whole.width), static_cast<int>(whole.height)),
      rsvg.DestroySurface);
  const std::unique_ptr<cairo_t, void (*)(cairo_t*)> context(rsvg.CreateContext(surface.get()), rsvg.DestroyContext);
  std::string png;
  // After a failed cairo call all later ones fail too, so checking the last one is enough.
  if (!rsvg.Render(drawing.get(), context.get(), &whole, nullptr)) return {};
  return rsvg.WriteToPNG(surface.get(), AppendBytes, &png) == CAIRO_STATUS_SUCCESS ? png : std::string();
}

}  // namespace zeltra::app
