#include "AM_VST3_MainLoop.h"

#include "base/source/fobject.h"

#if SMTG_OS_LINUX
// The host may keep it for longer than its owner lives.
class AM_VST3_MainLoop::Timer final : public Steinberg::FObject,
                                      public Steinberg::Linux::ITimerHandler {
public:
    explicit Timer(Client& owner) : client(&owner) {}
    void forget() { client = nullptr; }
    void PLUGIN_API onTimer() override {
        if (client) client->periodic(true);
    }

    OBJ_METHODS(Timer, Steinberg::FObject)
    DEFINE_INTERFACES
    DEF_INTERFACE(Steinberg::Linux::ITimerHandler)
    END_DEFINE_INTERFACES(Steinberg::FObject)
    REFCOUNT_METHODS(Steinberg::FObject)

private:
    Client* client;
};
#endif

AM_VST3_MainLoop::AM_VST3_MainLoop(Client& owner) : client(owner), listener(owner) {
}

void AM_VST3_MainLoop::start(Steinberg::FUnknown* host) {
    stop();
#if SMTG_OS_LINUX
    Steinberg::FUnknownPtr<Steinberg::Linux::IRunLoop> offered(host);
    if (offered) {
        timer = new Timer(client);
        if (offered->registerTimer(timer, k_tickMilliseconds) == Steinberg::kResultOk) {
            runLoop = offered.getInterface();
            onHost = true;
            return;
        }
        timer->release();
        timer = nullptr;
    }
#endif
    tickId = AM_startTick(&listener);
}

void AM_VST3_MainLoop::stop() {
#if SMTG_OS_LINUX
    if (timer) {
        timer->forget();
        runLoop->unregisterTimer(timer);
        timer->release();
        timer = nullptr;
        runLoop = nullptr;
    }
#endif
    onHost = false;
    if (tickId != 0) AM_stopTick(tickId);
    tickId = 0;
}
