#include "AM_GuiObject.h"

#include "AM_Text.h"

void AM_GuiObject::setName(const char* newName) {
    AM_STD::copyText(name, newName ? newName : "");
}

void AM_GuiObject::setImmutable(bool newImmutable, bool newTransient) {
    immutable = newImmutable;
    transient = newTransient;
}
