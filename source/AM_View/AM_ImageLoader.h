// Reads images ahead of their use, so that the first paint need not wait.
#pragma once

#include "AM_PngCache.h"

#include <atomic>
#include <boost/thread/thread.hpp>
#include <deque>
#include <functional>
#include <map>
#include <mutex>
#include <set>
#include <string>
#include <utility>

// The thread knows nothing of graphics: it gets names of files and gives images back, so graphics
// may come and go meanwhile. All operations belong to the editor's thread.
class AM_ImageLoader {
public:
    static constexpr i32 k_firstWait = 500; // ms
    static constexpr i32 k_passWait = 10;   // ms

    // Waits on the loader's thread; the default sleeps, and can be interrupted.
    using Wait = std::function<void(i32 milliseconds)>;
    // By file and gamma; null for what could not be read.
    using Results = std::map<std::pair<std::string, f32>, AM_PngImagePtr>;

    explicit AM_ImageLoader(Wait newWait = {});
    // Ends the thread after the image that it is reading.
    ~AM_ImageLoader();
    AM_ImageLoader(const AM_ImageLoader&) = delete;
    AM_ImageLoader& operator=(const AM_ImageLoader&) = delete;

    // Asks for an image; one that is asked for already is not read twice.
    void add(const std::string& file, f32 screenGamma);
    // Starts the thread if something is asked for and it does not run. It waits k_firstWait, then
    // reads in passes with k_passWait before each, and ends when a pass finds nothing.
    void start();
    // Ends the thread as the destructor does. What is left is read after the next start.
    void stop();
    // True if no thread runs, be it that none was started.
    bool isFinished() const { return finished; }
    // What was read since the last call.
    Results takeResults();

private:
    using Request = Results::key_type;
    void run();
    // Reads until nothing is left; false if nothing was asked for, which is the end.
    bool readPass();
    bool takeRequest(Request* request);

    Wait wait;
    boost::thread thread;
    std::atomic<bool> running{false};
    std::atomic<bool> finished{true};
    std::mutex mutex; // for what follows
    std::deque<Request> requests;
    std::set<Request> asked; // the same by name
    Results results;
};
