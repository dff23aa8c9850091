#include "AM_AGG_Graphic.h"
#include "AM_Files/TemporaryFolder.h"
#include "AM_GraphicsList.h"
#include "AM_ImageLoader.h"
#include "AM_View/PngSample.h"
#include "ground/LogCapture.h"

#include <memory>
#include <mutex>
#include <thread>

namespace {

// Waits that end at once; what was asked for is kept.
struct Waits {
    AM_ImageLoader::Wait get() {
        return [this](i32 milliseconds) {
            const std::lock_guard lock(mutex);
            asked.push_back(milliseconds);
        };
    }
    std::mutex mutex;
    std::vector<i32> asked;
};

void waitFor(const AM_ImageLoader& loader) {
    while (!loader.isFinished())
        std::this_thread::yield();
}

TEST(ImageLoader, readsInPassesAndEndsWhenNothingIsLeft) {
    const TemporaryFolder folder;
    PngSample::flat(3, 2, {1, 2, 3, 255}).save(folder / "good.png");
    folder.write("bad.png", "no image");
    Waits waits;
    AM_ImageLoader loader(waits.get());
    loader.start(); // nothing asked for
    EXPECT_TRUE(loader.isFinished());
    for (i32 round = 0; round < 2; ++round) { // it starts again
        waits.asked.clear();
        loader.add(folder / "good.png", 2.2f);
        loader.add(folder / "good.png", 2.2f);
        loader.add(folder / "bad.png", 2.2f);
        loader.start();
        waitFor(loader);
        loader.stop();
        EXPECT_EQ(waits.asked, (std::vector<i32>{500, 10, 10}));
        const AM_ImageLoader::Results results = loader.takeResults();
        ASSERT_EQ(results.size(), 2u);
        EXPECT_FALSE(results.at({folder / "bad.png", 2.2f}));
        EXPECT_EQ(results.at({folder / "good.png", 2.2f})->width, 3);
        EXPECT_TRUE(loader.takeResults().empty());
    }
}

// By the default wait it would take half a second to begin.
TEST(ImageLoader, isInterruptedInItsWait) {
    const TemporaryFolder folder;
    PngSample::flat(3, 2, {1, 2, 3, 255}).save(folder / "good.png");
    AM_ImageLoader loader;
    loader.add(folder / "good.png", 2.2f);
    loader.start();
    loader.stop();
    EXPECT_TRUE(loader.isFinished());
    EXPECT_TRUE(loader.takeResults().empty());
}

// For the thread sanitizer too: two editors with lists of their own that come, change their gamma,
// draw and go while their loaders read.
TEST(ImageLoader, graphicsComeAndGoWhileItReads) {
    const TemporaryFolder folder;
    for (i32 i = 0; i < 12; ++i) {
        const std::string name =
            i < 6 ? "knob" + std::to_string(i) : "Animations/strip/f" + std::to_string(i);
        folder.makeFolder("Animations/strip");
        PngSample::flat(20 + i, 20, {u8(i), 2, 3, 255}).save(folder / (name + ".png"));
    }
    const auto edit = [&folder] {
        Waits waits;
        AM_ImageLoader loader(waits.get());
        for (i32 round = 0; round < 20; ++round) {
            AM_GraphicsList list;
            EXPECT_EQ(list.scanImages(folder.path().c_str(), 0), 7);
            list.queueImages(&loader);
            loader.start();
            list.adoptImages(&loader);
            list.setScreenGamma(round % 2 ? 1.8f : 2.6f);
            EXPECT_EQ(list.findGraphic("knob3.png")->getWidth(), 23);
            list.queueImages(&loader);
            loader.start();
            if (round % 3 == 0) waitFor(loader);
            list.adoptImages(&loader);
        }
        loader.stop();
    };
    std::jthread other(edit);
    edit();
}

TEST(ImageLoader, givesEachGraphicItsPicture) {
    const TemporaryFolder folder;
    PngSample::flat(3, 2, {1, 2, 3, 255}).save(folder / "a.png");
    PngSample::flat(4, 2, {1, 2, 3, 255}).save(folder / "late.png");
    folder.write("bad.png", "no image");
    Waits waits;
    AM_ImageLoader loader(waits.get());
    AM_GraphicsList list;
    list.scanImages(folder.path().c_str(), 0);
    const auto png = [&](const char* name) {
        return dynamic_cast<AM_PngGraphic*>(list.findGraphic(name));
    };
    list.queueImages(&loader);
    loader.start();
    waitFor(loader);
    EXPECT_FALSE(png("a.png")->isLoaded()); // not before the editor's thread takes it
    AM_Graphic* const late = list.findGraphic("late.png");
    late->unlink();
    delete late;
    EXPECT_EQ(list.adoptImages(&loader), 1);
    EXPECT_TRUE(png("a.png")->isLoaded());
    EXPECT_TRUE(png("bad.png")->isLoaded()); // known to be none
    EXPECT_EQ(png("bad.png")->load(), 1);
    // Another gamma has all read again, and no picture of the old one is taken.
    list.setScreenGamma(1.8f);
    EXPECT_FALSE(png("a.png")->isLoaded());
    loader.add(folder / "a.png", 2.2f);
    loader.start();
    waitFor(loader);
    EXPECT_EQ(list.adoptImages(&loader), 0);
    EXPECT_EQ(png("a.png")->getPixels().width, 3);
}

} // namespace
