#include "AM_AGG_Context.h"
#include "AM_ColoursList.h"
#include "AM_CompositeGraphic.h"
#include "AM_Files/TemporaryFolder.h"
#include "AM_Font.h"
#include "AM_GraphicsList.h"
#include "AM_MultiFrameGraphic.h"
#include "AM_ScriptStatement.h"
#include "AM_View/PixelBuffer.h"
#include "AM_View/PngSample.h"
#include "AM_ViewCompressedImageData.h"
#include "ground/LogCapture.h"

#include <cmath>
#include <limits>
#include <random>

namespace {

constexpr f32 k_nan = std::numeric_limits<f32>::quiet_NaN();
constexpr f32 k_inf = std::numeric_limits<f32>::infinity();

Pixel pixelAt(AM_Context& context, i32 x, i32 y) {
    const u8* pixel = context.getPixels().row(y) + 4 * x;
    return {pixel[0], pixel[1], pixel[2], pixel[3]};
}

// --- colours --------------------------------------------------------------------------

// By the angle on the colour wheel, in double.
f64 hueOf(const AM_Rgba& c) {
    const f64 largest = std::max({c.r, c.g, c.b}), range = largest - std::min({c.r, c.g, c.b});
    if (range == 0) return 0;
    f64 sector = c.r == largest   ? (f64(c.g) - c.b) / range
                 : c.g == largest ? 2 + (f64(c.b) - c.r) / range
                                  : 4 + (f64(c.r) - c.g) / range;
    return sector < 0 ? sector * 60 + 360 : sector * 60;
}

TEST(Colour, wordsAndHsvThereAndBack) {
    std::mt19937 random(1);
    for (i32 i = 0; i < 5000; ++i) {
        const u32 word = i < 256 ? u32(i) * 0x01010101 : u32(random());
        AM_Colour colour("", word);
        ASSERT_EQ(colour.getValue(), word);
        const AM_Rgba& rgba = colour.getRgba();
        EXPECT_NEAR(colour.getHsv().hue, hueOf(rgba), 1e-3);
        EXPECT_EQ(colour.getHsv().value, std::max({rgba.r, rgba.g, rgba.b}));
        ASSERT_EQ(AM_fromHsv(colour.getHsv(), rgba.a).toWord(), word);
    }
    EXPECT_EQ(AM_fromHsv({-90, 1, 1}, 1).toWord(), AM_fromHsv({270, 1, 1}, 1).toWord());
    AM_Colour odd;
    odd.setRgba({k_nan, k_inf, -3, 7});
    EXPECT_EQ(odd.getValue(), 0x000000ffu);
}

TEST(Colour, shiftsWrapAndClamp) {
    AM_Colour colour("", 0xff8000ff);
    const f32 hue = colour.getHsv().hue;
    colour.shiftHSV(-90, 1, 1);
    EXPECT_NEAR(colour.getHsv().hue, hue + 270, 1e-3);
    colour.shiftHSV(720 + 90, 5, 5);
    EXPECT_EQ(colour.getValue(), 0xff8000ffu);
    colour.shiftHSV(k_nan, 0, 0.5f);
    EXPECT_EQ(colour.getValue(), 0x808080ffu);
    EXPECT_NEAR(colour.getHsv().hue, hue, 1e-3); // kept for the next shift
    colour.shiftHSV(k_inf, k_nan, -1);
    EXPECT_EQ(colour.getValue(), 0x000000ffu);
}

TEST(Colour, tintKeepsTheNormOfWhatIsTinted) {
    std::mt19937 random(2);
    for (i32 i = 0; i < 2000; ++i) {
        const AM_Colour by("", i % 5 == 0 ? random() & 0xff : u32(random()));
        AM_Colour colour("", i % 7 == 0 ? 0x000000ff : u32(random()));
        const AM_Rgba c = colour.getRgba(), o = by.getRgba();
        const f64 own = std::sqrt(f64(c.r) * c.r + f64(c.g) * c.g + f64(c.b) * c.b);
        const f64 others = std::sqrt(f64(o.r) * o.r + f64(o.g) * o.g + f64(o.b) * o.b);
        const f64 k = own > 0 && others > 0 ? own / others : 1;
        colour.tint(by);
        EXPECT_NEAR(colour.getRgba().r, std::min(1.0, (1 - o.a) * c.r + o.a * k * o.r), 1e-5);
        EXPECT_NEAR(colour.getRgba().b, std::min(1.0, (1 - o.a) * c.b + o.a * k * o.b), 1e-5);
        EXPECT_EQ(colour.getRgba().a, c.a);
    }
}

TEST(Colour, gradientsMixTheStopsBesideAPlace) {
    AM_ColoursList list;
    list.setColour("sky", 0x102030ff);
    AM_Colour& sky = *list.findColour("sky");
    EXPECT_FALSE(sky.isGradient());
    EXPECT_EQ(sky.at(0.3f).toWord(), 0x102030ffu);
    list.setElement("b", "sky", 0x00ff00ff, 0.75f);
    EXPECT_EQ(sky.at(0.1f).toWord(), 0x00ff00ffu); // one stop is flat
    list.setElement("a", "sky", 0xff000000, 0.25f);
    EXPECT_TRUE(sky.isGradient());
    const struct {
        f32 x;
        u32 rgba;
    } places[] = {{-1, 0xff000000},     {0.25f, 0xff000000}, {0.5f, 0x80800080},
                  {0.375f, 0xbf400040}, {0.75f, 0x00ff00ff}, {k_inf, 0x00ff00ff}};
    for (const auto& place : places)
        EXPECT_EQ(sky.at(place.x).toWord(), place.rgba) << place.x;
    EXPECT_EQ(sky.getStops().front().location, 0.25f);
}

// --- properties -----------------------------------------------------------------------

TEST(Property, textsAreReadClampedOrRefused) {
    constexpr char labels[][32] = {"none", "some", "all"};
    f32 number = 0;
    i32 whole = 0, choice = 0;
    char text[8] = "";
    bool flag = false;
    const AM_Property rows[] = {{AM_Property::k_float, "f", nullptr, &number, -1, 10, 0, 0.1f},
                                {AM_Property::k_int, "i", nullptr, &whole, -5, 7, 0, 1},
                                {AM_Property::k_int, "l", labels, &choice, 0, 1, 1, 1},
                                {AM_Property::k_text, "t", nullptr, text, 0, 0, 0, 0, sizeof text},
                                {AM_Property::k_bool, "b", nullptr, &flag, 0, 1, 0, 1}};
    const struct {
        i32 row;
        const char* text;
        bool taken;
        f32 value;
    } cases[] = {{0, "2.5", true, 2.5f}, {0, " +3 ", true, 3},   {0, "1e9", true, 10},
                 {0, "-7", true, -1},    {0, "nan", false, -1},  {0, "inf", false, -1},
                 {0, "", false, -1},     {0, "2x", false, -1},   {0, nullptr, false, -1},
                 {1, "3.6", true, 4},    {1, "-1e30", true, -5}, {1, "99", true, 7},
                 {2, "none", true, 0},   {2, "all", true, 1},    {2, "None", true, 1},
                 {4, "YES", true, 1},    {4, "yes", true, 0}};
    for (const auto& c : cases) {
        EXPECT_EQ(AM_setProperty(rows[c.row], c.text), c.taken) << c.text;
        const f32 values[] = {number, f32(whole), f32(choice), 0, f32(flag)};
        EXPECT_EQ(values[c.row], c.value) << c.text;
    }
    EXPECT_TRUE(AM_setProperty(rows[3], "longer than it"));
    EXPECT_STREQ(text, "longer ");
    AM_Font font("Vera", 1e9f);
    font.setSize(k_nan);
    EXPECT_EQ(font.getSize(), 1000);
}

// --- images without their empty pixels ------------------------------------------------

TEST(CompressedImage, holdsEveryRunOnceAndDrawsItOver) {
    PixelBuffer image(61, 23);
    image.fillRandom(3);
    const AM_ViewCompressedImageData data(image.view(), AM_ViewCompressedImageData::k_copy);
    i32 covered = 0;
    for (i32 y = 0; y < 23; ++y)
        for (i32 x = 0; x < 61; ++x) {
            EXPECT_EQ(data.hitTest(x, y), image.at(x, y)[3] > 0);
            covered += image.at(x, y)[3] > 0;
        }
    for (const auto& [x, y] :
         {std::pair(-1, 0), std::pair(0, -1), std::pair(61, 0), std::pair(0, 23)})
        EXPECT_FALSE(data.hitTest(x, y));
    for (const AM_ViewPixelRun& run : data.getRuns()) {
        covered -= run.length;
        EXPECT_TRUE(run.x == 0 || image.at(run.x - 1, run.y)[3] == 0);
        EXPECT_TRUE(run.x + run.length == 61 || image.at(run.x + run.length, run.y)[3] == 0);
    }
    EXPECT_EQ(covered, 0);

    for (const f32 alpha : {1.0f, 0.5f}) {
        PixelBuffer target(50, 30), before(50, 30);
        before.fillRandom(4);
        target.pixels = before.pixels;
        data.draw(target.view(), -5, 9, alpha, 3, 0, 40, 28);
        for (i32 y = 0; y < 30; ++y)
            for (i32 x = 0; x < 50; ++x) {
                Pixel wanted = before.at(x, y);
                if (x >= 3 && x < 40 && y >= 9 && y < 28) {
                    const Pixel over = image.at(x + 5, y - 9);
                    const f64 a = over[3] / 255.0 * alpha, b = wanted[3] / 255.0 * (1 - a);
                    for (size_t c = 0; c < 3 && a + b > 0; ++c)
                        wanted[c] = u8(std::lround((over[c] * a + wanted[c] * b) / (a + b)));
                    wanted[3] = u8(std::lround((a + b) * 255));
                }
                // Where next to nothing shows, its colour is not told apart.
                for (size_t c = 0; c < 4; ++c)
                    ASSERT_NEAR(target.at(x, y)[c], wanted[c], c == 3 || wanted[3] > 60 ? 2 : 40);
            }
    }
    LogCapture log;
    AM_ViewPixelRun(0, 0, 0, nullptr);
    EXPECT_TRUE(log.has("error: AM_ViewPixelRun::AM_ViewPixelRun -> dataLengthInPixels == 0"));
}

// --- bitmaps and strips ---------------------------------------------------------------

// Hears what graphics tell their control.
struct Listener : AM_GuiObject {
    void receiveMessage(AM_Object*, u32 id, u32 value, void*) override {
        messages.emplace_back(id, value);
    }
    std::vector<std::pair<u32, u32>> messages;
};

class Images : public testing::Test {
protected:
    // Flat frames whose red tells their number, 8 x 4.
    AM_MultiFrameGraphic* strip(i32 count) {
        folder.makeFolder("Animations/strip");
        for (i32 i = 0; i < count; ++i)
            PngSample::flat(8, 4, {u8(10 * i), 100, 200, u8(i % 2 ? 255 : 51)})
                .save(folder / ("Animations/strip/f" + std::to_string(i) + ".png"));
        list.scanImages(folder.path().c_str(), 0);
        return dynamic_cast<AM_MultiFrameGraphic*>(list.findGraphic("strip"));
    }
    // What a graphic paints in 8 x 4 at the origin.
    Pixel paint(AM_Graphic& graphic, f32 value) {
        context.clear(0);
        graphic.draw(&context, {0, 0}, 1, value);
        return pixelAt(context, 3, 2);
    }
    TemporaryFolder folder;
    AM_GraphicsList list;
    AM_AGG_Context context{8, 4, 1, false};
};

TEST_F(Images, valuesPickTheNearestFrame) {
    AM_MultiFrameGraphic* frames = strip(5);
    ASSERT_TRUE(frames);
    EXPECT_EQ(frames->getWidth(), 8);
    EXPECT_EQ(frames->getHeight(), 4);
    const std::pair<f32, i32> cases[] = {{0, 0},      {0.124f, 0}, {0.126f, 1}, {0.5f, 2},
                                         {0.874f, 3}, {0.876f, 4}, {1, 4},      {7, 4},
                                         {-1, 0},     {k_nan, 0},  {k_inf, 0}};
    for (const auto& [value, frame] : cases)
        EXPECT_EQ(paint(*frames, value)[0], 10 * frame) << value;

    AM_MultiFrameGraphic none;
    EXPECT_EQ(paint(none, 0.5f), Pixel());
    EXPECT_EQ(none.getFrame(0), nullptr);
    EXPECT_FALSE(none.hits({0, 0, 8, 4}, {1, 1}, 1));
    none.setProperty("morph", 0, "1");
    auto* const only = frames->getFrame(3);
    only->unlink();
    none.add(only);
    for (const f32 value : {0.0f, 0.4f, 1.0f})
        EXPECT_EQ(paint(none, value), (Pixel{30, 100, 200, 255}));
}

TEST_F(Images, morphMixesTheNeighboursByWeight) {
    AM_MultiFrameGraphic* frames = strip(3);
    frames->setProperty("morph", 0, "1");
    EXPECT_EQ(paint(*frames, 0)[3], 51);
    EXPECT_EQ(paint(*frames, 1)[0], 20);
    EXPECT_EQ(paint(*frames, 0.5f), (Pixel{10, 100, 200, 255}));
    // A quarter of the way from frame 0 (alpha 0.2) to frame 1 (alpha 1).
    const f64 a = 0.75 * 0.2 + 0.25 * 1;
    const Pixel mixed = paint(*frames, 0.125f);
    EXPECT_NEAR(mixed[3], a * 255, 1);
    EXPECT_NEAR(mixed[0], 0.25 * 10 / a, 1);
    EXPECT_EQ(mixed[1], 100);
}

TEST_F(Images, timePicksTheFramesOfAnAnimation) {
    AM_MultiFrameGraphic* frames = strip(4);
    frames->setProperty("animated", 0, "YES");
    Listener control;
    frames->setControl(&control);
    const std::pair<f32, i32> times[] = {{0, 0},     {0.24f, 0}, {0.26f, 1},
                                         {0.99f, 3}, {1, 0},     {7.6f, 2}};
    for (const auto& [time, frame] : times) {
        frames->setCurrentTime(time);
        frames->setCurrentTime(k_nan);
        EXPECT_EQ(paint(*frames, 1)[0], 10 * frame) << time;
    }
    EXPECT_EQ(control.messages,
              (std::vector<std::pair<u32, u32>>(std::size(times), {47u, 0x800u})));
}

TEST_F(Images, aBitmapReadsWhenItIsAskedAndTellsItsAlpha) {
    PngSample::flat(6, 3, {1, 2, 3, 255}).save(folder / "rgba.png");
    PngSample rgb = PngSample::flat(6, 3, {1, 2, 3, 0});
    rgb.colourType = PNG_COLOR_TYPE_GRAY;
    rgb.fill = [](i32, u8* row) { std::memset(row, 90, 6); };
    rgb.save(folder / "grey.png");
    folder.write("bad.png", "no image");
    EXPECT_EQ(list.scanImages(folder.path().c_str(), 0), 3);
    EXPECT_EQ(list.scanImages(folder.path().c_str(), 0), 0);
    EXPECT_TRUE(list.findGraphic("rgba.png")->getHasAlpha());
    AM_Graphic* grey = list.findGraphic("grey.png");
    EXPECT_FALSE(grey->getHasAlpha());
    EXPECT_EQ(grey->getWidth(), 6);
    EXPECT_EQ(paint(*grey, 0), (Pixel{90, 90, 90, 255}));
    EXPECT_TRUE(grey->hits({0, 0, 60, 30}, {59, 29}, 0));
    EXPECT_FALSE(grey->hits({0, 0, 60, 30}, {60, 29}, 0));
    LogCapture log;
    AM_Graphic* bad = list.findGraphic("bad.png");
    for (i32 i = 0; i < 3; ++i)
        EXPECT_EQ(paint(*bad, 0), Pixel());
    EXPECT_EQ(log.count("Can't read '"), 1); // not with every paint
    EXPECT_FALSE(bad->hits({0, 0, 60, 30}, {1, 1}, 0));
}

TEST_F(Images, theScanFindsFoldersLinksAndThemes) {
    const std::string image = PngSample::flat(1, 1, {9, 9, 9, 255}).bytes();
    for (const char* name :
         {"a.png", "sub/b.PNG", "sub/deep/c.png", "Animations/d.png", "Animations/spin/2.png",
          "Animations/spin/10.png", "Animations/spin/1.png", "Animations/spin/inner/e.png",
          "Animations/empty/readme.txt", "sub/Animations/f.png", "sub/Animations/still/g.png",
          "ab/skipped.png", "x"})
        folder.write(name, image);
    folder.write(std::string(200, 'n') + "/" + std::string(100, 'm') + ".png", image);
    folder.link("sub/round", folder.path());
    folder.link("sub/deep/up", folder / "sub");
    folder.link("lost.png", folder / "nowhere");
    LogCapture log;
    // a b c d spin e f g, and the link that leads nowhere.
    EXPECT_EQ(list.scanImages(folder.path().c_str(), 0), 9);
    EXPECT_EQ(log.count("has too long a file name"), 1);
    const auto* spin = dynamic_cast<AM_MultiFrameGraphic*>(list.findGraphic("spin"));
    ASSERT_TRUE(spin);
    ASSERT_EQ(spin->getFrameCount(), 3);
    EXPECT_STREQ(spin->getFrame(0)->getName(), "1.png");
    EXPECT_STREQ(spin->getFrame(2)->getName(), "2.png");
    EXPECT_FALSE(list.findGraphic("1.png"));
    EXPECT_FALSE(list.findGraphic("A.png"));

    folder.write("theme/a.png", image);
    EXPECT_EQ(list.scanImages((folder / "theme").c_str(), 2), 1);
    list.setThemeIndex(2);
    EXPECT_EQ(list.findGraphic("a.png")->getThemeIndex(), 2);
    EXPECT_EQ(list.findGraphic("b.PNG")->getThemeIndex(), 0);
    list.setThemeIndex(1);
    EXPECT_EQ(list.findGraphic("a.png")->getThemeIndex(), 0);
    EXPECT_EQ(list.scanImages((folder / "nowhere").c_str(), 0), 0);
    EXPECT_EQ(list.scanImages(nullptr, 0), 0);
}

TEST_F(Images, aCompositeDrawsItsLayersButNoComposite) {
    PngSample::flat(8, 4, {200, 0, 0, 255}).save(folder / "red.png");
    PngSample::flat(8, 4, {0, 0, 200, 128}).save(folder / "blue.png");
    list.scanImages(folder.path().c_str(), 0);
    AM_Graphic* both = list.makeGraphic("both", 0, "comp");
    const char* layers[] = {"red.png", "blue.png", "both", "missing"};
    for (i32 i = 0; i < 4; ++i)
        both->setProperty("layer", i, layers[i]);
    context.clear(0);
    both->drawInRect(&context, {0, 0, 8, 4}, 1, 0);
    EXPECT_NEAR(pixelAt(context, 3, 2)[0], 100, 1);
    EXPECT_NEAR(pixelAt(context, 3, 2)[2], 100, 1);
    EXPECT_TRUE(both->hits({0, 0, 8, 4}, {3, 2}, 0));
}

TEST(Gamma, aBrighterChoiceGivesABrighterPicture) {
    const TemporaryFolder folder;
    PngSample::flat(1, 1, {128, 128, 128, 255}).save(folder / "a.png");
    AM_GraphicsList list;
    list.scanImages(folder.path().c_str(), 0);
    auto* png = dynamic_cast<AM_PngGraphic*>(list.findGraphic("a.png"));
    i32 before = 256;
    for (i32 i = 0; i < k_numGammas; ++i) {
        list.setScreenGamma(AM_screenGammaOf(i));
        EXPECT_LT(png->getPixels().pixels[0], before) << AM_gammaLabels[i];
        before = png->getPixels().pixels[0];
        EXPECT_TRUE(i != 2 || before == 128);
    }
    EXPECT_EQ(AM_screenGammaOf(-1), AM_screenGammaOf(2));
}

// --- scripts --------------------------------------------------------------------------

// What a script's statements say, done by the lists.
void run(const std::string& script, AM_ColoursList& colours, AM_GraphicsList& graphics) {
    ScriptStatement line;
    for (size_t position = 0; position < script.size();) {
        line.read(script, &position);
        if (line.tokenCount < 0) continue;
        const std::string keyword = line.tokens[0];
        const auto number = [&line](const char* key, int base) {
            const char* text = line.getAttribute(key);
            return text ? static_cast<u32>(std::stoul(text, nullptr, base)) : 0;
        };
        const auto place = [&line] {
            const char* text = line.getAttribute("location");
            return text ? std::stof(text) : 0.0f;
        };
        const char* name = line.getAttribute("name");
        if (keyword == "COLOUR")
            colours.setColour(name, number("rgba", 16))->setLocation(place());
        else if (keyword == "COL_ELEMENT")
            colours.setElement(name, line.getAttribute("parent"), number("rgba", 16), place());
        else if (keyword == "GRAPHIC")
            graphics.makeGraphic(name, static_cast<i32>(number("path", 10)),
                                 line.getAttribute("type"));
        else if (keyword == "GR_PROPERTY")
            graphics.findGraphic(line.getAttribute("graphic"))
                ->setProperty(name, static_cast<i32>(number("id", 10)), line.getAttribute("value"));
    }
}

TEST(Script, whatIsWrittenIsReadAgain) {
    AM_ColoursList colours, again;
    AM_GraphicsList graphics, others;
    colours.addBuiltIns();
    again.addBuiltIns();
    run("COLOUR name='sea' rgba='204060ff' location='0.25'\n"
        "COL_ELEMENT name='deep' parent='sea' rgba='001020ff' location='0.9'\n"
        "COL_ELEMENT name='x' parent='nobody' rgba='001020ff'\nCOLOUR name='WireC1' rgba='1'",
        colours, graphics);
    std::mt19937 random(5);
    const char* types[] = {"circ",           "rotate tri", "rounded rect", "lolli rect",
                           "captioned rect", "star shape", "tick ring",    "comp"};
    for (const char* type : types)
        for (i32 copy = 0; copy < 2; ++copy) {
            AM_Graphic* graphic = graphics.makeGraphic("", 0, type);
            ASSERT_TRUE(graphic) << type;
            AM_PropertyTable table;
            graphic->getProperties(&table);
            for (i32 id = 0; id < 16; ++id)
                for (const AM_Property& row : table)
                    graphic->setProperty(row.name, id, std::to_string(random() % 200).c_str());
            graphic->setProperty("colour", 3, "");
            graphic->setProperty("colour", 16, "beyond");
            graphic->setProperty("colour", -1, "before");
            graphic->setProperty("width", 0, "1e9");
            graphic->setProperty("scalable", 0, copy ? "yes" : "no");
        }
    EXPECT_STREQ(graphics.findGraphic("Tick Ring #2")->getTypeName(), "tick ring");
    EXPECT_FALSE(graphics.makeGraphic("p", 0, "png"));
    EXPECT_FALSE(graphics.makeGraphic("p", 0, "pie"));
    graphics.makeGraphic("it's", 0, "circ");
    graphics.makeGraphic("fixed", 0, "circ")->setImmutable(true, false);

    std::string first, second;
    LogCapture log;
    colours.write(&first);
    graphics.write(&first);
    EXPECT_EQ(log.count("'it's' is not written"), 1);
    EXPECT_EQ(first.find("fixed"), std::string::npos);
    EXPECT_EQ(first.find("'black'"), std::string::npos);
    EXPECT_NE(first.find("\n\nCOLOUR name='sea' rgba='204060ff' location='0.250000'"
                         "\n\nCOL_ELEMENT name='deep' parent='sea' rgba='1020ff' location='0.9"),
              std::string::npos);
    EXPECT_NE(first.find("\nGR_PROPERTY graphic='Circ #1' name='width' id='0' value='4096.00'"),
              std::string::npos);
    run(first, again, others);
    again.write(&second);
    others.write(&second);
    EXPECT_EQ(second, first);
}

TEST(Script, listsTakeSoMuchAndNoMore) {
    AM_ColoursList colours;
    AM_GraphicsList graphics;
    LogCapture log;
    for (i32 i = 0; i < 5000; ++i) {
        const std::string name = std::to_string(i);
        EXPECT_EQ(colours.setColour(name.c_str(), 1) != nullptr, i < 4096);
        colours.setElement(name.c_str(), "0", 1, 0);
        EXPECT_EQ(graphics.makeGraphic(name.c_str(), 0, "comp") != nullptr, i < 4096);
    }
    EXPECT_EQ(log.count("Graphic '4999' is one too many"), 1);
    EXPECT_EQ(log.count("Colour '4999' is one too many"), 2);
}

TEST(Script, builtInColoursAreThere) {
    AM_ColoursList list;
    list.addBuiltIns();
    list.addBuiltIns();
    EXPECT_EQ(list.getNumChildren(), 29u);
    EXPECT_EQ(list.findColour("invisible")->getValue(), 0u);
    EXPECT_EQ(list.findColour("trans grey")->getValue(), 0x7f7f7f80u);
    EXPECT_EQ(list.findColour("CC unset")->getValue(), 0x00ff003fu);
    EXPECT_TRUE(list.findColour("greyC0")->isImmutable());
    EXPECT_FALSE(list.findColour("WireC1")->isImmutable());
    EXPECT_FALSE(list.setColour("new", 0));
    EXPECT_FALSE(list.findColour("new"));
}

} // namespace
