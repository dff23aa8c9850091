// The audio managers behind the processors of this library.
#pragma once

#include "AM_VST3_Notices.h"

#include <memory>

class AM_AudioMan;

// Uses a manager that a processor owns.
class AM_VST3_ManagerUser {
public:
    virtual ~AM_VST3_ManagerUser() = default;
    // The manager is about to be deleted; from the return on it is not touched any more.
    virtual void managerGone() = 0;
};

// A processor tells its controller where its manager lies by a message, which anybody can send and
// which outlives its sender. So what arrives is used only while it stands here. Host main thread;
// any thread is safe.
namespace AM_VST3_Managers {

// Enters a running manager, with its notices; both last until remove.
std::shared_ptr<AM_VST3_Notices> add(AM_AudioMan* manager);
// Takes it out, and its users with it.
void remove(AM_AudioMan* manager);

struct Link {
    AM_AudioMan* manager = nullptr; // null: there is none at the address
    std::shared_ptr<AM_VST3_Notices> notices;
};
// Finds the manager at `address` and enters a user for it; each user has one manager. Without one
// at the address the user keeps what it has.
Link connect(i64 address, AM_VST3_ManagerUser* user);
void disconnect(AM_VST3_ManagerUser* user);

} // namespace AM_VST3_Managers
