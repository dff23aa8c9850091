#include "AM_FilesystemFactory.h"
#include "AM_FolderResolver.h"
#include "AM_PlatformFilesystem.h"
#include "ground/LogCapture.h"
#include "TemporaryFolder.h"

#include <cstdio>
#include <sys/stat.h>

namespace {

namespace fs = std::filesystem;

// Environment and alternate folder as a test wants them, put back afterwards.
class FolderResolver : public testing::Test {
protected:
    FolderResolver() {
        set("HOME", folder / "home");
        set("XDG_DATA_HOME", "");
        set("XDG_CONFIG_HOME", "");
        folder.makeFolder("home");
    }
    ~FolderResolver() override {
        AM_setAlternateFolder(nullptr);
        for (const auto& [name, value] : before)
            value.second ? setenv(name.c_str(), value.first.c_str(), 1) : unsetenv(name.c_str());
    }
    void set(const char* name, const std::string& value) {
        const char* const old = getenv(name);
        before.try_emplace(name, old ? old : "", old != nullptr);
        setenv(name, value.c_str(), 1);
    }
    // The folder below that of the test, with "!" and the error if there is one.
    std::string resolved(i32 kind) {
        AM_Directory directory(AM_String("\\unchanged"));
        const AM_FileErr error = resolveFolder(&directory, kind, 2, "vela", "Product");
        std::string path = AM_FilePath(directory.getPathString()).c_str('/');
        if (path.starts_with(folder.path())) path.erase(0, folder.path().size() + 1);
        return error == k_fileOk ? path : path + "!" + std::to_string(error);
    }

