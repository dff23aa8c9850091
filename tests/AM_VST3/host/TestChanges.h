// Parameter changes and events of a block, as a host hands them over and takes them.
#pragma once

#include "HostObject.h"
#include "pluginterfaces/vst/ivstevents.h"
#include "pluginterfaces/vst/ivstparameterchanges.h"

#include <memory>
#include <vector>

// The points of one parameter within a block. One thread at a time. Room is made beforehand: adding
// a point neither allocates nor fails before the room is used up.
class TestQueue : public HostObject<Steinberg::Vst::IParamValueQueue> {
public:
    struct Point {
        i32 offset; // frames
        f64 value;  // normalised
    };

    explicit TestQueue(u32 points)
        : HostObject(Steinberg::Vst::IParamValueQueue_iid), reserved(points) {
        content.reserve(points);
    }

    // Counts one point more than can be read: asking for the last one fails.
    void breakLast() { broken = true; }
    const std::vector<Point>& points() const { return content; }
    // Empties the queue for another parameter.
    void reset(Steinberg::Vst::ParamID id);

    Steinberg::Vst::ParamID PLUGIN_API getParameterId() override { return parameter; }
    Steinberg::int32 PLUGIN_API getPointCount() override;
    Steinberg::tresult PLUGIN_API getPoint(Steinberg::int32 index, Steinberg::int32& offset,
                                           Steinberg::Vst::ParamValue& value) override;
    Steinberg::tresult PLUGIN_API addPoint(Steinberg::int32 offset,
                                           Steinberg::Vst::ParamValue value,
                                           Steinberg::int32& index) override;

private:
    const u32 reserved;
    Steinberg::Vst::ParamID parameter = 0;
    bool broken = false;
    std::vector<Point> content;
};

// The queues of a block, in the order in which they were added; for input and for output.
class TestChanges : public HostObject<Steinberg::Vst::IParameterChanges> {
public:
    // Has room for that many queues of that many points and gives no more.
    explicit TestChanges(u32 queues = 64, u32 points = 16);

    // Adds a point to the parameter's queue, which is made if it is not there. Points of a queue
    // are to be added in order of offset. Throws std::length_error when there is no room.
    TestChanges& add(Steinberg::Vst::ParamID id, f64 value, i32 offset = 0);
    // The queue of a parameter, or null.
    TestQueue* find(Steinberg::Vst::ParamID id);
    // The queue at `index`, which must exist.
    TestQueue& at(i32 index) { return *room[static_cast<size_t>(index)]; }
    i32 size() const { return used; }
    void clear() { used = 0; }

    Steinberg::int32 PLUGIN_API getParameterCount() override { return used; }
    Steinberg::Vst::IParamValueQueue* PLUGIN_API getParameterData(Steinberg::int32 index) override;
    // The parameter's queue, or null when there is no room for another.
    Steinberg::Vst::IParamValueQueue* PLUGIN_API addParameterData(const Steinberg::Vst::ParamID& id,
                                                                  Steinberg::int32& index) override;

private:
    std::vector<std::unique_ptr<TestQueue>> room;
    i32 used = 0;
};

// The events of a block.
class TestEvents : public HostObject<Steinberg::Vst::IEventList> {
public:
    TestEvents() : HostObject(Steinberg::Vst::IEventList_iid) {}

    // `velocity` 0 to 1, `cents` of detuning, `id` -1 for none.
    void noteOn(i32 offset, i32 channel, i32 pitch, f32 velocity, i32 id = -1, f32 cents = 0.0f);
    void noteOff(i32 offset, i32 channel, i32 pitch, i32 id = -1, f32 cents = 0.0f);
    void polyPressure(i32 offset, i32 channel, i32 pitch, f32 pressure);
    // From now on asking for the event at `index` fails.
    void breakAt(i32 index) { broken = index; }
    void clear() { content.clear(); }

    Steinberg::int32 PLUGIN_API getEventCount() override;
    Steinberg::tresult PLUGIN_API getEvent(Steinberg::int32 index,
                                           Steinberg::Vst::Event& event) override;
    Steinberg::tresult PLUGIN_API addEvent(Steinberg::Vst::Event& event) override;

private:
    i32 broken = -1;
    std::vector<Steinberg::Vst::Event> content;
};
