// A small concrete audio manager and a module that shows what the framework does with it.
#pragma once

#include "AM_AudioManager.h"
#include "AM_AudioThread.h"
#include "AM_ParaMan.h"
#include "ground/LogCapture.h"

#include <atomic>
#include <functional>
#include <memory>
#include <string>
#include <utility>
#include <vector>

// A module with any rows. Row i has its value in modData[i] unless it is `pointerless`; complex
// rows have their bytes in `bytes`.
class TestModule : public AM_AudioObject {
public:
    TestModule(AM_AudioMan* owner, const char* name, std::vector<ParameterInfo> table = {},
               i32 channels = 2, u32 typeBits = 0, i32 modSources = 0, i32 buffers = 0)
        : AM_AudioObject(owner, name), rows(std::move(table)), bytes(rows.size() * 64) {
        setupObject(typeBits, static_cast<i32>(rows.size()), channels, modSources, buffers);
    }

    i32 getDataSize() override { return dataBytes; }
    i32 getModDataSize() override {
        return modBytes >= 0 ? modBytes : static_cast<i32>(rows.size() * sizeof(f32));
    }
    const ParameterInfo* getParameterInfo(i32 index) override {
        return index >= 0 && static_cast<size_t>(index) < rows.size() ? &rows[index] : nullptr;
    }
    void* getParameterPointer(i32 index) override {
        if (!getParameterInfo(index) || index == pointerless) return nullptr;
        if (rows[index].isComplex()) return bytes.data() + index * 64;
        return modData ? modData + index : nullptr;
    }
    void parameterChanged(i32* index, f32* value, f32* time) override {
        changes.fetch_add(1, std::memory_order_relaxed);
        if (onChange) onChange(*index, *value, *time);
    }
    void setParameterComplex(i32*, const void* block, i32 size) override {
        lastComplex.assign(static_cast<const char*>(block), static_cast<size_t>(size));
    }
    void process(i32* start, i32* numQuads, CircuitModule* slot, BlockContext* block) override {
        ++processed;
        if (onProcess) onProcess(*start, *numQuads, slot, block);
    }
    void update() override { ++updates; }
    void reset() override { ++resets; }
    void runDeferred() override { deferred.fetch_add(1); }

    f32 modFloat(i32 index) const { return modData[index]; }
    i32 modInt(i32 index) const { return reinterpret_cast<const i32*>(modData)[index]; }

    i32 pointerless = -1;
    i32 dataBytes = 0;
    i32 modBytes = -1; // one float a row
    std::function<void(i32 index, f32& value, f32 time)> onChange;
    std::function<void(i32 start, i32 numQuads, CircuitModule* slot, BlockContext* block)>
        onProcess;
    std::atomic<i32> changes{0};
    std::atomic<i32> deferred{0};
    std::string lastComplex;
    i32 processed = 0, updates = 0, resets = 0;

    std::vector<ParameterInfo> rows;
    std::vector<char> bytes;
};

// A manager whose modules are planned by the test, in the order in which they are to be added.
class TestMan : public AM_AudioMan {
public:
    explicit TestMan(i32 matrixSlots = 0) : AM_AudioMan(nullptr, 10, matrixSlots) {}
    ~TestMan() override { stopTick(); }

    // Makes a module that initialize() adds to the main circuit; it lives as long as the manager.
    template <class Module = TestModule, class... Arguments>
    Module* plan(Arguments&&... arguments) {
        auto made = std::make_unique<Module>(this, std::forward<Arguments>(arguments)...);
        Module* module = made.get();
        planned.push_back(std::move(made));
        return module;
    }
    void createModules() override {
        for (std::unique_ptr<AM_AudioObject>& module : planned)
            addToMainCircuit(module.release());
        planned.clear();
    }
    // Runs one host block of `frames` frames on two own channels: `input` in, `output` out.
    void run(i32 frames, f32 value) {
        for (std::vector<f32>& channel : input)
            channel.assign(static_cast<size_t>(frames), value);
        run(frames);
    }
    void run(i32 frames) {
        const AM_AudioThreadScope audio;
        BlockContext* block = getBlockContext();
        for (int c = 0; c < 2; ++c) {
            input[c].resize(static_cast<size_t>(frames));
            output[c].assign(static_cast<size_t>(frames), 0.0f);
            block->inputs[c] = input[c].data();
            block->outputs[c] = output[c].data();
        }
        block->numFrames = frames;
        processBlock();
    }

    std::vector<f32> input[2], output[2];

private:
    std::vector<std::unique_ptr<AM_AudioObject>> planned;
};
