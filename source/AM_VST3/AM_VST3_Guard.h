// What stands between the plug-in and the host's C boundary.
#pragma once

#include "AM_Log.h"

#include <exception>
#include <type_traits>

// The result of `body`, or `otherwise`, with a line in the log, if it throws. Any thread.
template <class Body, class Result = std::invoke_result_t<Body>>
Result AM_VST3_guarded(const char* where, std::type_identity_t<Result> otherwise,
                       Body&& body) noexcept {
    try {
        return body();
    } catch (const std::exception& error) {
        AM_Log("ERROR: %s: %s", where, error.what());
    } catch (const char* text) {
        AM_Log("ERROR: %s: %s", where, text);
    } catch (...) {
        AM_Log("ERROR: %s failed", where);
    }
    return otherwise;
}
