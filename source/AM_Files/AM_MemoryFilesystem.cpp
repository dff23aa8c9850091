#include "AM_MemoryFilesystem.h"

#include "AM_Log.h"

#include <algorithm>
#include <chrono>
#include <limits>
#include <map>
#include <mutex>

namespace {

// Key of an entry: the names from the root on with "\" between; "" for the root.
std::string keyOf(const AM_FilePath& path) {
    std::string key;
    for (const AM_FilePath segment : path) {
        if (segment == AM_FilePath("/")) continue;
        if (!key.empty()) key += '\\';
        key += segment.text().utf8();
    }
    return key;
}

std::string parentOf(const std::string& key) {
    const size_t separator = key.rfind('\\');
    return separator == std::string::npos ? std::string() : key.substr(0, separator);
}

bool isBelow(const std::string& key, const std::string& folder) {
    return folder.empty() ? !key.empty()
                          : key.size() > folder.size() && key[folder.size()] == '\\' &&
                                key.compare(0, folder.size(), folder) == 0;
}

u32 packedToday() {
    using namespace std::chrono;
    const year_month_day today(floor<days>(system_clock::now()));
    return static_cast<u32>(static_cast<int>(today.year())) * 65536 +
           static_cast<unsigned>(today.month()) * 256 + static_cast<unsigned>(today.day());
}

} // namespace

struct AM_MemoryFilesystem::Content {
    std::string bytes;
    u32 dateModified = packedToday();
};

// All of it under `mutex`.
struct AM_MemoryFilesystem::Store {
    using ContentPtr = std::shared_ptr<Content>;

    mutable std::mutex mutex;
    std::map<std::string, ContentPtr> entries{{"", nullptr}}; // null for a folder
    u64 capacity = k_memoryCapacity;
    u64 operations = 0;
    u64 firstFailure = 0;
    u64 failures = 0;
    bool readOnly = false;

    // Counts an operation; true if it is to fail.
    bool fails() {
        const u64 number = ++operations;
        return number >= firstFailure && number - firstFailure < failures;
    }
    bool isFolder(const std::string& key) const {
        const auto entry = entries.find(key);
        return entry != entries.end() && entry->second == nullptr;
    }
    ContentPtr file(const std::string& key) const {
        const auto entry = entries.find(key);
        return entry == entries.end() ? nullptr : entry->second;
    }
    bool canWrite(const std::string& key) const {
        return !readOnly && !isFolder(key) && isFolder(parentOf(key));
    }
    u64 room() const {
        u64 used = 0;
        for (const auto& [key, content] : entries)
            if (content != nullptr) used += content->bytes.size();
        return capacity > used ? capacity - used : 0;
    }
    bool makeFolders(const std::string& key) {
        for (std::string folder = key; !isFolder(folder); folder = parentOf(folder))
            if (file(folder) != nullptr) return false;
        for (std::string folder = key; !isFolder(folder); folder = parentOf(folder))
            entries[folder] = nullptr;
        return true;
    }
};

class AM_MemoryFilesystem::File final : public AM_VirtualFile {
public:
    File(std::shared_ptr<Store> store, std::shared_ptr<Content> content, bool writable)
        : store(std::move(store)), content(std::move(content)), writable(writable) {}

    bool saveContent() override;
    bool loadContent() override { return getContentBuffer() != nullptr; }
    bool hasError() override { return error; }
    i64 size() override;
    u32 getDateModified(i32 selector) override;
    bool seek(i64 distance, i32 origin) override;
    i64 tell() override;
    u32 write(const void* buffer, u32 length) override;
    char* getContentBuffer() override;
    i64 getContentSize() override;

private:
    u32 writeLocked(const char* bytes, u32 length);

    const std::shared_ptr<Store> store;
    const std::shared_ptr<Content> content;
    std::optional<std::string> cache; // of the content
    i64 offset = 0;
    const bool writable;
    bool error = false;
};

bool AM_MemoryFilesystem::File::saveContent() {
    if (error || !writable) return false;
    const i64 length = getContentSize();
    const char* buffer = getContentBuffer();
    if (buffer == nullptr) return false;
    const i64 before = offset;
    offset = 0;
    const u32 written = write(buffer, static_cast<u32>(length));
    offset = before;
    if (written != length || size() != length) error = true;
    return !error;
}

i64 AM_MemoryFilesystem::File::size() {
    std::lock_guard lock(store->mutex);
    if (store->fails()) error = true;
    return error ? 0 : static_cast<i64>(content->bytes.size());
}

u32 AM_MemoryFilesystem::File::getDateModified(i32 selector) {
    std::lock_guard lock(store->mutex);
    if (error || selector != 0) return 0;
    return store->fails() ? 1 : content->dateModified;
}

bool AM_MemoryFilesystem::File::seek(i64 distance, i32 origin) {
    std::lock_guard lock(store->mutex);
    if (error || store->fails()) return true;
    i64 base = 0;
    if (origin == k_seekEnd)
        base = static_cast<i64>(content->bytes.size());
    else if (origin == k_seekCurrent)
        base = offset;
    else if (origin != k_seekStart)
        return true;
    if (distance < -base || distance > std::numeric_limits<i64>::max() - base) return true;
    offset = base + distance;
    return false;
}

i64 AM_MemoryFilesystem::File::tell() {
    std::lock_guard lock(store->mutex);
    return error || store->fails() ? -1 : offset;
}

u32 AM_MemoryFilesystem::File::write(const void* buffer, u32 length) {
    std::lock_guard lock(store->mutex);
    if (error) return 0;
    const u32 written = writeLocked(static_cast<const char*>(buffer), length);
    cache.reset(); // only now, as `buffer` may be it
    return written;
}

