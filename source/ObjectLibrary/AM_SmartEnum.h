// Named values: what the choices of a user are made of.
#pragma once

#include "AM_Types.h"

#include <span>
#include <string_view>

class SmartEnum;
// All values of a class, in the order of their numbers.
using SmartEnumList = std::span<const SmartEnum* const>;

// One value of a class: a text and a number. Values are constants that exist once, built before
// anything runs, and are told apart by their addresses.
class SmartEnum {
public:
    constexpr SmartEnum(const SmartEnumList& classList, const char* text, i32 number)
        : name(text), value(number), list(&classList) {}
    SmartEnum(const SmartEnum&) = delete;
    SmartEnum& operator=(const SmartEnum&) = delete;

    // The value of this one's class with the name `text`, case counted; null if there is none.
    const SmartEnum* find(std::string_view text) const;
    // All values of this one's class.
    const SmartEnumList& getList() const { return *list; }

    const char* const name;
    const i32 value;

protected:
    constexpr virtual ~SmartEnum() = default;

private:
    const SmartEnumList* const list;
};
