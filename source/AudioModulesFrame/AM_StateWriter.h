// Writes the state of an instance as text (docs/preset-text.md).
#pragma once

#include "AM_ParaMan.h"
#include "AM_StateRows.h"

#include <vector>

// What goes into a state's text.
struct AM_StateOptions {
    bool complete = false; // with the locks, and all modules whatever the patch format says
    bool comments = false; // long names behind the values
};

// One per parameter manager; host main thread.
class AM_StateWriter {
public:
    explicit AM_StateWriter(AM_ParaMan& manager) : paraMan(manager), rows(manager) {}

    // Hands the sections up to the chunk to `proc`, in order, and notes the rows that have bytes
    // for the chunk. A null `proc` does nothing but log.
    void createSetting(AM_SettingProc proc, void* user, const AM_StateOptions& options);
    // The whole text with `prefix`, if not null, as its first line. `*outSize` counts the
    // terminator. Good until the next call.
    const char* getState(i32* outSize, const char* prefix, const AM_StateOptions& options);

private:
    struct Sink {
        AM_SettingProc proc;
        void* user;
    };
    void put(const std::string& text) const { sink.proc(&paraMan, text.c_str(), sink.user); }
    template <class... A>
    void print(const char* format, const A&... args) const;

    void writeMetadata() const;
    void writeHeader() const;
    void writeModulators() const;
    void writeModule(AM_AudioObject& module, const AM_StateOptions& options);
    void writeRow(i32 id, bool comments);
    bool isPartOfSave(AM_AudioObject& module, const AM_StateOptions& options) const;
    void fillBinary();
    void appendChunk();

    AM_ParaMan& paraMan;
    AM_StateRows rows;
    Sink sink{};
    std::vector<i32> waiting; // rows whose bytes are to be written
    std::vector<u8> binary;
    std::string text;
};
