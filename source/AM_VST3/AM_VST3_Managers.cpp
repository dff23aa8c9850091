#include "AM_VST3_Managers.h"

#include "AM_ParaMan.h"

#include <algorithm>
#include <mutex>
#include <vector>

namespace AM_VST3_Managers {

namespace {

struct Entry {
    AM_AudioMan* manager;
    std::shared_ptr<AM_VST3_Notices> notices;
    std::vector<AM_VST3_ManagerUser*> users;
};

struct Registry {
    // Held while users are told, so that none is told behind its disconnect.
    std::recursive_mutex mutex;
    std::vector<Entry> entries;
};

Registry& registry() {
    static Registry all;
    return all;
}

} // namespace

std::shared_ptr<AM_VST3_Notices> add(AM_AudioMan* manager) {
    const i32 count = manager->getParaMan() ? manager->getParaMan()->getNumParams() : 0;
    auto notices = std::make_shared<AM_VST3_Notices>(count);
    const std::lock_guard lock(registry().mutex);
    registry().entries.push_back({manager, notices, {}});
    return notices;
}

void remove(AM_AudioMan* manager) {
    std::vector<Entry>& entries = registry().entries;
    const std::lock_guard lock(registry().mutex);
    const auto found = std::find_if(entries.begin(), entries.end(),
                                    [=](const Entry& entry) { return entry.manager == manager; });
    if (found == entries.end()) return;
    const Entry gone = std::move(*found);
    entries.erase(found);
    for (AM_VST3_ManagerUser* user : gone.users)
        user->managerGone();
}

Link connect(i64 address, AM_VST3_ManagerUser* user) {
    const std::lock_guard lock(registry().mutex);
    for (Entry& entry : registry().entries) {
        if (reinterpret_cast<i64>(entry.manager) != address) continue;
        disconnect(user);
        entry.users.push_back(user);
        return {entry.manager, entry.notices};
    }
    return {};
}

void disconnect(AM_VST3_ManagerUser* user) {
    const std::lock_guard lock(registry().mutex);
    for (Entry& entry : registry().entries)
        std::erase(entry.users, user);
}

} // namespace AM_VST3_Managers
