#include "AM_PlatformFilesystem.h"
#include "ground/LogCapture.h"
#include "TemporaryFolder.h"

#include <functional>
#include <sys/stat.h>
#include <utility>

namespace {

AM_String text(const std::string& utf8) {
    return AM_String(std::string_view(utf8));
}

class Platform : public testing::Test {
protected:
    Lines listed(AM_Filesystem& tree, const char* path) {
        Lines names;
        for (const AM_FilePath& entry : tree.list(path))
            names.emplace_back(entry.c_str('/'));
        return names;
    }
    bool replace(const char* path, const std::string& content) {
        return files.replaceFile(path, content.data(), content.size());
    }

    TemporaryFolder folder;
    AM_PlatformFilesystem files{folder.path().c_str()};
    LogCapture log;
};

TEST_F(Platform, foldersAndFiles) {
    AM_Directory directory(text(folder.path()));
    const std::string root = directory.getPathString().utf8();
    EXPECT_EQ(root.back(), '\\');
    EXPECT_EQ(directory.enter("a", false), k_fileNotFound);
    EXPECT_EQ(directory.enter("..", true), k_fileNotFound);
    EXPECT_EQ(directory.enter("a", true), k_fileOk);
    EXPECT_EQ(directory.getPathString().utf8(), root + "a\\");
    EXPECT_EQ(directory.createDirectory("a"), k_fileOk);
    EXPECT_EQ(directory.createDirectory("a"), AM_FileErr{EEXIST});
    AM_File file;
    EXPECT_EQ(directory.getFile("f", &file, false), k_fileNotFound);
    EXPECT_EQ(directory.getFile("a", &file, true), k_fileNotFound);
    EXPECT_EQ(directory.getFile("f", &file, true), k_fileOk);
    EXPECT_EQ(directory.createFile("f", &file, false), k_fileNotCreated);
    EXPECT_EQ(directory.createFile("a", &file, true), k_fileNotCreated);
    static int expected = 1; // once per process, so not when the test is repeated
    EXPECT_EQ(log.count("vela Error 1: file couldn't be created to " + root + "a\\f - this"),
              expected);
    EXPECT_EQ(log.count("vela Error 1"), std::exchange(expected, 0));
    EXPECT_EQ(directory.enter("f", true), k_fileNotFolder);

    AM_String name;
    AM_Directory parent;
    file.getName(&name);
    file.getParent(&parent);
    EXPECT_EQ(name.utf8() + "|" + parent.getPathString().utf8(), "f|" + root + "a\\");
    directory.getName(&name);
    EXPECT_EQ(name.utf8(), "a");
    EXPECT_STREQ(AM_Directory(text(folder / "a/f")).getTypeName(), "File");
    EXPECT_STREQ(directory.getTypeName(), "Directory");
    EXPECT_GT(file.getDateModified(), 2025u * 65536);
    EXPECT_EQ(AM_File(text(folder / "none")).getDateModified(), 1u);
    EXPECT_EQ(directory.deleteObject(), AM_FileErr{ENOTEMPTY});
    EXPECT_EQ(file.deleteObject(), k_fileOk);
    EXPECT_FALSE(file.exists());
    AM_Directory inner(directory.pathOf("a"));
    EXPECT_EQ(inner.deleteObject(), k_fileOk);
    for (int i = 0; i < 100; ++i)
        directory.moveToParent();
    EXPECT_EQ(directory.getPathString().utf8(), "\\");
    // No folder at all is not the root.
    AM_Directory nothing;
    EXPECT_FALSE(nothing.exists("usr") || nothing.exists(""));
    EXPECT_EQ(nothing.createFile("f", &file, true), k_fileNotCreated);
}

TEST_F(Platform, walksInOrder) {
    for (const char* name : {"b", "C", "a.lnk", "back\\slash", "broken\xff", "Folder/in"})
        folder.write(name, "");
    folder.link("link", "Folder");
    folder.link("nowhere", "none");
    folder.link("loop", "loop");
    AM_Directory directory(text(folder.path()));
    AM_DirectoryIterator walk(directory, [](AM_FileObject& object) {
        return object.getPathString().utf8().back() != 'b';
    });
    Lines shown;
    AM_String name;
    while (const auto object = walk.next()) {
        object->getName(&name);
        shown.push_back(name.utf8() + (dynamic_cast<AM_Directory*>(object.get()) ? "/" : ""));
    }
    EXPECT_EQ(shown, (Lines{"a.lnk", "C", "Folder/", "link/", "loop", "nowhere"}));
    const Lines all{"a.lnk", "b", "C", "Folder", "link", "loop", "nowhere"};
    EXPECT_EQ(listed(files, ""), all);
    EXPECT_EQ(listed(files, "/"), all);
    EXPECT_EQ(listed(files, "/link"), Lines{"link/in"});
    EXPECT_FALSE(files.exists("a") || files.exists("nowhere") || files.exists("loop"));
    EXPECT_TRUE(files.isDirectory("/link") && files.isDirectory("") && files.exists("b"));
}

TEST_F(Platform, readsAndWrites) {
    const AM_VirtualFilePtr file = files.open("newtestfile.txt", AM_Filesystem::kWrite);
    EXPECT_STREQ(file->getContentBuffer(), "");
    EXPECT_TRUE(folder.has("newtestfile.txt"));
    file->fprintf(32, "%s %d", "text", 12);
    EXPECT_STREQ(file->getContentBuffer(), "text 12");
    EXPECT_EQ(file->tell(), 7);
    file->getContentBuffer()[0] = 'T';
    EXPECT_TRUE(file->saveContent() && file->loadContent());
    EXPECT_EQ(folder.read("newtestfile.txt"), "Text 12");
    EXPECT_TRUE(file->seek(-1, k_seekStart) && file->seek(0, 3));
    EXPECT_EQ(file->getByte(-1), '2');

    const AM_VirtualFilePtr reader = files.open("newtestfile.txt", AM_Filesystem::kRead);
    folder.write("newtestfile.txt", "cut");
    EXPECT_STREQ(reader->getContentBuffer(), "cut");
    EXPECT_EQ(reader->getContentSize(), 3);
    std::filesystem::remove(folder / "newtestfile.txt"); // vanishes while it is open
    EXPECT_EQ(reader->size(), 3);
    EXPECT_FALSE(reader->saveContent());
    EXPECT_EQ(reader->write("x", 1), 0u);
    EXPECT_TRUE(reader->hasError());
    EXPECT_EQ(reader->getContentBuffer(), nullptr);

    folder.write("large", "");
    std::filesystem::resize_file(folder / "large", k_maxFileContent + 1);
    EXPECT_FALSE(files.open("large", AM_Filesystem::kRead)->loadContent());
    EXPECT_TRUE(log.has("large can't be read"));
    for (const std::string& root : {std::string(), std::string(1024, 'x')}) {
        AM_PlatformFilesystem none(root.c_str());
        EXPECT_FALSE(none.exists("") || none.exists("usr") || none.createFolder("f"));
        EXPECT_TRUE(none.open("f", AM_Filesystem::kWrite)->hasError());
        EXPECT_FALSE(none.replaceFile("f", "x", 1));
    }
}

TEST_F(Platform, readOnlyRootsStandBehind) {
    const TemporaryFolder shared, third;
    folder.write("own", "mine");
    folder.write("hidden", "mine");
    shared.write("own", "theirs");
    shared.write("hidden/in", "theirs");
    shared.write("Factory/a", "theirs");
    third.write("Factory/a", "third");
    third.write("Factory/B", "third");
    const auto before = shared.snapshot();
    files.addReadOnlyRoot(shared.path().c_str());
    files.addReadOnlyRoot(third.path().c_str());
    EXPECT_EQ(listed(files, "/"), (Lines{"Factory", "hidden", "own"}));
    EXPECT_EQ(listed(files, "/Factory"), (Lines{"Factory/a", "Factory/B"}));
    EXPECT_TRUE(listed(files, "/hidden").empty());
    EXPECT_STREQ(files.open("/own", AM_Filesystem::kRead)->getContentBuffer(), "mine");
    EXPECT_STREQ(files.open("/Factory/a", AM_Filesystem::kRead)->getContentBuffer(), "theirs");
    EXPECT_TRUE(files.isDirectory("Factory") && !files.isDirectory("hidden"));
    EXPECT_TRUE(replace("/Factory/a", "edited"));
    EXPECT_FALSE(files.open("/Factory/new", AM_Filesystem::kWrite)->hasError());
    EXPECT_STREQ(files.open("/Factory/a", AM_Filesystem::kRead)->getContentBuffer(), "edited");
    EXPECT_EQ(listed(files, "/Factory"), (Lines{"Factory/a", "Factory/B", "Factory/new"}));
    EXPECT_EQ(shared.snapshot(), before);
}

TEST_F(Platform, replacesInOneStep) {
    folder.write("real/file", "old");
    folder.permit("real/file", 0640);
    folder.link("link", "real/file");
    const AM_VirtualFilePtr reader = files.open("link", AM_Filesystem::kRead);
    EXPECT_TRUE(replace("link", "new") && replace("fresh", "") && replace("fresh", "x"));
    EXPECT_STREQ(reader->getContentBuffer(), "old");
    const std::map<std::string, std::string> expected{
        {"fresh", "x"}, {"link", "-> real/file"}, {"real", ""}, {"real/file", "new"}};
    EXPECT_EQ(folder.snapshot(), expected);
    struct stat status;
    stat((folder / "real/file").c_str(), &status);
    EXPECT_EQ(status.st_mode & 0777, 0640u);
    EXPECT_TRUE(log.take().empty());
}

// Whatever refuses the new content, the log says so and all is as it was.
TEST_F(Platform, faultsLeaveWhatWasThere) {
    folder.write("file", "old");
    folder.write("other", "old");
    folder.write("locked/file", "old");
    folder.link("loop", "loop2");
    folder.link("loop2", "loop");
    folder.link("dangling", "none");
    folder.link("device", "/dev/full");
    ASSERT_EQ(mkfifo((folder / "pipe").c_str(), 0666), 0);
    folder.permit("locked", 0555);
    folder.write("open/file", "old");
    folder.permit("open", 0777);
    folder.permit("open/file", 0444);
    const std::string longName(300, 'n');
    const auto before = folder.snapshot();
    const auto asNobody = [&](const char* path) {
        AsNobody nobody;
        return replace(path, "new");
    };
    const auto onFullDisk = [&](const char* path) {
        FileSizeLimit limit(4096);
        return replace(path, std::string(10000, 'x'));
    };
    const auto usually = [&](const char* path) { return replace(path, "new"); };
    const struct {
        const char* path;
        std::function<bool(const char*)> attempt;
        int error;
        bool readable;
    } faults[] = {
        {"missing/file", usually, ENOENT, false}, {"file/file", usually, ENOTDIR, false},
        {"loop", usually, ELOOP, false},          {"dangling", usually, ENOENT, false},
        {"locked", usually, EISDIR, false},       {"pipe", usually, ENXIO, false},
        {"device", usually, ENXIO, false},        {"locked/file", asNobody, EACCES, true},
        {"open/file", asNobody, EACCES, true},    {"other", onFullDisk, EFBIG, true},
        {"new", onFullDisk, EFBIG, false},        {longName.c_str(), usually, ENAMETOOLONG, false},
    };
    for (const auto& fault : faults) {
        SCOPED_TRACE(fault.path);
        EXPECT_FALSE(fault.attempt(fault.path));
        EXPECT_EQ(log.count("Failed to create file " + folder.path()), 1);
        EXPECT_EQ(log.count("AM_FileErr " + std::to_string(fault.error) + ": "), 1);
        log.take();
        const AM_VirtualFilePtr reader = files.open(fault.path, AM_Filesystem::kRead);
        EXPECT_EQ(!reader->hasError() && reader->loadContent(), fault.readable);
        EXPECT_EQ(log.has("Failed to open file "), !fault.readable);
        if (std::string_view("device pipe locked loop").find(fault.path) != std::string::npos) {
            EXPECT_TRUE(files.open(fault.path, AM_Filesystem::kWrite)->hasError());
        }
        log.take();
        EXPECT_EQ(folder.snapshot(), before);
    }
    EXPECT_TRUE(listed(files, "missing").empty() && listed(files, "pipe").empty());
    EXPECT_EQ(log.count("Failed to list folder "), 2);
    // Opened to be written, a file is emptied; what then does not fit is reported.
    const AM_VirtualFilePtr writer = files.open("other", AM_Filesystem::kWrite);
    u32 written = 0;
    {
        FileSizeLimit limit(4096);
        written = writer->write(std::string(10000, 'x').data(), 10000);
    }
    EXPECT_EQ(written, 4096u);
    EXPECT_TRUE(writer->hasError());
    EXPECT_TRUE(log.has("ERROR: 4096 of 10000 bytes written to "));
}

} // namespace
