// PNG and PDF: the drawing's geometry painted with cairo, the same picture as
// the SVG (boxes, labels, ports, edges, arrowheads, and the same detail left
// out of a picture shown below its natural size). Drawing shows a progress
// line and stops within moments of Ctrl-C, also while the PNG is encoded.

#include "interrupt.h"
#include "output_file.h"
#include "progress.h"
#include "writers.h"

#include <cairo-pdf.h>
#include <cairo.h>
#include <png.h>
#include <unistd.h>
#include <zlib.h>

#include <algorithm>
#include <cmath>
#include <csetjmp>
#include <cstdlib>
#include <cstring>
#include <limits>
#include <memory>
#include <new>
#include <vector>

namespace netloom_cli {
namespace {

constexpr double kPointsPerPixel = 0.75; // 72 points per inch, 96 pixels per inch
constexpr int kBatch = 256;              // items drawn between progress updates

struct SurfaceDestroy {
    void operator()(cairo_surface_t* surface) const { cairo_surface_destroy(surface); }
};
struct ContextDestroy {
    void operator()(cairo_t* cr) const { cairo_destroy(cr); }
};
using Surface = std::unique_ptr<cairo_surface_t, SurfaceDestroy>;
using Context = std::unique_ptr<cairo_t, ContextDestroy>;

void Check(cairo_status_t status) {
    if (status == CAIRO_STATUS_NO_MEMORY) {
        throw std::bad_alloc();
    }
    if (status != CAIRO_STATUS_SUCCESS) {
        throw OutputError(std::string("cannot render the drawing: ") +
                          cairo_status_to_string(status));
    }
}

void SetColour(cairo_t* cr, const char* hex) {
    const unsigned long rgb = std::strtoul(hex + 1, nullptr, 16);
    cairo_set_source_rgb(cr, static_cast<double>((rgb >> 16) & 0xff) / 255.0,
                         static_cast<double>((rgb >> 8) & 0xff) / 255.0,
                         static_cast<double>(rgb & 0xff) / 255.0);
}

// cairo's stream callback: appends to a std::string, and fails once Ctrl-C
// was pressed so that writing a large PDF stops.
cairo_status_t Append(void* closure, const unsigned char* data, unsigned int length) {
    if (Interrupted()) {
        return CAIRO_STATUS_WRITE_ERROR;
    }
    try {
        static_cast<std::string*>(closure)->append(reinterpret_cast<const char*>(data), length);
    } catch (const std::bad_alloc&) {
        return CAIRO_STATUS_NO_MEMORY;
    }
    return CAIRO_STATUS_SUCCESS;
}

// The image as a PNG. Encoded by libpng row by row with fast settings (run-
// length deflate, no filtering): a large drawing is mostly background, which
// these compress well and quickly. Stops on Ctrl-C between rows.
class PngEncoder {
public:
    PngEncoder() {
        m_png = png_create_write_struct(PNG_LIBPNG_VER_STRING, this, OnError, OnWarning);
        if (m_png != nullptr) {
            m_info = png_create_info_struct(m_png);
        }
        if (m_info == nullptr) {
            throw std::bad_alloc();
        }
    }
    ~PngEncoder() { png_destroy_write_struct(&m_png, &m_info); }
    PngEncoder(const PngEncoder&) = delete;
    PngEncoder& operator=(const PngEncoder&) = delete;

    // The picture's size and settings; then its rows, in order, band by band.
    void Begin(int width, int height) {
        if (setjmp(png_jmpbuf(m_png))) {
            Fail();
        }
        png_set_write_fn(m_png, this, OnWrite, nullptr);
        png_set_IHDR(m_png, m_info, static_cast<png_uint_32>(width),
                     static_cast<png_uint_32>(height), 8, PNG_COLOR_TYPE_RGB, PNG_INTERLACE_NONE,
                     PNG_COMPRESSION_TYPE_DEFAULT, PNG_FILTER_TYPE_DEFAULT);
        png_set_filter(m_png, PNG_FILTER_TYPE_BASE, PNG_FILTER_NONE);
        png_set_compression_level(m_png, 1);
        png_set_compression_strategy(m_png, Z_RLE);
        png_write_info(m_png, m_info);
        // cairo's RGB24 pixels are 32-bit words 0x00RRGGBB: B, G, R, pad in
        // memory on little-endian machines.
        const unsigned probe = 1;
        if (*reinterpret_cast<const unsigned char*>(&probe) == 1) {
            png_set_bgr(m_png);
            png_set_filler(m_png, 0, PNG_FILLER_AFTER);
        } else {
            png_set_filler(m_png, 0, PNG_FILLER_BEFORE);
        }
    }

