// The canvas of the editor: controls and graphics draw through it only.
#pragma once

#include "AM_Geometry.h"
#include "AM_PixelView.h"
#include "AM_Types.h"

#include <vector>

class AM_Colour;
class AM_Font;
class AM_Graphic;
struct AM_Rgba;

enum AM_TextAlign : i32 { k_alignStart = 0, k_alignCentre = 1, k_alignEnd = 2 };

// The labels are in AM_blendModeLabels; the first means the control's other setting, and is
// "normal" where there is none.
enum AM_BlendMode : i32 {
    k_blendSelected = 0,
    k_blendNormal,
    k_blendMultiply,
    k_blendScreen,
    k_blendOverlay,
    k_blendDarken,
    k_blendLighten,
    k_blendColourDodge,
    k_blendColourBurn,
    k_blendDifference,
    k_blendColour,
    k_numBlendModes
};
extern const char AM_blendModeLabels[k_numBlendModes][32];

// The labels are in AM_resamplingLabels.
enum AM_Resampling : i32 {
    k_nearestNeighbour = 0,
    k_bilinear,
    k_cubic,
    k_catrom,
    k_mitchell,
    k_cubic2Pass,
    k_catrom2Pass,
    k_mitchell2Pass,
    k_numResamplings
};
extern const char AM_resamplingLabels[k_numResamplings][32];

// Takes finished pixels to a window, or wherever they are shown. The editor's thread.
class AM_IBlit {
public:
    virtual ~AM_IBlit() = default;
    // A pixel map of its own for the context to draw into, which replaces the one before; empty if
    // any pixels will do. The context fills it anew.
    virtual AM_PixelView makeMap(i32 /*width*/, i32 /*height*/) { return {}; }
    // The first pixel of that map; null without one.
    virtual const u8* getMapPixels() { return nullptr; }
    // Shows the part of `pixels` at left, top; it lies inside of them. In device pixels.
    virtual void blit(const AM_PixelView& pixels, i32 left, i32 top, i32 width, i32 height) = 0;
};

// An outline: closed polygons, in view units. What lies inside of an even number of them is a hole.
struct AM_Path {
    std::vector<std::vector<AM_Point>> polygons;
};

// Where and how an image is drawn.
struct AM_ImagePlacement {
    AM_Rect target; // view units
    f32 alpha = 1;  // 0 to 1
    f32 angle = 0;  // degrees, clockwise, around the target's centre
    AM_BlendMode blend = k_blendNormal;
    const AM_PixelView* mask = nullptr; // its alpha counts, stretched over the target
};

// A point is moved by the origin's offset, then multiplied with the scale; sizes with the scale
// alone. One thread draws at a time. Arguments that are not finite draw nothing; neither does a
// context without a buffer. Nothing fails but by a line in the log.
class AM_Context {
public:
    virtual ~AM_Context() = default;

    // --- frame and size ----------------------------------------------------------------
    // Sets the clip to the whole buffer, which keeps its pixels.
    virtual void beginDraw() = 0;
    virtual void reserved2() {}
    // View units; the buffer has them times the scale, rounded up, at most 8192 a side.
    virtual void setSize(f32 width, f32 height) = 0;
    virtual void reserved4() {}
    virtual i32 getType() = 0; // 0 on the screen, 1 offscreen
    virtual f32 getWidth() = 0;
    virtual f32 getHeight() = 0;
    // Composites another context here, whole, pixel on pixel, its top left at the rectangle's. That
    // is scaled with the source's scale, so that a layer of another scale keeps its own layout; the
    // origin's offset with this one's. Never itself.
    virtual void drawOffscreen(AM_Context* source, const AM_Rect& rect, f32 alpha) = 0;

    // --- paint -------------------------------------------------------------------------
    // A flat colour or a gradient.
    virtual void fillPath(const AM_Path& path, const AM_Colour& paint) = 0;
    // The same with the filler for gradients, whatever the colour. A gradient runs from the top of
    // the outline to its bottom, or as setGradientAxis says.
    virtual void fillPathGradient(const AM_Path& path, const AM_Colour& gradient) = 0;
    virtual void setPaint(const f32* rgba) = 0;
    virtual void setRGBAF(f32 r, f32 g, f32 b, f32 a) = 0;
    virtual void setRGBA(u32 rgba) = 0;
    // A gradient becomes the paint of areas; lines and text have the value of its first stop. It
    // has to outlive its use. With null there is no paint: areas are not filled, and polygons say
    // 'PaintColour is NULL' in the log.
    virtual void setColour(const AM_Colour* colour) = 0;
    // Back to the plain value as the paint.
    virtual void resetColour() = 0;
    // The paint: null after setColour(nullptr) only.
    virtual const AM_Colour* getColour() = 0;
    virtual AM_Rgba getPlainColour() = 0;
    virtual f32 getLineWidth() = 0;
    // A path for the caller to fill, emptied by this.
    virtual AM_Path& getPath() = 0;
    virtual void reserved22() {}
    virtual void reserved23() {}

