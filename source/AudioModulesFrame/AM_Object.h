// The object skeleton: numbered synchronous messages, a registry of live
// objects, and an owning first-child / next-sibling tree.
#pragma once

#include "AM_Types.h"

class AM_ObjectHost;

// Class bits of AM_Object::typeMask. The bits above 0x8000 are flags of audio
// objects (AM_AudioObject.h).
enum AM_ClassBit : u32 {
    k_classAudioMan = 0x0001,
    k_classAudioObject = 0x0002,
    k_classAudioCircuit = 0x0004,
    k_classAudioMetaProcess = 0x0008,
    k_classAudioModulator = 0x0010,
    k_classAudioMixer = 0x0020,
    k_classAudioEffect = 0x0040,
    k_classAudioProxy = 0x0080,
    k_classViewMan = 0x0100,
    k_classViewObject = 0x0200,
    k_classViewControl = 0x0400,
    k_classViewGraphic = 0x0800,
    k_classViewColour = 0x1000,
    k_classViewSurface = 0x2000,
    k_classViewFilter = 0x4000,
    k_classViewSceneObject = 0x8000,
};

// The names of the class bits, 32 characters a name, bit doubling from entry to
// entry; an empty name ends the table.
extern const char AM_classNames[17][32];

// Anything with a class mask, a name and a place in a registry. All operations
// belong to the thread that owns the registry's side of the instance.
class AM_Object {
public:
    AM_Object() = default;
    // Joins `newHost` at once with `mask` as its class bits.
    AM_Object(AM_ObjectHost* newHost, u32 mask);
    AM_Object(const AM_Object&) = delete;
    AM_Object& operator=(const AM_Object&) = delete;

    // Leaves the registry, if the object is in one.
    virtual ~AM_Object();
    // Leaves the old registry and joins `newHost`, which may be null.
    virtual void setHost(AM_ObjectHost* newHost);
    // Broadcasts through the registry with this object as the sender; without a registry, nothing.
    virtual void sendMessage(u32 targetMask, u32 messageId, u32 value, void* data);
    // Message 0 clears the registry link, message 26 answers the sender with `value` as the id;
    // all others are ignored. A message 26 without a sender is ignored, and one with the value 26
    // (its answer would ask again without end) or 0 (its answer would cut the sender from a
    // registry that lives on).
    virtual void receiveMessage(AM_Object* sender, u32 messageId, u32 value, void* data);
    // A zero-terminated name, never null.
    virtual const char* getName() const;

    AM_ObjectHost* getHost() const { return host; }

    u32 typeMask = 0;

protected:
    friend class AM_ObjectHost;
    AM_ObjectHost* host = nullptr;
};

// A node of a tree. A node owns its first child and the sibling behind it, so
// deleting the root deletes all; a node with a parent or a previous sibling must
// be unlinked before it is deleted alone.
class AM_Tree : public AM_Object {
public:
    ~AM_Tree() override;
    // Hands the registry to this node, its subtree and every sibling behind it; with the current
    // registry it returns at once.
    void setHost(AM_ObjectHost* newHost) override;
    const char* getName() const override;

    // Appends `node` behind the last sibling.
    virtual void addSibling(AM_Tree* node);
    // Makes `node` the last child.
    virtual void add(AM_Tree* node);
    // Counts the direct children.
    virtual u32 getNumChildren() const;
    // Searches this node, its descendants, then the siblings behind it; null if there is none.
    virtual AM_Tree* find(const char* name);

    // Takes the node (with its subtree) out of its place; the registry stays.
    void unlink();
    // Moves the node behind or in front of `other`, under `other`'s parent.
    void moveBehind(AM_Tree* other);
    void moveBefore(AM_Tree* other);
    // Moves the node to the front or the back of its siblings, whose order stays.
    void moveToFront();
    void moveToBack();

    AM_Tree* getPrevious() const { return previous; }
    AM_Tree* getNext() const { return next; }
    AM_Tree* getParent() const { return parent; }
    AM_Tree* getFirstChild() const { return firstChild; }

protected:
    AM_Tree* previous = nullptr;
    AM_Tree* next = nullptr;
    AM_Tree* parent = nullptr;
    AM_Tree* firstChild = nullptr;
};

// One entry of a registry. The mask is the object's at the time of adding.
struct AM_ObjectRecord {
    AM_Object* object;
    u32 typeMask;
};
static_assert(sizeof(AM_ObjectRecord) == 16);

// The registry of live objects of one side (audio or view) of an instance.
class AM_ObjectHost {
public:
    // Room for `capacity` records before the array grows.
    explicit AM_ObjectHost(i32 capacity);
    AM_ObjectHost(const AM_ObjectHost&) = delete;
    AM_ObjectHost& operator=(const AM_ObjectHost&) = delete;

    // Sends message 0 to each survivor and logs its name; survivors are not deleted.
    virtual ~AM_ObjectHost();
    // Appends a record; the array grows when `count` reaches capacity - 1: by 10 up to a capacity
    // of 100, then by 100, 1000 and 10000 for each further digit, not at all from 100000 on. A full
    // array of that size takes no more: the object stays outside, with a line in the log.
    virtual void addObject(AM_Object* object);
    // Removes the record (the last one fills the hole) and clears the object's registry link.
    virtual void removeObject(AM_Object* object);
    // Delivers to every object but `sender` whose record mask meets `targetMask` (0: all),
    // in array order, on the caller's thread.
    virtual void broadcast(AM_Object* sender, u32 targetMask, u32 messageId, u32 value, void* data);

    // Names the registry; at most 31 characters are kept.
    void setName(const char* newName);
    const char* getName() const { return name; }
    i32 getCount() const { return count; }
    i32 getCapacity() const { return capacity; }
    const AM_ObjectRecord* getRecords() const { return records; }

private:
    void grow();

    AM_ObjectRecord* records;
    i32 count = 0;
    i32 capacity;
    char name[32] = "ObjectHost";
};
