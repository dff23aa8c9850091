#include "AM_SmartEnum.h"

const SmartEnum* SmartEnum::find(std::string_view text) const {
    for (const SmartEnum* entry : *list)
        if (entry->name == text) return entry;
    return nullptr;
}
