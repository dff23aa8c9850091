// The scene by Cairo's image backend, as one writes it who wants it fast: surfaces, fonts and
// patterns are made once.
#pragma once

#include "AM_TextFonts.h"
#include "Scene.h"

#include <cairo-ft.h>
#include <cairo.h>

#include <map>
#include <numbers>
#include <stdexcept>

class CairoScene {
public:
    explicit CairoScene(f32 scale_)
        : scale(scale_),
          surface(cairo_image_surface_create(CAIRO_FORMAT_RGB24,
                                             static_cast<i32>(scene::k_width * scale),
                                             static_cast<i32>(scene::k_height * scale))),
          cairo(cairo_create(surface.get())) {
        cairo_scale(cairo.get(), scale, scale);
        back = makeImage(scene::background().view(), CAIRO_FORMAT_RGB24);
        for (i32 i = 0; i < scene::k_knobFrames; ++i)
            frames.push_back(makeImage(scene::knobImage(i).view(), CAIRO_FORMAT_ARGB32));
        paneImage = makeImage(scene::pane(scale)->getPixels(), CAIRO_FORMAT_ARGB32);
        star = scene::star();
        makeFonts();
        makePatterns();
    }
    CairoScene(const CairoScene&) = delete;
    CairoScene& operator=(const CairoScene&) = delete;
    ~CairoScene() {
        cairo.reset();
        fonts.clear();
        fontFace.reset();
        FT_Done_Face(face);
        FT_Done_FreeType(library);
    }

    void background() { drawImage(back, 0, 0); }
    void knobs() {
        for (i32 i = 0; i < scene::k_knobs; ++i)
            drawImage(frames[static_cast<size_t>(scene::knobFrame(i, step))], scene::knob(i).left,
                      scene::knob(i).top);
        ++step;
    }
    void texts() {
        for (i32 i = 0; i < scene::k_texts; ++i) {
            const scene::Text text = scene::text(i);
            const Font& font = fonts.at(text.size);
            setColour(text.colour);
            cairo_set_scaled_font(cairo.get(), font.scaled.get());
            const f64 line = (text.rect.top + font.ascent) * scale;
            cairo_move_to(cairo.get(), text.rect.left, std::floor(line + 0.5) / scale);
            cairo_show_text(cairo.get(), text.text);
        }
        cairo_new_path(cairo.get()); // forgets where the last text ended
    }
    void shapes() {
        for (size_t i = 0; i < std::size(scene::k_boxes); ++i) {
            addBox(scene::k_boxes[i]);
            cairo_set_source(cairo.get(), patterns[i].get());
            cairo_fill(cairo.get());
        }
        for (const scene::Sector& sector : scene::k_sectors) {
            setColour(sector.colour);
            const f64 start = radians(sector.start - 90), end = radians(sector.end - 90);
            cairo_arc(cairo.get(), sector.centre.x, sector.centre.y, sector.outer, start, end);
            cairo_arc_negative(cairo.get(), sector.centre.x, sector.centre.y, sector.inner, end,
                               start);
            cairo_close_path(cairo.get());
            cairo_fill(cairo.get());
        }
        setColour(scene::k_starColour);
        for (const AM_Point& point : star)
            cairo_line_to(cairo.get(), point.x, point.y);
        cairo_close_path(cairo.get());
        cairo_fill(cairo.get());
    }
    void lines() {
        for (const scene::Line& line : scene::k_lines) {
            setColour(line.colour);
            cairo_set_line_width(cairo.get(), line.width);
            cairo_move_to(cairo.get(), line.from.x, line.from.y);
            cairo_line_to(cairo.get(), line.to.x, line.to.y);
            cairo_stroke(cairo.get());
        }
    }
    void wave() {
        setColour(scene::k_starColour);
        cairo_set_line_width(cairo.get(), 2);
        cairo_set_line_join(cairo.get(), CAIRO_LINE_JOIN_ROUND);
        for (const AM_Point& point : wavePoints)
            cairo_line_to(cairo.get(), point.x, point.y);
        cairo_stroke(cairo.get());
    }
    void pane() {
        cairo_save(cairo.get());
        cairo_identity_matrix(cairo.get());
        drawImage(paneImage, scene::k_pane.left * scale, scene::k_pane.top * scale);
        cairo_restore(cairo.get());
    }
    void repaint() {
        background();
        shapes();
        knobs();
        texts();
        pane();
        cairo_surface_flush(surface.get());
    }

    // The mean difference of a channel, in 255ths, from pixels of the same size.
    f64 differenceFrom(const AM_PixelView& other) {
        cairo_surface_flush(surface.get());
        const u8* const data = cairo_image_surface_get_data(surface.get());
        const i32 stride = cairo_image_surface_get_stride(surface.get());
        i64 sum = 0;
        for (i32 y = 0; y < other.height; ++y)
            for (i32 x = 0; x < other.width; ++x) {
                const u8 *a = data + static_cast<i64>(y) * stride + 4 * x,
                         *b = other.row(y) + 4 * x;
                for (i32 c = 0; c < 3; ++c)
                    sum += std::abs(a[2 - c] - b[c]);
            }
        return static_cast<f64>(sum) / (3.0 * other.width * other.height);
    }

private:
    template <class T, void (*destroy)(T*)>
    struct Destroy {
        void operator()(T* object) const { destroy(object); }
    };
    template <class T, void (*destroy)(T*)>
    using Owned = std::unique_ptr<T, Destroy<T, destroy>>;
    using Surface = Owned<cairo_surface_t, cairo_surface_destroy>;
    using Pattern = Owned<cairo_pattern_t, cairo_pattern_destroy>;
    struct Font {
        Owned<cairo_scaled_font_t, cairo_scaled_font_destroy> scaled;
        f32 ascent; // as ours, so that baselines are at the same place
    };

