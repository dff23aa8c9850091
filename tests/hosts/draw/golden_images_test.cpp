// Every scene as it is drawn now beside a picture of it that somebody has looked at. README.md
// tells how to make new ones.
#include "AM_PngReader.h"
#include "PngFile.h"
#include "Scene.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <map>

namespace {
// What another compiler, another mathematical library or small changes of FreeType may do, in steps
// of 255 and over the pixels that are painted in one picture or the other.
constexpr i32 k_tile = 32;        // pixels a side of a square in which
constexpr f64 k_mean = 0.5;       // is the largest mean difference of a channel
constexpr i32 k_far = 12;         // a pixel is far off if one channel differs by more
constexpr f64 k_farShare = 0.001; // the largest share of those

const std::pair<f32, std::vector<const char*>> k_scaled[] = {
    {0.7f,
     {"lines-hairlines", "lines-frames", "text-modes", "text-ellipsis", "layers-wholes",
      "pixels-placement"}},
    {1.3f,
     {"lines-hairlines", "areas-clips", "text-modes", "text-alignment", "graphics-values",
      "pixels-placement"}},
    {2.0f, {"lines-hairlines", "lines-frames", "text-modes", "text-fitting", "filters-bump"}}};

struct Picture {
    const Scene* scene;
    f32 scale;
    std::string name() const { return pictureName(*scene, scale); }
    friend std::ostream& operator<<(std::ostream& out, const Picture& picture) {
        return out << picture.name();
    }
};

std::vector<Picture> allPictures() {
    std::vector<Picture> pictures;
    for (const Scene& scene : allScenes())
        pictures.push_back({&scene, 1});
    for (const auto& [scale, names] : k_scaled)
        for (const char* name : names)
            pictures.push_back({findScene(name), scale});
    return pictures;
}

struct Difference {
    f64 mean = 255;
    f64 farShare = 1;
    bool isTolerable() const { return mean <= k_mean && farShare <= k_farShare; }
};
std::ostream& operator<<(std::ostream& out, const Difference& difference) {
    return out << "mean of the worst square " << difference.mean << ", share of pixels far off "
               << difference.farShare;
}

// Weighed with the alpha, so that the colour of what is transparent does not count.
i32 weighed(const u8* pixel, i32 channel) {
    return channel == 3 ? pixel[3] : (pixel[channel] * pixel[3] + 127) / 255;
}

bool isPainted(const u8* pixel) {
    for (i32 c = 0; c < 4; ++c)
        if (pixel[c] != ((k_sceneBackground >> (24 - 8 * c)) & 255)) return true;
    return false;
}

Difference compare(const AM_PixelView& a, const AM_PixelView& b) {
    if (a.width != b.width || a.height != b.height) return {};
    struct Tile {
        f64 sum = 0;
        f64 painted = 0;
    };
    std::map<std::pair<i32, i32>, Tile> tiles;
    f64 painted = 0;
    f64 far = 0;
    for (i32 y = 0; y < a.height; ++y)
        for (i32 x = 0; x < a.width; ++x) {
            const u8* const p = a.row(y) + 4 * x;
            const u8* const q = b.row(y) + 4 * x;
            if (!isPainted(p) && !isPainted(q)) continue;
            Tile& tile = tiles[{x / k_tile, y / k_tile}];
            i32 most = 0;
            for (i32 c = 0; c < 4; ++c) {
                const i32 off = std::abs(weighed(p, c) - weighed(q, c));
                tile.sum += off;
                most = std::max(most, off);
            }
            tile.painted += 4;
            painted += 1;
            far += most > k_far;
        }
    Difference found{0, far / std::max(painted, 1.0)};
    for (const auto& [place, tile] : tiles) // what a few pixels differ, the share tells
        found.mean = std::max(found.mean, tile.sum / std::max<f64>(tile.painted, 4 * k_tile));
    return found;
}

// Expected, drawn, and eight times the difference, side by side, as far as both go.
void writeSheet(const std::string& file, const AM_PixelView& a, const AM_PixelView& b) {
    const i32 width = std::min(a.width, b.width);
    AM_PngImage sheet{{}, 3 * width, std::min(a.height, b.height), false};
    sheet.pixels.resize(size_t(12) * width * sheet.height);
    for (i32 y = 0; y < sheet.height; ++y)
        for (i32 i = 0; i < 4 * width; ++i) {
            const i32 from = a.row(y)[i];
            const i32 to = b.row(y)[i];
            u8* const out = sheet.view().row(y) + i;
            out[0] = static_cast<u8>(from);
            out[4 * width] = static_cast<u8>(to);
            out[8 * width] =
                static_cast<u8>(i % 4 == 3 ? 255 : std::min(8 * std::abs(from - to), 255));
        }
    writePng(file, sheet.view());
}

class GoldenImages : public testing::TestWithParam<Picture> {};

TEST_P(GoldenImages, AreDrawnAgain) {
    const std::string name = GetParam().name();
    const std::string file = std::string(GOLDEN_FOLDER "/") + name;
    const std::string how = "\nTo make it: glassmere-draw " + std::string(GetParam().scene->name) +
                            " --scale " + std::to_string(GetParam().scale).substr(0, 3) +
                            " --into tests/hosts/draw/golden";
    const AM_PngImage golden = AM_readPngFile(file.c_str(), k_neutralScreenGamma);
    ASSERT_FALSE(golden.isEmpty()) << "There is no picture " << file << how;
    const auto context = drawScene(*GetParam().scene, GetParam().scale);
    const Difference difference = compare(golden.view(), context->getPixels());
    if (difference.isTolerable()) return;
    const std::string sheet = std::string(SHEET_FOLDER "/differs-") + name;
    writeSheet(sheet, golden.view(), context->getPixels());
    ADD_FAILURE() << difference << "\nExpected, drawn, 8 times the difference: " << sheet << how;
}

// Half a pixel aside, blended otherwise, and red off by 3: none of them is tolerated in any scene.
TEST_P(GoldenImages, AreNotTakenForFaultyOnes) {
    const auto context = drawScene(*GetParam().scene, GetParam().scale);
    const AM_PixelView right = context->getPixels();
    const auto distort = [&](const auto& fault) {
        AM_PngImage wrong{{}, right.width, right.height, false};
        for (i32 y = 0; y < right.height; ++y)
            wrong.pixels.insert(wrong.pixels.end(), right.row(y), right.row(y) + 4 * right.width);
        for (i32 y = 0; y < right.height; ++y)
            for (i32 x = 1; x < right.width; ++x)
                if (const u8* const pixel = right.row(y) + 4 * x; isPainted(pixel))
                    fault(pixel, wrong.view().row(y) + 4 * x);
        return compare(right, wrong.view());
    };
    const Difference aside = distort([](const u8* pixel, u8* out) {
        for (i32 c = 0; c < 3; ++c)
            out[c] = static_cast<u8>((pixel[c] + pixel[c - 4]) / 2);
    });
    const Difference screened = distort([](const u8* pixel, u8* out) {
        for (i32 c = 0; c < 3; ++c) {
            const i32 below = (k_sceneBackground >> (24 - 8 * c)) & 255;
            out[c] = static_cast<u8>(pixel[c] + below - pixel[c] * below / 255);
        }
    });
    const Difference redder = distort([](const u8* pixel, u8* out) {
        out[0] = static_cast<u8>(pixel[0] < 128 ? pixel[0] + 3 : pixel[0] - 3);
    });
    EXPECT_FALSE(aside.isTolerable()) << aside;
    EXPECT_FALSE(screened.isTolerable()) << screened;
    EXPECT_FALSE(redder.isTolerable()) << redder;
}

INSTANTIATE_TEST_SUITE_P(Scenes, GoldenImages, testing::ValuesIn(allPictures()),
                         [](const testing::TestParamInfo<Picture>& picture) {
                             std::string name = picture.param.name();
                             name.resize(name.size() - 4);
                             for (char& letter : name)
                                 if (!std::isalnum(static_cast<unsigned char>(letter)))
                                     letter = '_';
                             return name;
                         });
} // namespace
