// What the operators of the script language compute, where C++ has no result of its own. Handlers
// and the compiler's constant expressions share it.
#pragma once

#include "AM_Types.h"

#include <cmath>
#include <limits>
#include <type_traits>

// Cut towards 0, the nearest integer beyond the range, 0 for NaN.
inline i32 AM_scriptToInt(f32 x) noexcept {
    if (x >= -2147483648.0f && x < 2147483648.0f) return static_cast<i32>(x);
    if (x != x) return 0;
    return x < 0 ? std::numeric_limits<i32>::min() : std::numeric_limits<i32>::max();
}
inline i32 AM_scriptToInt(i32 x) noexcept {
    return x;
}
inline f32 AM_scriptToFloat(f32 x) noexcept {
    return x;
}
inline f32 AM_scriptToFloat(i32 x) noexcept {
    return static_cast<f32>(x);
}

template <class To, class From>
To AM_scriptConvert(From x) noexcept {
    if constexpr (std::is_same_v<To, f32>)
        return AM_scriptToFloat(x);
    else
        return AM_scriptToInt(x);
}

// Each operator has `Operand<L, R>`, the type that both sides are converted to, and `apply`.
namespace AM_ScriptOps {

template <class L, class R>
using Common = std::conditional_t<std::is_same_v<L, i32> && std::is_same_v<R, i32>, i32, f32>;

// Of the common type.
struct OfNumbers {
    template <class L, class R>
    using Operand = Common<L, R>;
};
// Of integers, whatever comes.
struct OfBits {
    template <class, class>
    using Operand = i32;
};

inline i32 wrap(u32 x) noexcept {
    return static_cast<i32>(x);
}
inline u32 bits(i32 x) noexcept {
    return static_cast<u32>(x);
}

struct Multiply : OfNumbers {
    static f32 apply(f32 a, f32 b) noexcept { return a * b; }
    static i32 apply(i32 a, i32 b) noexcept { return wrap(bits(a) * bits(b)); }
};
struct Divide : OfNumbers {
    static f32 apply(f32 a, f32 b) noexcept { return b == 0 ? 0 : a / b; }
    static i32 apply(i32 a, i32 b) noexcept {
        if (b == 0) return 0;
        return b == -1 ? wrap(0u - bits(a)) : a / b;
    }
};
struct Modulo : OfNumbers {
    static f32 apply(f32 a, f32 b) noexcept { return b == 0 ? 0 : std::fmod(a, b); }
    static i32 apply(i32 a, i32 b) noexcept { return b == 0 || b == -1 ? 0 : a % b; }
};
struct Add : OfNumbers {
    static f32 apply(f32 a, f32 b) noexcept { return a + b; }
    static i32 apply(i32 a, i32 b) noexcept { return wrap(bits(a) + bits(b)); }
};
struct Subtract : OfNumbers {
    static f32 apply(f32 a, f32 b) noexcept { return a - b; }
    static i32 apply(i32 a, i32 b) noexcept { return wrap(bits(a) - bits(b)); }
};
struct ShiftLeft : OfBits {
    static i32 apply(i32 a, i32 b) noexcept { return bits(b) > 31 ? 0 : wrap(bits(a) << b); }
};
struct ShiftRight : OfBits {
    static i32 apply(i32 a, i32 b) noexcept { return bits(b) > 31 ? 0 : a >> b; }
};
struct BitAnd : OfBits {
    static i32 apply(i32 a, i32 b) noexcept { return a & b; }
};
struct BitXor : OfBits {
    static i32 apply(i32 a, i32 b) noexcept { return a ^ b; }
};
struct BitOr : OfBits {
    static i32 apply(i32 a, i32 b) noexcept { return a | b; }
};

template <class T>
i32 truth(T x) noexcept {
    return x != 0 ? 1 : 0;
}
struct Less : OfNumbers {
    template <class T>
    static i32 apply(T a, T b) noexcept {
        return a < b;
    }
};
struct LessEqual : OfNumbers {
    template <class T>
    static i32 apply(T a, T b) noexcept {
        return a <= b;
    }
};
struct Greater : OfNumbers {
    template <class T>
    static i32 apply(T a, T b) noexcept {
        return a > b;
    }
};
struct GreaterEqual : OfNumbers {
    template <class T>
    static i32 apply(T a, T b) noexcept {
        return a >= b;
    }
};
struct Equal : OfNumbers {
    template <class T>
    static i32 apply(T a, T b) noexcept {
        return a == b;
    }
};
struct NotEqual : OfNumbers {
    template <class T>
    static i32 apply(T a, T b) noexcept {
        return a != b;
    }
};
// An integer is as true as the float it becomes.
struct And : OfNumbers {
    template <class T>
    static i32 apply(T a, T b) noexcept {
        return truth(a) & truth(b);
    }
};
struct Or : OfNumbers {
    template <class T>
    static i32 apply(T a, T b) noexcept {
        return truth(a) | truth(b);
    }
};

// The result of an operator for operands of any two types.
template <class Op, class L, class R>
auto compute(L a, R b) noexcept {
    using T = typename Op::template Operand<L, R>;
    return Op::apply(AM_scriptConvert<T>(a), AM_scriptConvert<T>(b));
}

} // namespace AM_ScriptOps