    // The next rows of the picture: `rows` rows of an image surface from row `first`.
    void Rows(cairo_surface_t* band, int first, int rows) {
        cairo_surface_flush(band);
        const std::ptrdiff_t stride = cairo_image_surface_get_stride(band);
        const unsigned char* data = cairo_image_surface_get_data(band) + first * stride;
        if (setjmp(png_jmpbuf(m_png))) {
            Fail();
        }
        for (int row = 0; row < rows; ++row) {
            if (row % 64 == 0 && Interrupted()) {
                png_error(m_png, "interrupted");
            }
            png_write_row(m_png, const_cast<unsigned char*>(data + row * stride));
        }
    }

    std::string End() {
        if (setjmp(png_jmpbuf(m_png))) {
            Fail();
        }
        png_write_end(m_png, m_info);
        return std::move(m_out);
    }

private:
    static void OnWrite(png_structp png, png_bytep data, png_size_t length) {
        PngEncoder& self = *static_cast<PngEncoder*>(png_get_io_ptr(png));
        try {
            self.m_out.append(reinterpret_cast<const char*>(data), length);
        } catch (const std::bad_alloc&) {
            self.m_bOutOfMemory = true;
            png_error(png, "out of memory");
        }
    }
    [[noreturn]] static void OnError(png_structp png, png_const_charp message) {
        static_cast<PngEncoder*>(png_get_error_ptr(png))->m_error = message;
        png_longjmp(png, 1);
    }
    static void OnWarning(png_structp, png_const_charp) {}
    [[noreturn]] void Fail() {
        ThrowIfInterrupted();
        if (m_bOutOfMemory) {
            throw std::bad_alloc();
        }
        throw OutputError("cannot encode the PNG image: " + m_error);
    }

    png_structp m_png = nullptr;
    png_infop m_info = nullptr;
    std::string m_out;
    std::string m_error;
    bool m_bOutOfMemory = false;
};

class Painter {
public:
    Painter(const FileGraph& graph, const LayoutResult& result, const Drawing& d, int bands)
        : m_graph(graph), m_d(d),
          m_line(result.options.progress == ProgressMode::Always ||
                     (result.options.progress == ProgressMode::Auto && isatty(STDERR_FILENO) == 1),
                 result.options.progress == ProgressMode::Always ? 0.0 : 1.0, "drawing") {
        const std::size_t items = d.edges.size() + 2 * d.nodes.size();
        m_total = static_cast<int>(std::min<std::size_t>(items * static_cast<std::size_t>(bands),
                                                         std::numeric_limits<int>::max()));
        m_line.Update(0, m_total);
        // How far an item reaches above and below its points: half a line,
        // an arrowhead, a border or a port, and a pixel or two of antialiasing.
        const double edgeReach = PictureStroke(d) + d.arrowSize + 2.0 / d.scale;
        const double boxReach = 4.0 * d.pixel + d.dotRadius + 2.0 / d.scale;
        for (const DrawnEdge& e : d.edges) {
            Extent extent;
            for (const Point& p : e.points) {
                extent.top = std::min(extent.top, p.y - edgeReach);
                extent.bottom = std::max(extent.bottom, p.y + edgeReach);
            }
            m_edgeExtents.push_back(extent);
        }
        for (const DrawnNode& b : d.nodes) {
            m_nodeExtents.push_back({b.y - b.h / 2 - boxReach, b.y + b.h / 2 + boxReach});
        }
    }

