#include "AM_ModelCache.h"

#include <algorithm>
#include <array>
#include <cstring>
#include <mutex>

namespace AM_ModelCache {

namespace {

struct Models {
    std::mutex mutex;
    std::array<AM_DelayModel, k_numModels> kept;
    i32 count = 0;
    i32 next = 0; // place of the next one

    const AM_DelayModel* find(const char* code) const {
        for (i32 i = 0; i < count; ++i)
            if (std::strncmp(kept[static_cast<size_t>(i)].code, code, k_maxCode - 1) == 0)
                return &kept[static_cast<size_t>(i)];
        return nullptr;
    }
};

Models& models() {
    static Models all;
    return all;
}

} // namespace

bool find(const char* code, AM_DelayModel* model) {
    const std::lock_guard lock(models().mutex);
    const AM_DelayModel* found = models().find(code);
    if (found) *model = *found;
    return found != nullptr;
}

void keep(const AM_DelayModel& model) {
    Models& all = models();
    const std::lock_guard lock(all.mutex);
    if (all.find(model.code)) return;
    all.kept[static_cast<size_t>(all.next)] = model;
    all.next = (all.next + 1) % k_numModels;
    all.count = std::min(all.count + 1, k_numModels);
}

} // namespace AM_ModelCache
