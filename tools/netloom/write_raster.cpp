// PNG and PDF: the SVG text rendered by librsvg onto a cairo surface, so that
// every drawn format shows the same drawing.

#include "output_file.h"
#include "writers.h"

#include <cairo-pdf.h>
#include <cairo.h>
#include <librsvg/rsvg.h>

#include <algorithm>
#include <cmath>
#include <memory>
#include <new>

namespace netloom_cli {
namespace {

// cairo's image surfaces hold at most 32767 pixels a side, and pixman wants the
// bytes of an image (4 a pixel) to fit in an int: 2^29 pixels, less 2^16 as
// room for rounding the sides of a scaled-down image.
constexpr double kMaxSide = 32767.0;
constexpr double kMaxPixels = 536870912.0 - 65536.0;
constexpr double kPointsPerPixel = 0.75; // 72 points per inch, 96 pixels per inch

struct GObjectUnref {
    void operator()(gpointer object) const { g_object_unref(object); }
};
struct SurfaceDestroy {
    void operator()(cairo_surface_t* surface) const { cairo_surface_destroy(surface); }
};
struct ContextDestroy {
    void operator()(cairo_t* cr) const { cairo_destroy(cr); }
};
using Handle = std::unique_ptr<RsvgHandle, GObjectUnref>;
using Surface = std::unique_ptr<cairo_surface_t, SurfaceDestroy>;
using Context = std::unique_ptr<cairo_t, ContextDestroy>;

[[noreturn]] void FailWith(const char* what, GError* error) {
    const std::string message = std::string("cannot render the drawing: ") + what +
                                (error != nullptr ? std::string(": ") + error->message : "");
    if (error != nullptr) {
        g_error_free(error);
    }
    throw OutputError(message);
}

void Check(cairo_status_t status) {
    if (status == CAIRO_STATUS_NO_MEMORY) {
        throw std::bad_alloc();
    }
    if (status != CAIRO_STATUS_SUCCESS) {
        FailWith(cairo_status_to_string(status), nullptr);
    }
}

// The parsed SVG and its size in pixels (width and height attributes), at
// least one pixel a side.
struct Parsed {
    Handle handle;
    double width = 1.0;
    double height = 1.0;
};

Parsed Parse(const std::string& svg) {
    GError* error = nullptr;
    Parsed parsed;
    parsed.handle.reset(
        rsvg_handle_new_from_data(reinterpret_cast<const guint8*>(svg.data()), svg.size(), &error));
    if (!parsed.handle) {
        FailWith("librsvg cannot load the SVG", error);
    }
    rsvg_handle_set_dpi(parsed.handle.get(), 96.0);
    double width = 0.0;
    double height = 0.0;
    if (!rsvg_handle_get_intrinsic_size_in_pixels(parsed.handle.get(), &width, &height)) {
        FailWith("the SVG has no width and height", nullptr);
    }
    parsed.width = std::max(1.0, std::ceil(width));
    parsed.height = std::max(1.0, std::ceil(height));
    return parsed;
}

// Renders the whole document fitted to width by height in the surface's units.
void Render(const Parsed& parsed, cairo_surface_t* surface, double width, double height) {
    Context cr(cairo_create(surface));
    Check(cairo_status(cr.get()));
    const RsvgRectangle viewport = {0.0, 0.0, width, height};
    GError* error = nullptr;
    if (!rsvg_handle_render_document(parsed.handle.get(), cr.get(), &viewport, &error)) {
        FailWith("librsvg", error);
    }
    Check(cairo_status(cr.get()));
}

// cairo's stream callback: appends to a std::string.
cairo_status_t Append(void* closure, const unsigned char* data, unsigned int length) {
    try {
        static_cast<std::string*>(closure)->append(reinterpret_cast<const char*>(data), length);
    } catch (const std::bad_alloc&) {
        return CAIRO_STATUS_NO_MEMORY;
    }
    return CAIRO_STATUS_SUCCESS;
}

std::string Pixels(double value) {
    return FormatNumber(value) + " px";
}

} // namespace

std::string RenderPng(const std::string& svg, std::string& warning) {
    const Parsed parsed = Parse(svg);
    double width = parsed.width;
    double height = parsed.height;
    const double fit = std::min(
        {1.0, kMaxSide / width, kMaxSide / height, std::sqrt(kMaxPixels / (width * height))});
    if (fit < 1.0) {
        width = std::clamp(std::round(width * fit), 1.0, kMaxSide);
        height = std::clamp(std::round(height * fit), 1.0, kMaxSide);
        warning = "the drawing is " + Pixels(parsed.width) + " by " + Pixels(parsed.height) +
                  ", more than a PNG image can hold (32767 px a side, about 2^29 px in all); "
                  "it is scaled down to " +
                  Pixels(width) + " by " + Pixels(height);
    }
    Surface surface(cairo_image_surface_create(CAIRO_FORMAT_ARGB32, static_cast<int>(width),
                                               static_cast<int>(height)));
    Check(cairo_surface_status(surface.get()));
    {
        // White as the drawing's background, also under the fraction of a
        // pixel that fitting the viewBox may leave at the edges.
        Context cr(cairo_create(surface.get()));
        cairo_set_source_rgb(cr.get(), 1.0, 1.0, 1.0);
        cairo_paint(cr.get());
        Check(cairo_status(cr.get()));
    }
    Render(parsed, surface.get(), width, height);
    std::string png;
    Check(cairo_surface_write_to_png_stream(surface.get(), Append, &png));
    return png;
}

std::string RenderPdf(const std::string& svg) {
    const Parsed parsed = Parse(svg);
    const double width = parsed.width * kPointsPerPixel;
    const double height = parsed.height * kPointsPerPixel;
    std::string pdf;
    Surface surface(cairo_pdf_surface_create_for_stream(Append, &pdf, width, height));
    Check(cairo_surface_status(surface.get()));
    Render(parsed, surface.get(), width, height);
    cairo_surface_finish(surface.get());
    Check(cairo_surface_status(surface.get()));
    return pdf;
}

} // namespace netloom_cli

// Fontconfig, which librsvg reaches through Pango for the labels, keeps its
// caches until the process ends; LeakSanitizer would report them as leaks.
#if defined(__SANITIZE_ADDRESS__)
#define NETLOOM_LEAK_CHECKED 1
#elif defined(__has_feature)
#if __has_feature(address_sanitizer)
#define NETLOOM_LEAK_CHECKED 1
#endif
#endif
#ifdef NETLOOM_LEAK_CHECKED
extern "C" const char* __lsan_default_suppressions() {
    return "leak:libfontconfig.so\n";
}
extern "C" const char* __lsan_default_options() {
    return "print_suppressions=0";
}
#endif