    // Paints the drawing onto cr, whose units are pixels of the picture; on a
    // white background unless the surface is white already. Only what reaches
    // the rows from top to bottom (pixels) is drawn.
    void Paint(cairo_t* cr, bool background, double top, double bottom) {
        m_top = m_d.top + top / m_d.scale;
        m_bottom = m_d.top + bottom / m_d.scale;
        cairo_scale(cr, m_d.scale, m_d.scale);
        cairo_translate(cr, -m_d.left, -m_d.top);
        if (background) {
            cairo_set_source_rgb(cr, 1.0, 1.0, 1.0);
            cairo_paint(cr);
        }
        Edges(cr);
        if (m_d.dots) {
            Dots(cr);
        } else {
            Boxes(cr);
            if (m_d.labels) {
                Labels(cr);
            }
        }
        Check(cairo_status(cr));
    }

    void Finish() { m_line.Finish(); }

private:
    struct Extent {
        double top = std::numeric_limits<double>::infinity();
        double bottom = -std::numeric_limits<double>::infinity();
    };

    bool Shown(const Extent& e) const { return e.bottom >= m_top && e.top <= m_bottom; }

    // Counts an item drawn and stops on Ctrl-C; every kBatch items, updates
    // the progress line.
    void Step(cairo_t* cr) {
        ++m_done;
        if (Interrupted()) {
            cairo_new_path(cr);
            throw InterruptedError();
        }
        if (m_done % kBatch == 0) {
            m_line.Update(m_done, m_total);
        }
    }

    void Edges(cairo_t* cr) {
        SetColour(cr, "#5b6470");
        cairo_set_line_width(cr, PictureStroke(m_d));
        cairo_set_line_join(cr, CAIRO_LINE_JOIN_ROUND);
        // Hair-thin lines of an overview: cairo's coarser antialiasing is
        // several times faster and looks the same.
        cairo_set_antialias(cr, m_d.dots ? CAIRO_ANTIALIAS_FAST : CAIRO_ANTIALIAS_DEFAULT);
        const bool arrows = m_d.arrowSize > 0.0 && !m_d.dots;
        m_heads.clear();
        for (std::size_t j = 0; j < m_d.edges.size(); ++j) {
            const DrawnEdge& e = m_d.edges[j];
            if (e.points.size() < 2 || !Shown(m_edgeExtents[j])) {
                Step(cr);
                continue;
            }
            const std::vector<Point>& p = e.points;
            const Point tip = p.back();
            const Point& from = p[p.size() - 2];
            const double len = std::hypot(tip.x - from.x, tip.y - from.y);
            const double ux = len > 0.0 ? (tip.x - from.x) / len : 0.0;
            const double uy = len > 0.0 ? (tip.y - from.y) / len : 0.0;
            cairo_move_to(cr, p[0].x, p[0].y);
            if (e.kind == PathKind::Quadratic && p.size() == 3) {
                // The quadratic curve as the cubic through the same points.
                cairo_curve_to(cr, p[0].x + 2.0 / 3.0 * (p[1].x - p[0].x),
                               p[0].y + 2.0 / 3.0 * (p[1].y - p[0].y),
                               p[2].x + 2.0 / 3.0 * (p[1].x - p[2].x),
                               p[2].y + 2.0 / 3.0 * (p[1].y - p[2].y), p[2].x, p[2].y);
            } else {
                for (std::size_t k = 1; k < p.size(); ++k) {
                    cairo_line_to(cr, p[k].x, p[k].y);
                }
            }
            if (arrows && len > 0.0) {
                m_heads.push_back(tip);
                m_heads.push_back({ux, uy});
            }
            // One edge at a time: a stroke of many crossing edges costs cairo
            // far more than the strokes one by one.
            cairo_stroke(cr);
            Step(cr);
        }
        const double a = m_d.arrowSize;
        for (std::size_t k = 0; k + 1 < m_heads.size(); k += 2) {
            const Point t = m_heads[k], u = m_heads[k + 1];
            cairo_move_to(cr, t.x, t.y);
            cairo_line_to(cr, t.x - u.x * a - u.y * 0.4 * a, t.y - u.y * a + u.x * 0.4 * a);
            cairo_line_to(cr, t.x - u.x * a + u.y * 0.4 * a, t.y - u.y * a - u.x * 0.4 * a);
            cairo_close_path(cr);
        }
        cairo_fill(cr);
        cairo_set_antialias(cr, CAIRO_ANTIALIAS_DEFAULT);
    }