    TemporaryFolder folder;
    LogCapture log;

private:
    std::map<std::string, std::pair<std::string, bool>> before;
};

TEST_F(FolderResolver, kinds) {
    const std::string base = "home/.local/share", alternate = "Glassmere.data";
    folder.makeFolder("home/Documents");
    const struct {
        i32 kind;
        const char* usual;
        const char* inAlternate;
    } kinds[] = {
        {1, "/vela/Product/Data", "/Data"},
        {2, "/vela/Presets/Product", "/Presets/Product"},
        {3, "/vela/Product/Modules", "/Modules"},
        {4, "/vela/Product!2", "!2"},
        {5, "/vela/Product/MetaAssignment", "/MetaAssignment"},
        {6, "/vela/Tunefiles", "/Tunefiles"},
        {7, "/vela/CCMaps", "/CCMaps"},
        {9, "/vela/Support", "/Support"},
        {10, "/VST", "/VST"},
        {13, "/vela/Support", "/Support"},
    };
    for (const auto& row : kinds)
        EXPECT_EQ(resolved(row.kind), base + row.usual);
    folder.makeFolder("home/.local/share/vela/Product/NKS/Product");
    EXPECT_EQ(resolved(4), base + "/vela/Product/NKS/Product");
    struct stat status;
    stat((folder / "home/.local").c_str(), &status);
    EXPECT_EQ(status.st_mode & 0777, 0700u);
    EXPECT_TRUE(log.has("DOESN'T USE ALT LINK"));
    EXPECT_TRUE(log.has("SApplicationDir() AM_UseAlternateDir 0 getAltDirString() "));
    for (const i32 kind : {-1, 0, 11, 14})
        EXPECT_EQ(resolved(kind), "/unchanged");
    EXPECT_EQ(resolved(8), "home/Documents");
    EXPECT_EQ(resolved(12), "home/Desktop!2");
    EXPECT_FALSE(folder.has("home/Desktop"));
    EXPECT_EQ(AM_sharedFolders(2, "vela", "Product")[1].utf8(),
              "\\usr\\share\\vela\\Presets\\Product\\");

    // With another folder the usual one is neither made nor used.
    fs::remove_all(folder / "home/.local");
    folder.makeFolder(alternate);
    AM_setAlternateFolder((folder / alternate).c_str());
    for (const auto& row : kinds)
        EXPECT_EQ(resolved(row.kind), alternate + row.inAlternate);
    EXPECT_EQ(log.count("going back from ProductApp Support"), 4);
    EXPECT_TRUE(AM_sharedFolders(2, "vela", "Product").empty());
    AM_setAlternateFolder((folder / "missing").c_str());
    EXPECT_EQ(resolved(1), "missing!2");
    for (const char* refused : {"relative", "/with\\backslash", "/broken\xff"}) {
        AM_setAlternateFolder(refused);
        EXPECT_EQ(resolved(1), "!2");
        EXPECT_TRUE(log.has(std::string("can't be the data folder: ") + refused));
    }
    EXPECT_FALSE(folder.has("home/.local") || folder.has("missing"));
}

TEST_F(FolderResolver, dataHome) {
    folder.write("file", "");
    const std::pair<std::string, std::string> homes[] = {
        {folder / "new/data", "new/data/VST"},
        {"relative/data", "home/.local/share/VST"},
        {folder / "file", "file!20"}, // ENOTDIR
        {"/proc/none", "/proc/none!2"},
    };
    for (const auto& [home, expected] : homes) {
        set("XDG_DATA_HOME", home);
        EXPECT_EQ(resolved(k_folderPlugin), expected);
    }
    set("XDG_DATA_HOME", "");
    set("HOME", folder / "nobody");
    EXPECT_EQ(resolved(k_folderPlugin), "!2");
    EXPECT_FALSE(folder.has("nobody"));
    folder.write("home/.local/share/vela", "in the way");
    set("HOME", folder / "home");
    EXPECT_EQ(resolved(k_folderData), "home/.local/share!80");
}

TEST_F(FolderResolver, userDirectories) {
    for (const char* name : {"home/Desktop", "home/My \"Desk\"", "home/x", "elsewhere"})
        folder.makeFolder(name);
    const std::pair<std::string, std::string> lists[] = {
        {"# XDG_DESKTOP_DIR=\"$HOME/x\"\n", "home/Desktop"},
        {"XDG_DOCUMENTS_DIR=\"$HOME/x\"\r\n  XDG_DESKTOP_DIR=\"$HOME/My \\\"Desk\\\"\" # mine\n",
         "home/My \"Desk\""},
        {"XDG_DESKTOP_DIR=\"$HOME/none\"\nXDG_DESKTOP_DIR=\"" + folder / "elsewhere" + "/\"\n",
         "elsewhere"},
        {"XDG_DESKTOP_DIR=\"$HOME/\"", "home"},
        {"XDG_DESKTOP_DIR=\"$HOMER/"
         "x\"\nXDG_DESKTOP_DIR=x\nXDG_DESKTOP_DIR=\nXDG_DESKTOP_DIR=\"$HOM",
         "home/Desktop"},
        {"XDG_DESKTOP_DIR=\"/a\\\\b\"\n", "home/Desktop"},
        {std::string(65530, '\n') + "XDG_DESKTOP_DIR=\"$HOME/x\"", "home/Desktop"},
    };
    set("XDG_CONFIG_HOME", folder / "config");
    for (const auto& [list, expected] : lists) {
        folder.write("config/user-dirs.dirs", list);
        EXPECT_EQ(resolved(k_folderDesktop), expected) << list;
    }
}

TEST_F(FolderResolver, tree) {
    AM_FilesystemPtr tree;
    createFilesystem(AM_FilesystemFactory(), &tree, "Product", "Sub");
    const std::string base = "home/.local/share/vela/";
    EXPECT_TRUE(folder.has(base + "Presets/Sub/MIDI Programs"));
    EXPECT_TRUE(tree->isDirectory("/patches/MIDI Programs"));
    EXPECT_TRUE(tree->replaceFile("/support/a", "x", 1) && tree->replaceFile("/data/b", "x", 1));
    EXPECT_TRUE(tree->exists("/module-patches/a") && folder.has(base + "Product/Data/b"));
    folder.write(base + "Presets/Sub/.svn/in", "");
    EXPECT_FALSE(tree->exists("/patches/.svn"));
    EXPECT_EQ(tree->list("/patches").size(), 1u);
    EXPECT_EQ(tree->list("/").size(), 4u);

    // Nothing can be made: an empty tree that says so.
    AM_setAlternateFolder((folder / "missing").c_str());
    log.take();
    createFilesystem(AM_FilesystemFactory(), &tree, "Product", "Sub");
    EXPECT_EQ(log.count("File Error in file AM_FilesystemFactory.cpp line "), 4);
    for (const char* path : {"/patches", "/support", "/data", "/module-patches"})
        EXPECT_FALSE(tree->exists(path));
    EXPECT_EQ(tree->list("/").size(), 4u);
    EXPECT_FALSE(tree->replaceFile("/support/a", "x", 1) || folder.has("missing"));

    // Presets for all users are there without a folder of one's own.
    struct Shared : AM_FilesystemFactory {
        explicit Shared(const TemporaryFolder& folder) : path(folder.path().c_str()) {}
        std::vector<AM_String> getSharedPresetsPaths(const char*) const override { return {path}; }
        AM_String path;
    };
    const TemporaryFolder machine;
    machine.write("MIDI Programs/p.q3p", "x");
    createFilesystem(Shared(machine), &tree, "Product", "Sub");
    EXPECT_TRUE(tree->exists("/patches/MIDI Programs/p.q3p"));
}

TEST_F(FolderResolver, looksNextToTheLibrary) {
    constexpr const char* k_copyMark = "GLASSMERE_FOLDER_COPY";
    if (getenv(k_copyMark) != nullptr) { // this is the copy that the test below starts
        const AM_String found = getAltDirString();
        const auto shared = AM_sharedFolders(k_folderPresets, "vela", "Product");
        const AM_String first = shared.size() == 3 ? shared[0] : AM_String();
        std::printf("found %s,%d%d%d", AM_FilePath(found).c_str('/'),
                    log.has("Link found, HERE WE GO:"), log.has("WRONG Link"),
                    log.has("ALTERNATE_DIRECTORY, HERE WE GO:"));
        std::printf("%s\n", AM_FilePath(first).c_str('/'));
        return;
    }
    const std::string contents = "Glassmere.vst3/Contents/", binary = contents + "x86_64-linux/";
    folder.makeFolder(binary);
    fs::copy_file("/proc/self/exe", folder / (binary + "program"));
    folder.link("started", binary + "program");
    set(k_copyMark, "1");
    const auto found = [&] {
        // By a link, and under a name that can't be found from where it runs.
        const std::string command =
            "cd / && exec bash -c \"exec -a program '" + folder / "started" +
            "' --gtest_filter=FolderResolver.looksNextToTheLibrary\" | sed -n 's/^found //p'";
        FILE* const output = popen(command.c_str(), "r");
        std::string line(4096, 0);
        line.resize(fread(line.data(), 1, line.size(), output));
        pclose(output);
        return line;
    };
    const auto at = [&](const std::string& name, const char* lines) {
        return folder / name + "," + lines + "\n";
    };
    // The bundle's own data goes before the machine's.
    EXPECT_EQ(found(), ",000" + folder / (contents + "Resources/vela/Presets/Product") + "\n");
    folder.makeFolder(contents + "Resources/Glassmere.data");
    EXPECT_EQ(found(), at(contents + "Resources/Glassmere.data", "001"));
    folder.link(binary + "Glassmere.data", "none");
    EXPECT_EQ(found(), at(contents + "Resources/Glassmere.data", "111"));
    folder.makeFolder(binary + "none");
    EXPECT_EQ(found(), at(binary + "none", "100"));
}

TEST_F(FolderResolver, shortcuts) {
    folder.write("target", "");
    folder.link("link", "target");
    folder.link("loop", "loop");
    const auto follow = [](const std::string& path) {
        return std::string(resolveShortcut(AM_String(path.c_str()).wide().c_str()));
    };
    EXPECT_EQ(follow(folder / "link"), folder / "target");
    EXPECT_TRUE(log.has("(equally): " + folder / "target"));
    EXPECT_EQ(follow(folder / "loop") + follow("") + follow(std::string(100000, '/')), "/");
    EXPECT_STREQ(resolveShortcut(nullptr), "");
    const std::string deep = std::string(200, 'd') + "/" + std::string(200, 'd');
    folder.makeFolder(deep);
    EXPECT_EQ(follow(folder / deep), "");
}

} // namespace