    // --- lines and areas ---------------------------------------------------------------
    // A stroke lies half on each side of its line: one of width 1 is sharp at scale 1 if the line
    // runs through the middle of pixels, so 0.5 beside whole coordinates. Ends are cut square.
    // A pen that lineTo draws with, in the line width, and takes along.
    virtual void moveTo(AM_Point to) = 0;
    virtual void lineTo(AM_Point to) = 0;
    // With the paint. Less than three points are nothing.
    virtual void fillPolygon(const AM_Point* points, i32 count) = 0;
    virtual void fillPolygonGradient(const AM_Point* points, i32 count) = 0;
    // In the line width, which is 1 until it is set.
    virtual void drawLine(AM_Point from, AM_Point to) = 0;
    // One stroke through all points with round joints, so that a translucent one is even.
    virtual void strokeLines(const AM_Point* points, i32 count, f32 width) = 0;
    // The line's middle is on the rectangle.
    virtual void strokeRect(const AM_Rect& rect, f32 width) = 0;
    virtual void fillRect(const AM_Rect& rect) = 0;
    virtual void reserved32() {}
    // From `start` clockwise to `end`. 359.6 degrees or more are a full ring, with inner radius 0 a
    // disc; less has closing radial edges.
    virtual void fillArc(AM_Point centre, f32 inner, f32 outer, f32 start, f32 end) = 0;
    // In the plain colour, as all strokes.
    virtual void strokeCircle(AM_Point centre, f32 radius, f32 width) = 0;

    // --- text --------------------------------------------------------------------------
    // Takes the font's size too. It has to outlive its use; null is the standard font. Text is
    // UTF-8.
    virtual void setFont(AM_Font* font) = 0;
    // The em's height in view units, held at 1 to 1000.
    virtual void setFontSize(f32 size) = 0;
    virtual void setLineWidth(f32 width) = 0;
    // How far the pen goes, in view units.
    virtual f32 getTextWidth(const char* text) = 0;
    // `text` itself if it fits the width, else its beginning and "..." in a buffer of 256 bytes,
    // good until the next call.
    virtual const char* ellipsise(const char* text, f32 width) = 0;
    // On at first: glyphs stand on quarters of a pixel and have smooth edges. Off: on whole pixels,
    // with hard edges.
    virtual void setAntiAlias(bool on) = 0;
    virtual bool getAntiAlias() = 0;
    virtual void drawIfEmpty() {}
    // One line, shortened to the rectangle's width, in the plain colour. Alignments from 0 to 2,
    // see AM_TextAlign. The baseline follows from the font alone and lies on a whole pixel.
    virtual void drawText(const char* text, const AM_Rect& rect, i32 hAlign, i32 vAlign) = 0;
    // Ascent, descent (above 0) and height of a line, in view units.
    struct FontMetric {
        f32 ascent;
        f32 descent;
        f32 height;
    };
    virtual FontMetric getFontMetric() = 0;
    // The largest size from 1 to `largest` at which the text fits the rectangle; sets it.
    virtual f32 fitFontSize(const char* text, const AM_Rect& rect, f32 largest) = 0;

    // --- clip and scale ----------------------------------------------------------------
    // Meets with the whole buffer; moved by the origin's offset, as all that is drawn.
    virtual void setGlobalClip(const AM_Rect& rect) = 0;
    virtual AM_Rect getGlobalClip() = 0;
    // Meets with the clip in force until popClip; beginDraw forgets what was pushed.
    virtual void pushClip(const AM_Rect& rect) = 0;
    virtual void popClip() = 0;
    virtual f32 getScale() = 0;
    virtual void setOrigin(AM_Point offset) = 0;
    virtual AM_Point getOrigin() = 0;
    // Where flushToWindow goes; null for nowhere. It has to outlive its use.
    virtual void setBlit(AM_IBlit* blit) = 0;
    // View units without the origin's offset; whole pixels, rounded outwards.
    virtual void flushToWindow(const AM_Rect& rect) = 0;
    // 0.1 to 8, and the size as setSize.
    virtual void setScale(f32 scale, f32 width, f32 height) = 0;
    // The line along which the gradients of the next fills run; null for top to bottom.
    virtual void setGradientAxis(const AM_Point* from, const AM_Point* to) = 0;

    // --- the whole buffer, as filters use it -------------------------------------------
    virtual void multiplyAlpha(f32 alpha) = 0;
    virtual void clear(u32 rgba) = 0;
    virtual void blendFrom(AM_Context* source, f32 alpha, i32 mode) = 0;
    virtual void blendFromAdd(AM_Context* source, f32 alpha) = 0;
    // Keeps what both cover: the alpha is multiplied with the source's.
    virtual void combine(AM_Context* source) = 0;
    virtual void clearRect(const AM_Rect& rect) = 0;
    virtual void fade(f32 amount) = 0;
    virtual void blurX(f32 strength) = 0;
    virtual void blurY(f32 strength) = 0;
    virtual void gaussBlur(f32 radius) = 0;
    virtual void noise(f32 amount) = 0;
    virtual void brightnessContrast(f32 brightness, f32 contrast) = 0;
    virtual void gammaCorrect(f32 gamma) = 0;
    virtual void saturate(f32 hue, f32 saturation, f32 value) = 0;
    virtual void tint(const AM_Rgba& colour, f32 amount, i32 mode) = 0;
    virtual void mask(AM_Context* source) = 0;

    // The pixels; empty without a buffer.
    virtual AM_PixelView getPixels() = 0;
    // Those of a rectangle, as far as they are there.
    virtual AM_PixelView getPixels(const AM_Rect& rect) = 0;

    // --- images ------------------------------------------------------------------------
    virtual void setResampling(AM_Resampling resampling) = 0;
    // 'Graphic is NULL' in the log for null.
    virtual void drawGraphic(AM_Graphic* graphic, const AM_Rect& rect, f32 value, f32 alpha) = 0;
    // Pixels that are drawn at their own size (in device pixels) where the target has it, else
    // resampled. Nothing is drawn of the context's own pixels.
    virtual void drawImage(const AM_PixelView& image, const AM_ImagePlacement& placement) = 0;
};