    void BoxPath(cairo_t* cr, const DrawnNode& b) const {
        const double r = std::min({4.0 * m_d.pixel, b.w / 2, b.h / 2});
        const double l = b.x - b.w / 2, t = b.y - b.h / 2, rr = l + b.w, u = t + b.h;
        if (r * m_d.scale < 1.0) {
            cairo_rectangle(cr, l, t, b.w, b.h);
            return;
        }
        constexpr double kQuarter = 1.5707963267948966;
        cairo_new_sub_path(cr);
        cairo_arc(cr, rr - r, t + r, r, -kQuarter, 0.0);
        cairo_arc(cr, rr - r, u - r, r, 0.0, kQuarter);
        cairo_arc(cr, l + r, u - r, r, kQuarter, 2 * kQuarter);
        cairo_arc(cr, l + r, t + r, r, 2 * kQuarter, 3 * kQuarter);
        cairo_close_path(cr);
    }

    void Boxes(cairo_t* cr) {
        // One fill per palette colour, then the borders and the lines between
        // a record's fields; fixed nodes thicker.
        for (int f = 0; f < 8; ++f) {
            for (std::size_t i = 0; i < m_d.nodes.size(); ++i) {
                if (m_d.nodes[i].fill == f) {
                    if (Shown(m_nodeExtents[i])) {
                        BoxPath(cr, m_d.nodes[i]);
                    }
                    Step(cr);
                }
            }
            SetColour(cr, kDrawFills[f]);
            cairo_fill(cr);
        }
        SetColour(cr, "#34495e");
        for (bool fixed : {false, true}) {
            for (std::size_t i = 0; i < m_d.nodes.size(); ++i) {
                if (!Shown(m_nodeExtents[i])) {
                    continue;
                }
                if (m_graph.nodes[i].fixed == fixed) {
                    BoxPath(cr, m_d.nodes[i]);
                }
                {
                    if (!fixed) {
                        const std::vector<Point> dividers = FieldDividers(m_d.nodes[i]);
                        for (std::size_t k = 0; k + 1 < dividers.size(); k += 2) {
                            cairo_move_to(cr, dividers[k].x, dividers[k].y);
                            cairo_line_to(cr, dividers[k + 1].x, dividers[k + 1].y);
                        }
                    }
                }
            }
            cairo_set_line_width(cr, (fixed ? 2.6 : 1.2) * m_d.pixel);
            cairo_stroke(cr);
        }
        for (std::size_t i = 0; i < m_d.nodes.size(); ++i) {
            if (Shown(m_nodeExtents[i])) {
                for (const Point& p : m_d.nodes[i].ports) {
                    cairo_new_sub_path(cr);
                    cairo_arc(cr, p.x, p.y, 2.5 * m_d.pixel, 0.0, 6.283185307179586);
                }
            }
        }
        cairo_fill(cr);
    }

    void Dots(cairo_t* cr) {
        SetColour(cr, "#34495e");
        for (std::size_t i = 0; i < m_d.nodes.size(); ++i) {
            const DrawnNode& b = m_d.nodes[i];
            if (Shown(m_nodeExtents[i])) {
                cairo_new_sub_path(cr);
                cairo_arc(cr, b.x, b.y, m_d.dotRadius, 0.0, 6.283185307179586);
            }
            Step(cr);
        }
        cairo_fill(cr);
    }

    // Lines of text stacked about (x, y), each centred on x.
    void Text(cairo_t* cr, double x, double y, const std::vector<std::string>& lines) const {
        // The baseline that centres a line of text on y, as the SVG's 0.35em.
        const double shift = 0.35 * m_d.fontSize;
        const double first = y - m_d.lineHeight * (static_cast<double>(lines.size()) - 1) / 2;
        for (std::size_t k = 0; k < lines.size(); ++k) {
            cairo_text_extents_t ext;
            cairo_text_extents(cr, lines[k].c_str(), &ext);
            cairo_move_to(cr, x - ext.x_advance / 2,
                          first + m_d.lineHeight * static_cast<double>(k) + shift);
            cairo_show_text(cr, lines[k].c_str());
        }
    }

