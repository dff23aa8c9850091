#include "AM_ImageLoader.h"

#include "AM_Log.h"

#include <boost/date_time/posix_time/posix_time_types.hpp>
#include <exception>

AM_ImageLoader::AM_ImageLoader(Wait newWait) : wait(std::move(newWait)) {
    if (!wait)
        wait = [](i32 milliseconds) {
            boost::this_thread::sleep(boost::posix_time::milliseconds(milliseconds));
        };
}

AM_ImageLoader::~AM_ImageLoader() {
    stop();
}

void AM_ImageLoader::add(const std::string& file, f32 screenGamma) {
    if (file.empty() || screenGamma != screenGamma) return;
    const Request request{file, screenGamma};
    const std::lock_guard lock(mutex);
    if (!results.contains(request) && asked.insert(request).second) requests.push_back(request);
}

void AM_ImageLoader::start() {
    {
        const std::lock_guard lock(mutex);
        if (!finished || requests.empty()) return;
        finished = false;
    }
    if (thread.joinable()) thread.join(); // on its last steps
    running = true;
    try {
        thread = boost::thread([this] { run(); });
    } catch (const std::exception& error) {
        // Graphics then read their files when they are drawn.
        AM_Log("The image loader can't start: %s", error.what());
        finished = true;
    }
}

void AM_ImageLoader::stop() {
    running = false;
    if (!thread.joinable()) return;
    thread.interrupt();
    thread.join();
}

AM_ImageLoader::Results AM_ImageLoader::takeResults() {
    const std::lock_guard lock(mutex);
    return std::exchange(results, {});
}

void AM_ImageLoader::run() {
    try {
        wait(k_firstWait);
        do {
            wait(k_passWait);
        } while (running && readPass());
    } catch (const boost::thread_interrupted&) {
    } catch (const std::exception& error) {
        AM_Log("The image loader ends: %s", error.what());
    }
    finished = true;
}

bool AM_ImageLoader::readPass() {
    bool any = false;
    Request request;
    while (running && takeRequest(&request)) {
        any = true;
        AM_PngImagePtr image;
        try {
            image = AM_PngCache::shared().get(request.first, request.second);
        } catch (const std::exception& error) {
            AM_Log("Can't read '%s': %s", request.first, error.what());
        }
        const std::lock_guard lock(mutex);
        results[request] = image;
    }
    const std::lock_guard lock(mutex);
    // What is asked for from now on needs another start.
    if (!any && requests.empty()) finished = true;
    return !finished;
}

bool AM_ImageLoader::takeRequest(Request* request) {
    const std::lock_guard lock(mutex);
    if (requests.empty()) return false;
    *request = std::move(requests.front());
    requests.pop_front();
    asked.erase(*request);
    return true;
}
