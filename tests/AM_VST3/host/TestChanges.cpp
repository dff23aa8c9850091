#include "TestChanges.h"

#include <stdexcept>

using Steinberg::int32;
using Steinberg::kInvalidArgument;
using Steinberg::kOutOfMemory;
using Steinberg::kResultFalse;
using Steinberg::kResultOk;
using Steinberg::tresult;
using Steinberg::Vst::Event;
using Steinberg::Vst::IParamValueQueue;
using Steinberg::Vst::ParamID;
using Steinberg::Vst::ParamValue;

void TestQueue::reset(ParamID id) {
    parameter = id;
    broken = false;
    content.clear();
}

int32 TestQueue::getPointCount() {
    return static_cast<int32>(content.size()) + (broken ? 1 : 0);
}

tresult TestQueue::getPoint(int32 index, int32& offset, ParamValue& value) {
    if (index < 0 || static_cast<size_t>(index) >= content.size()) return kResultFalse;
    offset = content[static_cast<size_t>(index)].offset;
    value = content[static_cast<size_t>(index)].value;
    return kResultOk;
}

tresult TestQueue::addPoint(int32 offset, ParamValue value, int32& index) {
    if (content.size() >= reserved) return kOutOfMemory;
    index = static_cast<int32>(content.size());
    content.push_back({offset, value});
    return kResultOk;
}

TestChanges::TestChanges(u32 queues, u32 points)
    : HostObject(Steinberg::Vst::IParameterChanges_iid) {
    for (u32 i = 0; i < queues; ++i)
        room.push_back(std::make_unique<TestQueue>(points));
}

TestChanges& TestChanges::add(ParamID id, f64 value, i32 offset) {
    int32 index = 0;
    IParamValueQueue* queue = addParameterData(id, index);
    if (!queue || queue->addPoint(offset, value, index) != kResultOk)
        throw std::length_error("more changes than there is room for");
    return *this;
}

TestQueue* TestChanges::find(ParamID id) {
    for (i32 i = 0; i < used; ++i)
        if (at(i).getParameterId() == id) return &at(i);
    return nullptr;
}

IParamValueQueue* TestChanges::getParameterData(int32 index) {
    return index >= 0 && index < used ? &at(index) : nullptr;
}

IParamValueQueue* TestChanges::addParameterData(const ParamID& id, int32& index) {
    for (index = 0; index < used; ++index)
        if (at(index).getParameterId() == id) return &at(index);
    if (static_cast<size_t>(used) >= room.size()) return nullptr;
    at(used).reset(id);
    return &at(used++);
}

void TestEvents::noteOn(i32 offset, i32 channel, i32 pitch, f32 velocity, i32 id, f32 cents) {
    Event event{};
    event.type = Event::kNoteOnEvent;
    event.sampleOffset = offset;
    event.noteOn = {static_cast<Steinberg::int16>(channel),
                    static_cast<Steinberg::int16>(pitch),
                    cents,
                    velocity,
                    0,
                    id};
    content.push_back(event);
}

void TestEvents::noteOff(i32 offset, i32 channel, i32 pitch, i32 id, f32 cents) {
    Event event{};
    event.type = Event::kNoteOffEvent;
    event.sampleOffset = offset;
    event.noteOff = {static_cast<Steinberg::int16>(channel), static_cast<Steinberg::int16>(pitch),
                     0.5f, id, cents};
    content.push_back(event);
}

void TestEvents::polyPressure(i32 offset, i32 channel, i32 pitch, f32 pressure) {
    Event event{};
    event.type = Event::kPolyPressureEvent;
    event.sampleOffset = offset;
    event.polyPressure = {static_cast<Steinberg::int16>(channel),
                          static_cast<Steinberg::int16>(pitch), pressure, -1};
    content.push_back(event);
}

int32 TestEvents::getEventCount() {
    return static_cast<int32>(content.size());
}

tresult TestEvents::getEvent(int32 index, Event& event) {
    if (index < 0 || static_cast<size_t>(index) >= content.size()) return kInvalidArgument;
    if (index == broken) return kResultFalse;
    event = content[static_cast<size_t>(index)];
    return kResultOk;
}

tresult TestEvents::addEvent(Event& event) {
    content.push_back(event);
    return kResultOk;
}
