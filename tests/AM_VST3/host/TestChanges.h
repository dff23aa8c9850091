// Parameter changes and events of a block, as a host hands them over and takes them.
#pragma once

#include "HostObject.h"
#include "pluginterfaces/vst/ivstevents.h"
#include "pluginterfaces/vst/ivstparameterchanges.h"

#include <memory>
#include <stdexcept>
#include <vector>

// The points of one parameter. Adding one neither allocates nor fails before the room is used up.
class TestQueue : public HostObject<Steinberg::Vst::IParamValueQueue> {
public:
    struct Point {
        i32 offset; // frames
        f64 value;  // normalised
    };
    explicit TestQueue(u32 room) : HostObject(Steinberg::Vst::IParamValueQueue_iid) {
        points.reserve(room);
    }

    Steinberg::Vst::ParamID PLUGIN_API getParameterId() override { return id; }
    Steinberg::int32 PLUGIN_API getPointCount() override {
        return static_cast<i32>(points.size()) + (broken ? 1 : 0);
    }
    Steinberg::tresult PLUGIN_API getPoint(Steinberg::int32 index, Steinberg::int32& offset,
                                           Steinberg::Vst::ParamValue& value) override {
        if (index < 0 || static_cast<size_t>(index) >= points.size())
            return Steinberg::kResultFalse;
        offset = points[static_cast<size_t>(index)].offset;
        value = points[static_cast<size_t>(index)].value;
        return Steinberg::kResultOk;
    }
    Steinberg::tresult PLUGIN_API addPoint(Steinberg::int32 offset,
                                           Steinberg::Vst::ParamValue value,
                                           Steinberg::int32& index) override {
        if (points.size() == points.capacity()) return Steinberg::kOutOfMemory;
        index = static_cast<i32>(points.size());
        points.push_back({offset, value});
        return Steinberg::kResultOk;
    }

    Steinberg::Vst::ParamID id = 0;
    std::vector<Point> points;
    bool broken = false; // counts one point more than can be read
};

// The queues of a block, for input and for output.
class TestChanges : public HostObject<Steinberg::Vst::IParameterChanges> {
public:
    // Has room for that many queues of that many points and gives no more.
    explicit TestChanges(u32 queues = 64, u32 points = 16)
        : HostObject(Steinberg::Vst::IParameterChanges_iid) {
        while (room.size() < queues)
            room.push_back(std::make_unique<TestQueue>(points));
    }

    // Adds a point to the parameter's queue. Throws std::length_error when there is no room.
    TestChanges& add(Steinberg::Vst::ParamID id, f64 value, i32 offset = 0) {
        i32 index = 0;
        auto* queue = addParameterData(id, index);
        if (!queue || queue->addPoint(offset, value, index) != Steinberg::kResultOk)
            throw std::length_error("more changes than there is room for");
        return *this;
    }
    // The queue of a parameter, or null.
    TestQueue* find(Steinberg::Vst::ParamID id) {
        for (size_t i = 0; i < used; ++i)
            if (room[i]->id == id) return room[i].get();
        return nullptr;
    }
    i32 size() const { return static_cast<i32>(used); }
    void clear() { used = 0; }

    Steinberg::int32 PLUGIN_API getParameterCount() override { return size(); }
    Steinberg::Vst::IParamValueQueue* PLUGIN_API getParameterData(Steinberg::int32 index) override {
        return index >= 0 && index < size() ? room[static_cast<size_t>(index)].get() : nullptr;
    }
    Steinberg::Vst::IParamValueQueue* PLUGIN_API addParameterData(const Steinberg::Vst::ParamID& id,
                                                                  Steinberg::int32&) override {
        if (TestQueue* found = find(id)) return found;
        if (used == room.size()) return nullptr;
        TestQueue* queue = room[used++].get();
        queue->id = id;
        queue->points.clear();
        queue->broken = false;
        return queue;
    }

private:
    std::vector<std::unique_ptr<TestQueue>> room;
    size_t used = 0;
};

// The events of a block.
class TestEvents : public HostObject<Steinberg::Vst::IEventList> {
public:
    using Event = Steinberg::Vst::Event;
    TestEvents() : HostObject(Steinberg::Vst::IEventList_iid) {}

    // `velocity` 0 to 1, 0 for a note off; `cents` of detuning; `id` -1 for none.
    void note(i32 offset, Steinberg::int16 channel, Steinberg::int16 pitch, f32 velocity,
              i32 id = -1, f32 cents = 0.0f) {
        Event event{};
        event.sampleOffset = offset;
        event.type = velocity > 0 ? Event::kNoteOnEvent : Event::kNoteOffEvent;
        if (velocity > 0)
            event.noteOn = {channel, pitch, cents, velocity, 0, id};
        else
            event.noteOff = {channel, pitch, 0.5f, id, cents};
        list.push_back(event);
    }
    void pressure(i32 offset, Steinberg::int16 channel, Steinberg::int16 pitch, f32 pressure) {
        Event event{};
        event.type = Event::kPolyPressureEvent;
        event.sampleOffset = offset;
        event.polyPressure = {channel, pitch, pressure, -1};
        list.push_back(event);
    }

    Steinberg::int32 PLUGIN_API getEventCount() override { return static_cast<i32>(list.size()); }
    Steinberg::tresult PLUGIN_API getEvent(Steinberg::int32 index, Event& event) override {
        if (index == broken) return Steinberg::kResultFalse;
        event = list.at(static_cast<size_t>(index));
        return Steinberg::kResultOk;
    }
    Steinberg::tresult PLUGIN_API addEvent(Event& event) override {
        list.push_back(event);
        return Steinberg::kResultOk;
    }

    std::vector<Event> list;
    i32 broken = -1; // the index of an event that can't be read
};
