// Graphics that are drawn from numbers, sharp at every size.
#pragma once

#include "AM_Colour.h"
#include "AM_Graphic.h"
#include "AM_ShapeOutline.h"
#include "AM_ViewCompressedImageData.h"

#include <memory>

// Lengths of round shapes (sectors, triangles, stars, rings of ticks) are parts of half the smaller
// side of what they are drawn in; those of rectangles are view units, which grow with the rectangle
// if the graphic is scalable. What a value moves goes from the minimum at 0 to the maximum at 1.
//
// Keeps what was drawn last as images without their empty pixels, and draws anew when the size, the
// scale, a property, a colour or the value that it shows is another.
class AM_Shape : public AM_Graphic {
public:
    static constexpr i32 k_numColours = 16;
    static constexpr i32 k_maxImageSide = 4096;     // device pixels; larger ones are not kept
    static constexpr i64 k_maxKeptPixels = 4 << 20; // of all images but the last
    static constexpr size_t k_maxKeptImages = 16;

    AM_Shape();
    ~AM_Shape() override;

    void drawInRect(AM_Context* context, const AM_Rect& rect, f32 alpha, f32 value) override;
    bool hits(const AM_Rect& rect, AM_Point at, f32 value) override;
    void setProperty(const char* property, i32 id, const char* value) override;
    // Those of the shape, then "colour" id 0 to 15: names of colours.
    void getProperties(AM_PropertyTable* table) override;

protected:
    // What a shape draws on.
    struct Canvas {
        AM_Context* context;
        AM_Rect rect;  // view units
        f32 value;     // 0 to 1
        f32 unit;      // view units of one unit of the shape's lengths
        f32 pixel;     // view units of one device pixel
        f32 tolerance; // of curves, in view units
        bool isImage;  // its pixels are those of an empty image

        AM_Point centre() const { return {rect.left + rect.width / 2, rect.top + rect.height / 2}; }
        // Half the smaller side: lengths of round shapes are parts of it.
        f32 radius() const { return std::min(rect.width, rect.height) / 2; }
        // A length as whole device pixels, at least one unless it is 0.
        f32 crisp(f32 length) const;
        void fill(const AM_Path& path, const AM_Colour& colour) const;
        void fill(AM_Outline outline, const AM_Colour& colour) const;
    };
    virtual void paint(const Canvas& canvas) = 0;
    // The rows of the shape; all are floats.
    virtual void addProperties(AM_PropertyTable* table) = 0;
    // True if the picture shows the value.
    virtual bool showsValue() const { return true; }
    // True if the edges of the rectangle are to be sharp.
    virtual bool isAligned() const { return false; }
    // How many of the colours the shape uses, at most k_maxUsedColours; the others are kept for the
    // script's sake.
    static constexpr i32 k_maxUsedColours = 4;
    virtual i32 getNumUsedColours() const = 0;
    // The name, with "%d" for the id, of the colour of a slot that has none; empty for none.
    virtual const char* getDefaultColourName() { return ""; }
    // The colour of a slot that has none, or one that is not there.
    virtual u32 getDefaultColour(i32 id) const = 0;

    bool hasColour(i32 id) const { return colourNames[id][0] != '\0'; }
    // While it paints, of a colour that is used.
    const AM_Colour& getColour(i32 id) const { return *colours[id]; }
    static AM_Property row(const char* rowName, f32* value, f32 minimum, f32 maximum, f32 standard);

private:
    struct Image;
    struct ImageKey;
    void findColours();
    f32 getUnit(const AM_Rect& rect) const;
    u64 getLook();
    const Image* getImage(const AM_Rect& deviceRect, f32 scale, f32 unit, f32 value);
    void render(const AM_Rect& deviceRect, f32 value, Image* image);
    void dropImages();

    char colourNames[k_numColours][k_maxName] = {};
    const AM_Colour* colours[k_maxUsedColours] = {};
    AM_Colour defaults[k_maxUsedColours];
    AM_PropertyTable rows;                      // kept from paint to paint
    std::vector<std::unique_ptr<Image>> images; // the last used at the end
    std::unique_ptr<AM_Context> scratch;
};
