#include "AM_Object.h"

#include "AM_Allocator.h"
#include "AM_Log.h"
#include "AM_Messages.h"
#include "AM_Text.h"

#include <cstdio>
#include <cstring>
#include <utility>

const char AM_classNames[17][32] = {"AudioMan",
                                    "AudioObject",
                                    "AudioCircuit",
                                    "AudioMetaProcess",
                                    "AudioModulator",
                                    "AudioMixer",
                                    "AudioEffect",
                                    "AudioProxy",
                                    "ViewMan",
                                    "ViewObject",
                                    "ViewControl",
                                    "ViewGraphic",
                                    "ViewColour",
                                    "ViewSurface",
                                    "ViewFilter",
                                    "ViewSceneObject",
                                    ""};

// --- AM_Object ---------------------------------------------------------------------------

AM_Object::AM_Object(AM_ObjectHost* newHost, u32 mask) : typeMask(mask), host(newHost) {
    if (host) host->addObject(this);
}

AM_Object::~AM_Object() {
    if (host) host->removeObject(this);
}

void AM_Object::setHost(AM_ObjectHost* newHost) {
    if (host) host->removeObject(this);
    host = newHost;
    if (host) host->addObject(this);
}

void AM_Object::sendMessage(u32 targetMask, u32 messageId, u32 value, void* data) {
    if (host) host->broadcast(this, targetMask, messageId, value, data);
}

void AM_Object::receiveMessage(AM_Object* sender, u32 messageId, u32 value, void* data) {
    if (messageId == AM_Message_HostGoesAway) {
        host = nullptr;
    } else if (messageId == AM_Message_AnswerRequest) {
        if (sender && value != AM_Message_AnswerRequest && value != AM_Message_HostGoesAway)
            sender->receiveMessage(this, value, AM_Message_AnswerRequest, data);
    }
}

const char* AM_Object::getName() const {
    return "Object";
}

// --- AM_ObjectHost -----------------------------------------------------------------------

namespace {

AM_ObjectRecord* allocateRecords(i32 capacity) {
    return static_cast<AM_ObjectRecord*>(
        AM_ALLOC(static_cast<size_t>(capacity) * sizeof(AM_ObjectRecord), 16));
}

i32 growthStep(i32 capacity) {
    if (capacity <= 100) return 10;
    if (capacity < 1000) return 100;
    if (capacity < 10000) return 1000;
    return capacity < 100000 ? 10000 : 0;
}

} // namespace

AM_ObjectHost::AM_ObjectHost(i32 initialCapacity)
    : records(nullptr), capacity(initialCapacity < 1 ? 1 : initialCapacity) {
    records = allocateRecords(capacity);
}

AM_ObjectHost::~AM_ObjectHost() {
    for (i32 i = 0; i < count; ++i) {
        AM_Object* object = records[i].object;
        object->receiveMessage(nullptr, AM_Message_HostGoesAway, 0, this);
        AM_Log("Object still alive while shutting down: %s", object->getName());
    }
    AM_free(records);
}

void AM_ObjectHost::grow() {
    std::printf("Number of Objects exceeded %d. Please increase initial size in AM_Host!\n",
                capacity);
    const i32 larger = capacity + growthStep(capacity);
    AM_ObjectRecord* moved = allocateRecords(larger);
    std::memcpy(moved, records, static_cast<size_t>(count) * sizeof(AM_ObjectRecord));
    AM_free(records);
    records = moved;
    capacity = larger;
}

void AM_ObjectHost::addObject(AM_Object* object) {
    if (count >= capacity - 1) grow();
    if (count >= capacity) {
        AM_Log("ERROR: %s is full, %s is left out", name, object->getName());
        return;
    }
    records[count++] = {object, object->typeMask};
}

void AM_ObjectHost::removeObject(AM_Object* object) {
    for (i32 i = 0; i < count; ++i) {
        if (records[i].object == object) {
            records[i] = records[--count];
            break;
        }
    }
    object->host = nullptr;
}

void AM_ObjectHost::broadcast(AM_Object* sender, u32 targetMask, u32 messageId, u32 value,
                              void* data) {
    // A receiver may add or remove objects, so `count` and `records` are read anew each time.
    for (i32 i = 0; i < count; ++i) {
        const AM_ObjectRecord record = records[i];
        if (record.object != sender && (targetMask == 0 || (record.typeMask & targetMask) != 0))
            record.object->receiveMessage(sender, messageId, value, data);
    }
}

void AM_ObjectHost::setName(const char* newName) {
    AM_STD::copyText(name, newName);
}

// --- AM_Tree -----------------------------------------------------------------------------

AM_Tree::~AM_Tree() {
    delete firstChild;
    // One by one, or each would delete the next one from within itself.
    while (AM_Tree* const behind = next) {
        next = std::exchange(behind->next, nullptr);
        delete behind;
    }
}

void AM_Tree::setHost(AM_ObjectHost* newHost) {
    if (newHost == host) return;
    AM_Object::setHost(newHost);
    if (firstChild) firstChild->setHost(newHost);
    if (next) next->setHost(newHost);
}

const char* AM_Tree::getName() const {
    return "Tree Object";
}

void AM_Tree::addSibling(AM_Tree* node) {
    if (next) {
        next->addSibling(node);
        return;
    }
    next = node;
    node->previous = this;
    node->parent = parent;
    if (host) node->setHost(host);
}

void AM_Tree::add(AM_Tree* node) {
    if (firstChild) {
        firstChild->addSibling(node);
        return;
    }
    firstChild = node;
    node->parent = this;
    if (host) node->setHost(host);
}

u32 AM_Tree::getNumChildren() const {
    u32 children = 0;
    for (const AM_Tree* child = firstChild; child; child = child->next)
        ++children;
    return children;
}

AM_Tree* AM_Tree::find(const char* name) {
    if (AM_STD::Strcmp(getName(), name) == 0) return this;
    AM_Tree* found = firstChild ? firstChild->find(name) : nullptr;
    if (!found && next) found = next->find(name);
    return found;
}

void AM_Tree::unlink() {
    if (previous)
        previous->next = next;
    else if (parent)
        parent->firstChild = next;
    if (next) next->previous = previous;
    previous = nullptr;
    next = nullptr;
    parent = nullptr;
}

void AM_Tree::moveBehind(AM_Tree* other) {
    if (other == this) return;
    unlink();
    previous = other;
    next = other->next;
    parent = other->parent;
    if (next) next->previous = this;
    other->next = this;
}

void AM_Tree::moveBefore(AM_Tree* other) {
    if (other == this) return;
    unlink();
    previous = other->previous;
    next = other;
    parent = other->parent;
    if (previous)
        previous->next = this;
    else if (parent)
        parent->firstChild = this;
    other->previous = this;
}

void AM_Tree::moveToFront() {
    // The nearest first, each directly behind this node, so the order of the others stays.
    while (previous)
        previous->moveBehind(this);
}

void AM_Tree::moveToBack() {
    while (next)
        next->moveBefore(this);
}
