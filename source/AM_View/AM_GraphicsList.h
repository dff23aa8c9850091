// The graphics of an editor.
#pragma once

#include "AM_Graphic.h"
#include "AM_PngReader.h"

#include <string>

class AM_ColoursList;
class AM_ImageLoader;
class AM_PngGraphic;

// The root of the tree of graphics. The thread of the editor.
class AM_GraphicsList : public AM_GuiObject {
public:
    static constexpr i32 k_maxGraphics = 4096;
    static constexpr i32 k_maxScanDepth = 16;

    // Owns `graphic` from now on. One without a name gets the default of its type, "Circ #%d" and
    // the like, with the lowest number that is free. One too many is deleted, which is logged;
    // false then.
    bool addGraphic(AM_Graphic* graphic);
    // True with k_maxGraphics.
    bool isFull() const { return getNumChildren() >= static_cast<u32>(k_maxGraphics); }
    // The graphic of exactly this name of the current theme, else that of the plain script; null if
    // there is none. Frames of strips are not looked at.
    AM_Graphic* findGraphic(const char* graphicName) const;
    // The same of one theme only.
    AM_Graphic* findGraphic(const char* graphicName, i32 theme) const;
    void setThemeIndex(i32 index) { themeIndex = index; }
    i32 getThemeIndex() const { return themeIndex; }

    // What the statement GRAPHIC does: the graphic of the name, else a new one of the type, for
    // theme `path`. Null if there is no such type; "png" is none, bitmaps come from folders.
    AM_Graphic* makeGraphic(const char* graphicName, i32 path, const char* type);

    // Registers the images below a folder, without reading one: each file "*.png" becomes a bitmap
    // with the file's name, each folder inside of "Animations" a strip of its files by name. Names
    // of two bytes or less are skipped, folders that were seen already are too, and k_maxScanDepth
    // bounds the walk, as do k_maxGraphics in one folder and the frames of a strip. Returns how
    // many graphics are new; what can't be read is left out.
    i32 scanImages(const char* folder, i32 theme);

    // The gamma that bitmaps are read with, for all of them and those to come. A new one has
    // all of them read again.
    void setScreenGamma(f32 gamma);
    f32 getScreenGamma() const { return screenGamma; }
    // Hands what is not read yet to the loader.
    void queueImages(AM_ImageLoader* loader);
    // Takes what the loader has read since; returns how many graphics that gave their picture.
    i32 adoptImages(AM_ImageLoader* loader);

    // Where shapes look their colours up; null for nowhere. Has to live as long as they draw.
    void setColours(AM_ColoursList* newColours) { colours = newColours; }
    AM_ColoursList* getColours() const { return colours; }
    // The statements that make the graphics again, appended to `script`.
    void write(std::string* script) const;

private:
    friend class AM_ImageScan;
    // Makes a bitmap with the list's gamma, which belongs to nobody yet; null if its name is too
    // long.
    AM_PngGraphic* createPng(const std::string& file, const char* graphicName, i32 theme) const;

    // Owns `graphic`, or deletes it if the theme has one of the name.
    bool addScanned(AM_Graphic* graphic);

    i32 themeIndex = 0;
    f32 screenGamma = k_neutralScreenGamma;
    AM_ColoursList* colours = nullptr;
};

// The names of the choices for the gamma of the screen, "neutral" in the middle, and what they mean
// to AM_readPng; the neutral one for any other index.
inline constexpr i32 k_numGammas = 5;
extern const char AM_gammaLabels[k_numGammas][32];
f32 AM_screenGammaOf(i32 index);
