// Real folders for tests, and what makes the system refuse to write.
#pragma once

#include "AM_String.h"

#include <csignal>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <gtest/gtest.h>
#include <map>
#include <sstream>
#include <string>
#include <sys/resource.h>
#include <unistd.h>

// A new folder that any user may look into; goes with all in it.
class TemporaryFolder {
public:
    TemporaryFolder() {
        std::string name = testing::TempDir() + "glassmere-XXXXXX";
        folder = std::filesystem::canonical(mkdtemp(name.data()));
        permit(".", 0755);
    }
    ~TemporaryFolder() {
        std::error_code ignored;
        std::filesystem::remove_all(folder, ignored);
    }
    TemporaryFolder(const TemporaryFolder&) = delete;
    TemporaryFolder& operator=(const TemporaryFolder&) = delete;

    std::string operator/(const std::string& name) const { return folder / name; }
    std::string path() const { return folder; }
    // Makes the folders on the way too.
    void write(const std::string& name, const std::string& text) const {
        std::filesystem::create_directories((folder / name).parent_path());
        std::ofstream(folder / name, std::ios::binary) << text;
    }
    void makeFolder(const std::string& name) const {
        std::filesystem::create_directories(folder / name);
    }
    void link(const std::string& name, const std::string& target) const {
        std::filesystem::create_symlink(target, folder / name);
    }
    void permit(const std::string& name, unsigned mode) const {
        std::filesystem::permissions(folder / name, static_cast<std::filesystem::perms>(mode));
    }
    bool has(const std::string& name) const {
        return std::filesystem::exists(std::filesystem::symlink_status(folder / name));
    }
    std::string read(const std::string& name) const {
        std::ostringstream text;
        text << std::ifstream(folder / name, std::ios::binary).rdbuf();
        return text.str();
    }
    // Everything in it by name: the content of files, where links lead.
    std::map<std::string, std::string> snapshot() const {
        namespace fs = std::filesystem;
        std::map<std::string, std::string> all;
        for (const fs::directory_entry& entry : fs::recursive_directory_iterator(folder)) {
            const std::string name = entry.path().lexically_relative(folder);
            if (entry.is_symlink())
                all[name] = "-> " + fs::read_symlink(entry).string();
            else
                all[name] = entry.is_regular_file() ? read(name) : "";
        }
        return all;
    }

private:
    std::filesystem::path folder;
};

// Without the rights that root has; for another user it changes nothing.
class AsNobody {
public:
    AsNobody() : wasRoot(geteuid() == 0 && seteuid(65534) == 0) {}
    ~AsNobody() {
        if (wasRoot && seteuid(0) != 0) abort();
    }
    AsNobody(const AsNobody&) = delete;
    AsNobody& operator=(const AsNobody&) = delete;

private:
    bool wasRoot;
};

// No file can grow beyond so many bytes: writes fail as on a full disk.
class FileSizeLimit {
public:
    explicit FileSizeLimit(rlim_t bytes) : handler(std::signal(SIGXFSZ, SIG_IGN)) {
        getrlimit(RLIMIT_FSIZE, &before);
        const rlimit limit{bytes, before.rlim_max};
        setrlimit(RLIMIT_FSIZE, &limit);
    }
    ~FileSizeLimit() {
        setrlimit(RLIMIT_FSIZE, &before);
        std::signal(SIGXFSZ, handler);
    }
    FileSizeLimit(const FileSizeLimit&) = delete;
    FileSizeLimit& operator=(const FileSizeLimit&) = delete;

private:
    rlimit before{};
    void (*handler)(int);
};