    void Labels(cairo_t* cr) {
        SetColour(cr, "#1d2630");
        cairo_select_font_face(cr, "sans-serif", CAIRO_FONT_SLANT_NORMAL, CAIRO_FONT_WEIGHT_NORMAL);
        cairo_set_font_size(cr, m_d.fontSize);
        for (std::size_t i = 0; i < m_d.nodes.size(); ++i) {
            const DrawnNode& b = m_d.nodes[i];
            if (Shown(m_nodeExtents[i])) {
                Text(cr, b.x, b.y, b.lines);
                for (const DrawnCell& c : b.cells) {
                    Text(cr, c.x, c.y, c.lines);
                }
            }
            Step(cr);
        }
    }

    const FileGraph& m_graph;
    const Drawing& m_d;
    ProgressLine m_line;
    std::vector<Extent> m_edgeExtents, m_nodeExtents; // layout units
    double m_top = 0.0, m_bottom = 0.0;               // the rows painted, layout units
    std::vector<Point> m_heads;                       // arrowhead tips and directions, in pairs
    int m_done = 0;
    int m_total = 0;
};

// The picture's size in pixels, at least one a side.
std::pair<int, int> PixelSize(const Drawing& d) {
    return {std::max(1, static_cast<int>(std::ceil(d.width * d.scale))),
            std::max(1, static_cast<int>(std::ceil(d.height * d.scale)))};
}

} // namespace

std::string RenderPng(const FileGraph& graph, const LayoutResult& result, const Drawing& d) {
    const auto [width, height] = PixelSize(d);
    // Painted and encoded a band of rows at a time, so that memory stays a
    // band's worth however large the picture. Each band is painted with a few
    // rows more on either side, which are not kept: cairo's antialiasing near
    // a surface's edge differs from that inside, and this way the seams do not
    // show.
    constexpr int kBandRows = 512;
    constexpr int kOverlap = 16;
    const int bands = (height + kBandRows - 1) / kBandRows;
    const int surfaceRows = std::min(kBandRows, height) + 2 * kOverlap;
    Surface band(cairo_image_surface_create(CAIRO_FORMAT_RGB24, width, surfaceRows));
    Check(cairo_surface_status(band.get()));
    PngEncoder png;
    png.Begin(width, height);
    Painter painter(graph, result, d, bands);
    unsigned char* data = cairo_image_surface_get_data(band.get());
    const std::size_t stride = static_cast<std::size_t>(cairo_image_surface_get_stride(band.get()));
    for (int top = 0; top < height; top += kBandRows) {
        const int rows = std::min(kBandRows, height - top);
        cairo_surface_flush(band.get());
        std::memset(data, 0xff, static_cast<std::size_t>(surfaceRows) * stride);
        cairo_surface_mark_dirty(band.get());
        {
            Context cr(cairo_create(band.get()));
            Check(cairo_status(cr.get()));
            cairo_translate(cr.get(), 0.0, static_cast<double>(kOverlap - top));
            painter.Paint(cr.get(), false, static_cast<double>(top - kOverlap),
                          static_cast<double>(top + rows + kOverlap));
        }
        png.Rows(band.get(), kOverlap, rows);
    }
    painter.Finish();
    return png.End();
}

std::string RenderPdf(const FileGraph& graph, const LayoutResult& result, const Drawing& d) {
    const auto [width, height] = PixelSize(d);
    std::string pdf;
    Surface surface(cairo_pdf_surface_create_for_stream(Append, &pdf, width * kPointsPerPixel,
                                                        height * kPointsPerPixel));
    Check(cairo_surface_status(surface.get()));
    {
        Context cr(cairo_create(surface.get()));
        Check(cairo_status(cr.get()));
        cairo_scale(cr.get(), kPointsPerPixel, kPointsPerPixel);
        Painter painter(graph, result, d, 1);
        painter.Paint(cr.get(), true, 0.0, d.height * d.scale);
        painter.Finish();
    }
    cairo_surface_finish(surface.get());
    ThrowIfInterrupted();
    Check(cairo_surface_status(surface.get()));
    return pdf;
}

} // namespace netloom_cli

// Fontconfig, which cairo reaches for the labels, keeps its caches until the
// process ends; LeakSanitizer would report them as leaks.
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
