// Base of everything in the trees of an editor: colours, graphics, controls.
#pragma once

#include "AM_Object.h"

class AM_ViewMan;

class AM_GuiObject : public AM_Tree {
public:
    static constexpr i32 k_maxName = 32; // with the terminating zero

    const char* getName() const override { return name; }
    // At most 31 characters are kept; null gives an empty name.
    virtual void setName(const char* newName);
    // An immutable object is not written into scripts; a transient one is not even looked at.
    virtual void setImmutable(bool immutable, bool transient);
    virtual bool isImmutable() { return immutable; }
    virtual bool isTransient() { return transient; }
    // The editor that this belongs to, null outside of one.
    virtual AM_ViewMan* getViewMan() { return viewMan; }
    void setViewMan(AM_ViewMan* newViewMan) { viewMan = newViewMan; }

protected:
    AM_ViewMan* viewMan = nullptr;
    bool immutable = false;
    bool transient = false;
    char name[k_maxName] = "";
};
