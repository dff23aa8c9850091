// The drawing context: Anti-Grain's rasteriser and FreeType's glyphs on a buffer of pixels.
#pragma once

#include "AM_Colour.h"
#include "AM_Context.h"
#include "AM_Log.h"
#include "AM_ScanlineBlend.h"
#include "AM_ScanlineFiller.h"

#include <memory>
#include <string>

struct AM_TextStyle;

class AM_AGG_Context final : public AM_Context {
public:
    static constexpr i32 k_maxSide = 8192; // pixels
    static constexpr i32 k_maxClips = 1024;

    // `onScreen`: the buffer begins opaque black, else transparent.
    AM_AGG_Context(f32 width, f32 height, f32 scale, bool onScreen);
    ~AM_AGG_Context() override;
    AM_AGG_Context(const AM_AGG_Context&) = delete;
    AM_AGG_Context& operator=(const AM_AGG_Context&) = delete;

    void beginDraw() override;
    void setSize(f32 width, f32 height) override;
    i32 getType() override { return onScreen ? 0 : 1; }
    f32 getWidth() override { return width; }
    f32 getHeight() override { return height; }
    void drawOffscreen(AM_Context* source, const AM_Rect& rect, f32 alpha) override;

    void fillPath(const AM_Path& path, const AM_Colour& paint) override;
    void fillPathGradient(const AM_Path& path, const AM_Colour& gradient) override;
    void setPaint(const f32* rgba) override;
    void setRGBAF(f32 r, f32 g, f32 b, f32 a) override;
    void setRGBA(u32 rgba) override;
    void setColour(const AM_Colour* colour) override;
    void resetColour() override { paint = &plain; }
    const AM_Colour* getColour() override { return paint; }
    AM_Rgba getPlainColour() override { return plain.getRgba(); }
    f32 getLineWidth() override { return lineWidth; }
    AM_Path& getPath() override;

    void moveTo(AM_Point to) override { pen = to; }
    void lineTo(AM_Point to) override;
    void fillPolygon(const AM_Point* points, i32 count) override;
    void fillPolygonGradient(const AM_Point* points, i32 count) override;
    void drawLine(AM_Point from, AM_Point to) override;
    void strokeLines(const AM_Point* points, i32 count, f32 width) override;
    void strokeRect(const AM_Rect& rect, f32 width) override;
    void fillRect(const AM_Rect& rect) override;
    void fillArc(AM_Point centre, f32 inner, f32 outer, f32 start, f32 end) override;
    void strokeCircle(AM_Point centre, f32 radius, f32 width) override;

    void setFont(AM_Font* font) override;
    void setFontSize(f32 size) override;
    void setLineWidth(f32 width) override;
    f32 getTextWidth(const char* text) override;
    const char* ellipsise(const char* text, f32 width) override;
    void setAntiAlias(bool on) override { smoothText = on; }
    bool getAntiAlias() override { return smoothText; }
    void drawText(const char* text, const AM_Rect& rect, i32 hAlign, i32 vAlign) override;
    FontMetric getFontMetric() override;
    f32 fitFontSize(const char* text, const AM_Rect& rect, f32 largest) override;

    void setGlobalClip(const AM_Rect& rect) override;
    AM_Rect getGlobalClip() override;
    void pushClip(const AM_Rect& rect) override;
    void popClip() override;
    f32 getScale() override { return scale; }
    void setOrigin(AM_Point offset) override;
    AM_Point getOrigin() override { return origin; }
    void setBlit(AM_IBlit* blit) override;
    void flushToWindow(const AM_Rect& rect) override;
    void setScale(f32 scale, f32 width, f32 height) override;
    void setGradientAxis(const AM_Point* from, const AM_Point* to) override;

    void multiplyAlpha(f32 alpha) override;
    void clear(u32 rgba) override;
    void blendFrom(AM_Context* source, f32 alpha, i32 mode) override;
    void blendFromAdd(AM_Context* source, f32 alpha) override;
    void combine(AM_Context* source) override;
    void clearRect(const AM_Rect& rect) override;
    void fade(f32 amount) override;
    void blurX(f32 strength) override;
    void blurY(f32 strength) override;
    void gaussBlur(f32 radius) override;
    void noise(f32 amount) override;
    void brightnessContrast(f32 brightness, f32 contrast) override;
    void gammaCorrect(f32 gamma) override;
    void saturate(f32 hue, f32 saturation, f32 value) override;
    void tint(const AM_Rgba& colour, f32 amount, i32 mode) override;
    void mask(AM_Context* source) override;
    AM_PixelView getPixels() override { return pixels; }
    AM_PixelView getPixels(const AM_Rect& rect) override;

    void setResampling(AM_Resampling resampling) override;
    void drawGraphic(AM_Graphic* graphic, const AM_Rect& rect, f32 value, f32 alpha) override;
    void drawImage(const AM_PixelView& image, const AM_ImagePlacement& placement) override;

private:
    struct Tools; // rasteriser, filler and resampler with their work buffers

    void makeBuffer();
    void freeBuffer();
    void setClip(const AM_Rect& rootRect);
    AM_PixelRect toPixels(const AM_Rect& rootRect) const;
    bool isClippedAway(const AM_Rect& rect) const;
    AM_DevicePoint toDevice(AM_Point point) const;
    AM_Rect toDevice(const AM_Rect& rect) const;
    AM_Pixel getPixelColour() const;

    void beginShape();
    // The shape of a polygon to fill with the paint; false if there is neither.
    bool beginPolygon(const AM_Point* points, i32 count);
    void addPoint(AM_DevicePoint point);
    void endPolygon();
    void addPoints(const AM_Point* points, i32 count);
    void addRect(f64 left, f64 top, f64 right, f64 bottom);
    void addArc(AM_DevicePoint centre, f64 radius, f64 start, f64 end);
    void addRing(AM_DevicePoint centre, f64 inner, f64 outer);
    bool shapeIsOutside() const;
    void fillFlat(const AM_Rgba& colour);
    void fillGradient(const AM_Colour& gradient);
    void fillShape();

    // False without a font.
    bool getStyle(AM_TextStyle* style);

    bool onScreen;
    f32 width = 0;
    f32 height = 0;
    f32 scale = 1;
    AM_Point origin;
    AM_PixelView pixels;
    u8* buffer = nullptr; // null if the pixels are those of the blit's map
    AM_IBlit* blit = nullptr;
    AM_Rect clip; // view units after the origin's offset
    AM_PixelRect pixelClip;
    std::vector<AM_Rect> clips;
    i32 clipsTooMany = 0;

    AM_Colour plain{"", 0xff};
    const AM_Colour* paint = &plain;
    f32 lineWidth = 1;
    AM_Point pen;
    AM_Path path;
    bool hasAxis = false;
    AM_Point axisFrom;
    AM_Point axisTo;

    std::string fontFile;
    bool fontIsFound = false;
    f32 fontSize = 12;
    bool smoothText = true;
    char shortened[256] = "";
    AM_Resampling resampling = k_bilinear;
    std::unique_ptr<Tools> tools;

    AM_Once saidNoFont, saidNoGlyph, saidTooBig, saidBridges, saidUneven, saidStops;
};
