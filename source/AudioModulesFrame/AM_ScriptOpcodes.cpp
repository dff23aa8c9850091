#include "AM_ScriptOpcodes.h"

#include "AM_Assert.h"
#include "AM_ScriptHandlers.h"

#include <array>

namespace {
// A run of rows that share all but their texts.
struct Group {
    u32 first;
    i32 leftKind;
    i32 rightKind;
    i32 precedence;
    const char* texts; // a zero behind each
};
// A text with its operands, and one for each pair of them: f f, i i, f i, i f.
#define FOUR(between) "f" between "f\0i" between "i\0f" between "i\0i" between "f\0"

constexpr Group k_groups[] = {
    {0, 0, 0, 0,
     "end of line\0stop\0nop\0Jump\0branch\0branch equal/true\0branch not equal/false\0JSR\0RTS\0"
     "Load f\0Load I\0Load f[i]\0Load i[i]\0Load #f\0Load #i\0Load Obj f\0Load Obj I\0"
     "Store f\0Store i\0Store f[i]\0Store i[i]\0Store Obj f\0Store Obj i\0"
     "ix->ix(result)\0ix->ix(result(ix))\0"},
    {25, k_operandNone, k_operandIncrement, 4, "++f\0++i\0--f\0--i\0"},
    {29, k_operandNone, k_operandValue, 4, "-f\0-i\0!f\0!i\0~f\0~i\0"},
    {35, 0, 0, 0, "&f[0]->ix\0&i[0]->ix\0f<-f\0i<-i\0f<-i\0i<-f\0"},
    {41, k_operandValue, k_operandValue, 5, FOUR("*") FOUR("/") FOUR(" mod ")},
    {53, k_operandValue, k_operandValue, 6, FOUR("+") FOUR("-")},
    {61, k_operandValue, k_operandValue, 7, FOUR(" << ") FOUR(" >> ")},
    {69, k_operandValue, k_operandValue, 8,
     FOUR(" < ") FOUR(" <= ") FOUR(" > ") FOUR(" >= ") FOUR(" == ") FOUR(" != ")},
    {93, k_operandValue, k_operandValue, 9, FOUR(" & ") FOUR(" ^ ") FOUR(" | ")},
    {105, k_operandValue, k_operandValue, 10, FOUR(" && ") FOUR(" || ")},
    {113, k_operandValue, k_operandValue, 11, FOUR(" ? ") FOUR(" : ")},
    {121, k_operandIncrement, k_operandNone, 1, "f ++\0i ++\0f --\0i --\0"},
    {125, k_operandTarget, k_operandValue, 12, FOUR(" = ")},
    {129, k_operandTargetRead, k_operandValue, 12,
     FOUR(" += ") FOUR(" -= ") FOUR(" *= ") FOUR(" /= ") FOUR(" mod= ") FOUR(" &= ") FOUR(" ^= ")
         FOUR(" |= ") FOUR(" <<= ") FOUR(" >>= ") FOUR(" &&= ") FOUR(" ||= ")},
};
#undef FOUR

using Rows = std::array<AM_ScriptOpcode, k_opCount>;

Rows makeRows() {
    Rows rows{};
    for (const Group& group : k_groups) {
        const char* text = group.texts;
        for (u32 opcode = group.first; *text != 0; ++opcode) {
            AM_ScriptOpcode& row = rows[opcode];
            row = {static_cast<i32>(opcode),
                   group.leftKind,
                   group.rightKind,
                   group.precedence,
                   AM_ScriptHandlers::plain(static_cast<u8>(opcode)),
                   {}};
            for (char* to = row.text; *text != 0;)
                *to++ = *text++;
            ++text;
        }
    }
    return rows;
}
} // namespace

const AM_ScriptOpcode& AM_scriptOpcode(u32 opcode) {
    static const Rows rows = makeRows();
    AM_ASSERT(opcode < k_opCount, "no such opcode");
    return rows[opcode];
}