u32 AM_MemoryFilesystem::File::writeLocked(const char* bytes, u32 length) {
    const bool refused = !writable || store->readOnly || (bytes == nullptr && length > 0);
    if (store->fails() || refused) {
        error = true;
        return 0;
    }
    const u64 start = static_cast<u64>(offset);
    const u64 end = content->bytes.size() + store->room(); // as far as there is room
    const u32 fitting = start < end ? static_cast<u32>(std::min<u64>(length, end - start)) : 0;
    if (fitting == 0) {
        error = length > 0;
        return 0;
    }
    if (content->bytes.size() < start + fitting) content->bytes.resize(start + fitting);
    std::copy_n(bytes, fitting, content->bytes.data() + start);
    content->dateModified = packedToday();
    offset += fitting;
    return fitting;
}

char* AM_MemoryFilesystem::File::getContentBuffer() {
    std::lock_guard lock(store->mutex);
    if (error) return nullptr;
    if (!cache.has_value()) {
        if (store->fails() || content->bytes.size() > static_cast<u64>(k_maxFileContent)) {
            error = true;
            return nullptr;
        }
        cache = content->bytes;
    }
    return cache->data();
}

i64 AM_MemoryFilesystem::File::getContentSize() {
    return getContentBuffer() == nullptr ? 0 : static_cast<i64>(cache->size());
}

AM_MemoryFilesystem::AM_MemoryFilesystem() : store(std::make_shared<Store>()) {
}

bool AM_MemoryFilesystem::addFile(const AM_FilePath& path, std::string_view content) {
    const std::string key = keyOf(path);
    std::lock_guard lock(store->mutex);
    if (store->isFolder(key) || !store->makeFolders(parentOf(key))) return false;
    store->entries[key] = std::make_shared<Content>(Content{std::string(content)});
    return true;
}

bool AM_MemoryFilesystem::addDirectory(const AM_FilePath& path) {
    std::lock_guard lock(store->mutex);
    return store->makeFolders(keyOf(path));
}

bool AM_MemoryFilesystem::remove(const AM_FilePath& path) {
    const std::string key = keyOf(path);
    std::lock_guard lock(store->mutex);
    return std::erase_if(store->entries, [&](const auto& entry) {
               return isBelow(entry.first, key) || (entry.first == key && !key.empty());
           }) > 0;
}

std::optional<std::string> AM_MemoryFilesystem::content(const AM_FilePath& path) const {
    std::lock_guard lock(store->mutex);
    const Store::ContentPtr file = store->file(keyOf(path));
    return file == nullptr ? std::nullopt : std::optional(file->bytes);
}

void AM_MemoryFilesystem::setCapacity(u64 bytes) {
    std::lock_guard lock(store->mutex);
    store->capacity = bytes;
}

void AM_MemoryFilesystem::setReadOnly(bool readOnly) {
    std::lock_guard lock(store->mutex);
    store->readOnly = readOnly;
}

void AM_MemoryFilesystem::failOperation(u64 nth, u64 count) {
    std::lock_guard lock(store->mutex);
    store->firstFailure = store->operations + nth;
    store->failures = nth == 0 ? 0 : count;
}

u64 AM_MemoryFilesystem::operations() const {
    std::lock_guard lock(store->mutex);
    return store->operations;
}

bool AM_MemoryFilesystem::existsLocal(const AM_FilePath& path) {
    std::lock_guard lock(store->mutex);
    return !store->fails() && store->entries.contains(keyOf(path));
}

bool AM_MemoryFilesystem::isDirectoryLocal(const AM_FilePath& path) {
    std::lock_guard lock(store->mutex);
    return !store->fails() && store->isFolder(keyOf(path));
}

void AM_MemoryFilesystem::openLocal(const AM_FilePath& path, AM_VirtualFilePtr* result, i32 mode) {
    const std::string key = keyOf(path);
    const bool writes = mode != kRead;
    {
        std::lock_guard lock(store->mutex);
        const bool possible = !store->fails() && (!writes || store->canWrite(key));
        Store::ContentPtr file = possible ? store->file(key) : nullptr;
        if (possible && writes) {
            if (file == nullptr) file = store->entries[key] = std::make_shared<Content>();
            *file = Content{};
        }
        if (file != nullptr) *result = std::make_shared<File>(store, std::move(file), writes);
    }
    if (*result == nullptr)
        AM_Log(writes ? "Failed to create file %s" : "Failed to open file %s", path.text().c_str());
}

void AM_MemoryFilesystem::listLocal(const AM_FilePath& path, std::vector<AM_FilePath>* result) {
    const std::string folder = keyOf(path);
    {
        std::lock_guard lock(store->mutex);
        if (!store->fails()) {
            for (const auto& [key, content] : store->entries)
                if (!key.empty() && parentOf(key) == folder) result->emplace_back(key.c_str());
        }
    }
    std::sort(result->begin(), result->end(), AM_listedBefore);
}

bool AM_MemoryFilesystem::replaceLocal(const AM_FilePath& path, const void* bytes, size_t length) {
    const std::string key = keyOf(path);
    bool replaced = false;
    {
        std::lock_guard lock(store->mutex);
        replaced = !store->fails() && store->canWrite(key) && length <= store->room() &&
                   (bytes != nullptr || length == 0);
        if (replaced) {
            auto content = std::make_shared<Content>();
            if (length > 0) content->bytes.assign(static_cast<const char*>(bytes), length);
            store->entries[key] = std::move(content);
        }
    }
    if (!replaced) AM_Log("Failed to create file %s", path.text().c_str());
    return replaced;
}