    static f64 radians(f64 degrees) { return degrees * std::numbers::pi / 180; }

    // Premultiplied words, as Cairo has them.
    static Surface makeImage(const AM_PixelView& view, cairo_format_t format) {
        Surface image(cairo_image_surface_create(format, view.width, view.height));
        u8* const data = cairo_image_surface_get_data(image.get());
        const i32 stride = cairo_image_surface_get_stride(image.get());
        for (i32 y = 0; y < view.height; ++y)
            for (i32 x = 0; x < view.width; ++x) {
                const u8* const from = view.row(y) + 4 * x;
                u8* const to = data + static_cast<i64>(y) * stride + 4 * x;
                for (i32 c = 0; c < 3; ++c)
                    to[2 - c] = static_cast<u8>((from[c] * from[3] + 127) / 255);
                to[3] = from[3];
            }
        cairo_surface_mark_dirty(image.get());
        return image;
    }
    void makeFonts() {
        const std::string file = AM_TextFonts::find("", "Vera");
        if (FT_Init_FreeType(&library) != 0 || FT_New_Face(library, file.c_str(), 0, &face) != 0)
            throw std::runtime_error("There is no font");
        fontFace.reset(cairo_ft_font_face_create_for_ft_face(face, 0));
        Owned<cairo_font_options_t, cairo_font_options_destroy> options(
            cairo_font_options_create());
        cairo_font_options_set_antialias(options.get(), CAIRO_ANTIALIAS_GRAY);
        cairo_font_options_set_hint_metrics(options.get(), CAIRO_HINT_METRICS_OFF);
        AM_AGG_Context ours(1, 1, scale, true);
        cairo_matrix_t toDevice;
        cairo_matrix_init_scale(&toDevice, scale, scale);
        for (i32 i = 0; i < scene::k_texts; ++i) {
            const f32 size = scene::text(i).size;
            cairo_matrix_t toUser;
            cairo_matrix_init_scale(&toUser, size, size);
            Font& font = fonts[size];
            font.scaled.reset(
                cairo_scaled_font_create(fontFace.get(), &toUser, &toDevice, options.get()));
            ours.setFontSize(size);
            font.ascent = ours.getFontMetric().ascent;
        }
    }
    void makePatterns() {
        const auto channel = [](u32 rgba, i32 shift) { return (rgba >> shift & 255) / 255.0; };
        for (const scene::Box& box : scene::k_boxes) {
            if (box.top == box.bottom) {
                patterns.emplace_back(
                    cairo_pattern_create_rgba(channel(box.top, 24), channel(box.top, 16),
                                              channel(box.top, 8), channel(box.top, 0)));
                continue;
            }
            patterns.emplace_back(
                cairo_pattern_create_linear(0, box.rect.top, 0, box.rect.bottom()));
            for (const auto& [at, rgba] : {std::pair{0.0, box.top}, {1.0, box.bottom}})
                cairo_pattern_add_color_stop_rgba(patterns.back().get(), at, channel(rgba, 24),
                                                  channel(rgba, 16), channel(rgba, 8),
                                                  channel(rgba, 0));
        }
    }
    void setColour(u32 rgba) {
        cairo_set_source_rgba(cairo.get(), (rgba >> 24) / 255.0, (rgba >> 16 & 255) / 255.0,
                              (rgba >> 8 & 255) / 255.0, (rgba & 255) / 255.0);
    }
    void drawImage(const Surface& image, f64 x, f64 y) {
        cairo_set_source_surface(cairo.get(), image.get(), x, y);
        cairo_pattern_set_filter(cairo_get_source(cairo.get()), CAIRO_FILTER_BILINEAR);
        cairo_paint(cairo.get());
    }
    void addBox(const scene::Box& box) {
        const AM_Rect& rect = box.rect;
        const f64 r = box.radius;
        const auto corner = [&](f64 x, f64 y, f64 start) {
            cairo_arc(cairo.get(), x, y, r, radians(start), radians(start + 90));
        };
        corner(rect.right() - r, rect.top + r, -90);
        corner(rect.right() - r, rect.bottom() - r, 0);
        corner(rect.left + r, rect.bottom() - r, 90);
        corner(rect.left + r, rect.top + r, 180);
        cairo_close_path(cairo.get());
    }

    f32 scale;
    Surface surface;
    Owned<cairo_t, cairo_destroy> cairo;
    Surface back, paneImage;
    std::vector<Surface> frames;
    std::vector<Pattern> patterns;
    std::vector<AM_Point> star;
    std::vector<AM_Point> wavePoints = scene::wave();
    FT_Library library = nullptr;
    FT_Face face = nullptr;
    Owned<cairo_font_face_t, cairo_font_face_destroy> fontFace;
    std::map<f32, Font> fonts;
    i32 step = 0;
};
