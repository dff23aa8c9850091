#include "AM_Assert.h"
#include "AM_MemoryFilesystem.h"
#include "ground/LogCapture.h"

#include <functional>
#include <gtest/gtest.h>

namespace {

using Texts = std::vector<std::string>;
using Memory = std::shared_ptr<AM_MemoryFilesystem>;

Texts listed(AM_Filesystem& fs, const char* path) {
    Texts texts;
    for (const AM_FilePath& entry : fs.list(path))
        texts.emplace_back(entry.c_str('/'));
    return texts;
}

bool isSvn(AM_FilePath path) {
    return path.filename() == AM_FilePath(".svn");
}

struct Filesystem : testing::Test {
    LogCapture log;
    AM_Filesystem tree;
    Memory presets = std::make_shared<AM_MemoryFilesystem>();

    Filesystem() {
        presets->addFile("/Test.q3p", "#AM=Test\n");
        presets->addFile("/folder/b.q3p", "b");
        presets->addFile("/folder/A.q3p", "a");
        tree.mount("/presets", presets);
    }
};

TEST_F(Filesystem, routesToTheLongestMount) {
    auto inner = std::make_shared<AM_MemoryFilesystem>();
    inner->addFile("deep", "inner");
    tree.mount("/presets/folder/sub", inner);
    for (const char* folder : {"/presets", "/presets/", "/presets/folder", "/presets/folder/sub"})
        EXPECT_TRUE(tree.exists(folder) && tree.isDirectory(folder)) << folder;
    for (const char* file :
         {"//presets//Test.q3p", "/presets/Test.q3p", "/presets/folder/sub/deep"})
        EXPECT_TRUE(tree.exists(file) && !tree.isDirectory(file)) << file;
    for (const char* nothing :
         {"/presets/NoTest.q3p", "/presets/Test.q3p/x", "/presetsX", "presets/Test.q3p", "", "/"})
        EXPECT_FALSE(tree.exists(nothing) || tree.isDirectory(nothing)) << nothing;
    const AM_VirtualFilePtr deep = tree.open("/presets/folder/sub/deep", AM_Filesystem::kRead);
    EXPECT_STREQ(deep->getContentBuffer(), "inner");
    EXPECT_TRUE(presets->exists("") && presets->exists("/") && !AM_Filesystem().exists(""));
}

TEST_F(Filesystem, lists) {
    EXPECT_EQ(listed(tree, "/"), Texts{"/presets"});
    EXPECT_EQ(listed(tree, ""), Texts{"/presets"});
    EXPECT_EQ(listed(tree, "/presets"), (Texts{"/presets/folder", "/presets/Test.q3p"}));
    EXPECT_EQ(listed(*presets, "/folder"), (Texts{"folder/A.q3p", "folder/b.q3p"}));
    tree.mount("/presets/subfs/x", std::make_shared<AM_Filesystem>());
    tree.mount("/presets/folder/y", std::make_shared<AM_Filesystem>());
    EXPECT_EQ(listed(tree, "/"), Texts{"/presets"});
    EXPECT_EQ(listed(tree, "/presets"),
              (Texts{"/presets/folder", "/presets/Test.q3p", "/presets/subfs"}));
    EXPECT_EQ(listed(tree, "/presets/subfs"), Texts{"/presets/subfs/x"});
    EXPECT_EQ(listed(tree, "/nowhere"), Texts{});
}

TEST_F(Filesystem, mountsThatAreRefused) {
    auto other = std::make_shared<AM_MemoryFilesystem>();
    tree.mount("/presets", other); // the first one stays
    tree.mount("/a/../b", other);
    EXPECT_EQ(log.count("ERROR: \\presets is mounted already"), 1);
    EXPECT_EQ(log.count("ERROR: can't mount at \\a\\..\\b"), 1);
    EXPECT_TRUE(tree.exists("/presets/Test.q3p"));
    EXPECT_THROW(tree.mount("/null", nullptr), AM_AssertionError);

    AM_FilePath deep;
    for (size_t depth = 1; depth <= k_maxMountDepth + 2; ++depth)
        tree.mount(deep /= "/x", std::make_shared<AM_MemoryFilesystem>());
    EXPECT_EQ(log.count("ERROR: can't mount at"), 2 + 1);
    EXPECT_TRUE(tree.exists(deep.getSubSegments(0, k_maxMountDepth + 1)));
    EXPECT_FALSE(tree.exists(deep));

    AM_Filesystem ring, back;
    const auto unowned = [](AM_Filesystem& fs) {
        return AM_FilesystemPtr(AM_FilesystemPtr(), &fs);
    };
    ring.mount("/", unowned(back));
    back.mount("/", unowned(ring));
    EXPECT_FALSE(ring.exists("/x"));
    EXPECT_EQ(log.count("ERROR: mounts nested too deep"), 1);
}

TEST_F(Filesystem, exclusions) {
    tree.addExclusion(isSvn);
    presets->addFile("/folder/.svn", "hidden");
    presets->addFile("/.svn/entry", "hidden");
    presets->addFile("/a..b", "seen");
    EXPECT_EQ(listed(tree, "/presets"),
              (Texts{"/presets/a..b", "/presets/folder", "/presets/Test.q3p"}));
    EXPECT_EQ(listed(tree, "/presets/folder"),
              (Texts{"/presets/folder/A.q3p", "/presets/folder/b.q3p"}));
    EXPECT_TRUE(tree.exists("/presets/a..b"));
    const AM_FilePath excluded[] = {"/presets/folder/.svn",
                                    "/presets/.svn",
                                    "/presets/../presets/Test.q3p",
                                    "/presets/folder/..",
                                    "..",
                                    AM_String(std::string_view("/presets/Test.q3p\0", 18))};
    for (const AM_FilePath& path : excluded) {
        SCOPED_TRACE(path.c_str('/'));
        EXPECT_TRUE(tree.isExcluded(path));
        EXPECT_FALSE(tree.exists(path) || tree.isDirectory(path));
        EXPECT_TRUE(tree.list(path).empty());
        log.take();
        EXPECT_TRUE(tree.open(path, AM_Filesystem::kWrite)->hasError());
        EXPECT_FALSE(tree.replaceFile(path, "x", 1));
        EXPECT_EQ(log.take(), (Lines{"!isExcluded(p)", "!isExcluded(p)"}));
    }
    EXPECT_EQ(presets->content("/Test.q3p"), "#AM=Test\n");
}

TEST_F(Filesystem, errorFile) {
    const AM_VirtualFilePtr file = tree.open("/presets/DOESNOTEXIST", AM_Filesystem::kRead);
    EXPECT_EQ(log.take(), Lines{"Failed to open file \\DOESNOTEXIST"});
    EXPECT_TRUE(file->hasError());
    EXPECT_FALSE(file->saveContent() || file->loadContent());
    EXPECT_EQ(file->getByte(0), 0);
    file->fprintf(10, "%d", 1);
    EXPECT_THROW(file->write("", 1), AM_AssertionError);
    EXPECT_THROW(file->getContentBuffer(), AM_AssertionError);
    EXPECT_EQ(log.count(": !hasError()"), 2);
}

TEST_F(Filesystem, readsWritesAndSeeks) {
    const AM_VirtualFilePtr file = tree.open("/presets/new.txt", AM_Filesystem::kWrite);
    EXPECT_STREQ(file->getContentBuffer(), "");
    EXPECT_TRUE(tree.exists("/presets/new.txt"));
    EXPECT_EQ(file->getByte(0), 0);
    file->fprintf(32, "%d %s\n", -7, "Gr\u00fc\u00dfe");
    EXPECT_EQ(presets->content("new.txt"), "-7 Gr\u00fc\u00dfe\n");
    EXPECT_EQ(file->getByte(0), '-');
    EXPECT_EQ(file->getByte(-1), '\n');
    for (const i64 outside : {i64{11}, i64{-12}, INT64_MAX, INT64_MIN})
        EXPECT_EQ(file->getByte(outside), 0);

    EXPECT_FALSE(file->seek(-8, k_seekEnd));
    EXPECT_EQ(file->tell(), 3);
    file->fprintf(5, "\u00fc\u00fc\u00fc"); // cut to 4 bytes, which are two characters
    file->fprintf(4, "z\u00fc\u00fc");
    file->fprintf(0, "nothing");
    EXPECT_EQ(presets->content("new.txt"), "-7 \u00fc\u00fcz\u00fc\n");
    EXPECT_EQ(log.take(), (Lines{"fprintv: length exceeded maxLen!: 6 >= 5",
                                 "fprintv: length exceeded maxLen!: 5 >= 4",
                                 "fprintv: length exceeded maxLen!: 7 >= 0"}));
    EXPECT_TRUE(file->seek(-1, k_seekStart) && file->seek(0, 3));
    EXPECT_TRUE(file->seek(INT64_MAX, k_seekCurrent) && file->seek(INT64_MIN, k_seekEnd));
    file->getContentBuffer()[0] = '+';
    EXPECT_TRUE(file->saveContent());
    EXPECT_EQ(presets->content("new.txt")->substr(0, 2), "+7");
    EXPECT_EQ(file->tell(), 10);

    const AM_VirtualFilePtr reader = tree.open("/presets/Test.q3p", AM_Filesystem::kRead);
    EXPECT_TRUE(reader->loadContent());
    EXPECT_FALSE(reader->saveContent());
    EXPECT_GT(reader->getDateModified(0), 2025u * 65536);
    EXPECT_EQ(reader->write("x", 1), 0u);
    EXPECT_TRUE(reader->hasError());
    presets->addFile("/large", std::string(static_cast<size_t>(k_maxFileContent) + 1, 'x'));
    EXPECT_FALSE(tree.open("/presets/large", AM_Filesystem::kRead)->loadContent());
}

// Whatever fails and whenever, the old content or the new one is there, and nothing of it is
// silent.
TEST_F(Filesystem, replacingUnderFaults) {
    const std::string was = "#AM=Test\n", becomes = "#AM=Test 2\n";
    const auto replaces = [&](const char* path) {
        return tree.replaceFile(path, becomes.data(), becomes.size());
    };
    const AM_VirtualFilePtr reader = tree.open("/presets/Test.q3p", AM_Filesystem::kRead);
    const char* const target = "/presets/Test.q3p";
    const std::pair<const char*, std::function<void()>> faults[] = {
        {target, [&] { presets->setReadOnly(true); }},
        {target, [&] { presets->setCapacity(was.size() + becomes.size()); }},
        {target, [&] { presets->failOperation(1); }},
        {"/presets/missing/Test.q3p", [] {}},
        {"/presets/Test.q3p/Test.q3p", [] {}},
        {"/presets/folder", [] {}},
        {"/outside", [] {}},
    };
    for (const auto& [path, fault] : faults) {
        fault();
        EXPECT_FALSE(replaces(path));
        EXPECT_EQ(log.count("Failed to create file "), 1);
        log.take();
        presets->setReadOnly(false);
        presets->setCapacity(k_memoryCapacity);
        EXPECT_EQ(presets->content("Test.q3p"), was);
    }
    EXPECT_TRUE(replaces(target));
    EXPECT_EQ(presets->content("Test.q3p"), becomes);
    EXPECT_EQ(reader->getContentBuffer(), was);
}

TEST_F(Filesystem, faultsOfOpenFiles) {
    const AM_VirtualFilePtr file = tree.open("/presets/full", AM_Filesystem::kWrite);
    presets->setCapacity(11 + 4); // the three presets hold 11 bytes
    EXPECT_EQ(file->write("123456", 6), 4u);
    EXPECT_FALSE(file->hasError());
    EXPECT_EQ(file->write("56", 2), 0u);
    EXPECT_TRUE(file->hasError());
    EXPECT_EQ(presets->content("full"), "1234");

    const auto save = [&] {
        const AM_VirtualFilePtr saved = tree.open("/presets/full", AM_Filesystem::kWrite);
        if (saved->hasError()) return false;
        return saved->write("abc", 3) == 3 && saved->saveContent() && !saved->hasError();
    };
    const u64 before = presets->operations();
    EXPECT_TRUE(save());
    const u64 count = presets->operations() - before;
    for (u64 nth = 1; nth <= count; ++nth) {
        presets->failOperation(nth);
        EXPECT_FALSE(save()) << nth;
    }
    EXPECT_TRUE(save());
    const AM_VirtualFilePtr held = tree.open("/presets/full", AM_Filesystem::kRead);
    EXPECT_TRUE(presets->remove("/full") && presets->remove("/folder") && !presets->remove("/x"));
    EXPECT_EQ(listed(tree, "/presets"), Texts{"/presets/Test.q3p"});
    EXPECT_STREQ(held->getContentBuffer(), "abc");
    presets.reset();
    EXPECT_EQ(held->getByte(2), 'c');
}

} // namespace
