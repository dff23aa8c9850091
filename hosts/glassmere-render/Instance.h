// One instance of the plug-in, set up as the command line asks.
#pragma once

#include "AM_ParaMan.h"
#include "Glassmere_AudioMan.h"
#include "Options.h"

#include <cstdint>
#include <memory>
#include <string>

class AM_DelayNetWorks;

class Instance {
public:
    // Creates the plug-in at `rate` Hz, loads the preset, sets the code, then the values, then
    // presses the buttons; all of it is in force from the first frame. Throws UsageError for a
    // parameter that does not exist, cannot be set that way or a value out of its range,
    // RenderError if the plug-in fails.
    Instance(const Options& options, double rate);
    ~Instance();
    Instance(const Instance&) = delete;
    Instance& operator=(const Instance&) = delete;

    // Processes `count` frames (1 to the options' block size) as one host block at the transport's
    // position, and moves it on. `in` and `out` may be the same channels.
    void process(float* const (&in)[2], float* const (&out)[2], int count);

    // Hands the plug-in one MIDI message, `frame` frames into the block to come.
    void sendMidi(const std::uint8_t* bytes, int length, int frame);

    // Frames by which the output is behind the input.
    int latency() const;
    // True while the reverb has nothing left to sound.
    bool isAsleep() const;
    // The code in force.
    std::string code() const;
    // Writes the preset that the options ask for. Throws UsageError for an unknown metadata key or
    // a file that is there and may not be overwritten, RenderError if it can't be written.
    void savePreset(const Options& options);

    Glassmere_AudioMan& manager() { return *audioMan; }
    AM_ParaMan& parameters() const { return *audioMan->getParaMan(); }

private:
    int requireParameter(const std::string& name) const;
    void setPreference(const std::string& key, const std::string& value);
    void readAssignments(const std::string& file);
    void loadProgram(int bank, int number);
    void loadPreset(const std::string& file);
    void setCode(const std::string& code);
    void setText(int id, const std::string& option, const std::string& text);
    void setValue(const std::string& name, const std::string& text);
    void press(const std::string& name);
    void settle(int block);

    std::unique_ptr<Glassmere_AudioMan> audioMan;
    AM_DelayNetWorks* network = nullptr;
    double sampleRate;
    std::int64_t framesDone = 0;
};
