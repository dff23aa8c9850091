// Random expressions of the script language as trees, and as texts with no parentheses but those
// that the levels of the operators demand.
#pragma once

#include "AM_Types.h"

#include <array>
#include <cctype>
#include <charconv>
#include <memory>
#include <random>
#include <string>

namespace RandomExpressions {

// The variables: six integers, then six floats; the last three of each are an array's elements.
constexpr u32 k_half = 6;
constexpr u32 k_array = 3;
constexpr i32 k_length = 3;
constexpr std::array<const char*, 2 * k_half> k_names = {"i", "j", "o.i", "p[0]", "p[1]", "p[2]",
                                                         "x", "y", "o.f", "q[0]", "q[1]", "q[2]"};

struct Operator {
    const char* text;
    i32 level;
};
constexpr Operator k_binary[] = {{"*", 5}, {"/", 5},  {"mod", 5}, {"%", 5},  {"+", 6},
                                 {"-", 6}, {"<<", 7}, {">>", 7},  {"<", 8},  {"<=", 8},
                                 {">", 8}, {">=", 8}, {"==", 8},  {"!=", 8}, {"&", 9},
                                 {"^", 9}, {"|", 9},  {"&&", 10}, {"||", 10}};
constexpr u32 k_arithmetic = 6; // the first of them: their results may be floats
constexpr const char* k_assigning[] = {
    "=", "+=", "-=", "*=", "/=", "mod=", "%=", "&=", "|=", "^=", "<<=", ">>=", "&&=", "||="};
constexpr const char* k_prefix[] = {"-", "+", "!", "~"};
constexpr u32 k_ints[] = {0, 1, 2, 3, 5, 7, 31, 32, 255, 16777217, 0x7fffffff, 0x80000000};
constexpr f32 k_floats[] = {0.0f, 0.5f, 1.0f, 1.5f, 2.0f, 2.75f, 31.5f, 0.1f, 1e-40f, 3e9f, 1e38f};

struct Node {
    enum Kind {
        k_literal,
        k_variable,
        k_element,
        k_call,
        k_step,
        k_prefix,
        k_binary,
        k_choose,
        k_assign
    };
    Kind kind;
    bool isFloat;          // what comes out
    std::string text = {}; // the operator, or a literal as it is written
    i32 level = 0;         // of the operator, 0 where parentheses are never needed
    u32 which = 0;         // variable or literal
    std::unique_ptr<Node> a = {}, b = {}, c = {};
};
using Tree = std::unique_ptr<Node>;

class Generator {
public:
    explicit Generator(u32 seed) : engine(seed) {}
    u32 below(u32 end) { return engine() % end; }
    template <class T, size_t N>
    const T& oneOf(const T (&all)[N]) {
        return all[below(N)];
    }

    Tree expression(u32 depth) {
        const u32 draw = depth == 0 ? below(5) : below(40);
        if (draw < 2) return literal();
        if (draw < 7) return target(depth);
        if (draw < 11) return prefix(depth - 1);
        if (draw < 14) return choose(depth - 1);
        if (draw < 16) return call(depth - 1);
        if (draw < 20) return change(depth - 1);
        return binary(depth - 1);
    }
    // An assignment or a step.
    Tree change(u32 depth) {
        Tree to = target(depth);
        const bool isFloat = to->isFloat;
        if (below(3) == 0) {
            const char* const op = below(2) == 0 ? "++" : "--";
            return make({Node::k_step, isFloat, op, below(2) == 0 ? 1 : 4, 0, std::move(to)});
        }
        const char* const op = oneOf(k_assigning);
        return make({Node::k_assign, isFloat, op, 12, 0, std::move(to), expression(depth)});
    }
    // Writes a tree where operators up to the level `loosest` may stand.
    void print(const Node& node, i32 loosest, std::string& out) {
        if (node.level <= loosest) return printInside(node, out);
        put("(", out);
        printInside(node, out);
        put(")", out);
    }

private:
    static Tree make(Node&& node) { return std::make_unique<Node>(std::move(node)); }
    Tree literal() {
        char digits[32];
        if (below(2) == 0) {
            const u32 which = below(std::size(k_floats));
            const auto end = std::to_chars(digits, digits + 32, k_floats[which]).ptr;
            std::string text(digits, end);
            if (text.find_first_of(".e") == std::string::npos) text += ".0";
            return make({Node::k_literal, true, text, 0, which});
        }
        const u32 which = below(std::size(k_ints));
        const bool isHexadecimal = below(4) == 0;
        std::string text = isHexadecimal ? "0x" : "";
        text.append(digits,
                    std::to_chars(digits, digits + 32, k_ints[which], isHexadecimal ? 16 : 10).ptr);
        return make({Node::k_literal, false, text, 0, which});
    }
    Tree target(u32 depth) {
        const bool isFloat = below(2) == 0;
        if (depth == 0 || below(3) != 0) {
            const u32 which = below(k_array) + (isFloat ? k_half : 0);
            return make({Node::k_variable, isFloat, "", 0, which});
        }
        return make(
            {Node::k_element, isFloat, "", 0, 0, expression(below(4) == 0 ? depth - 1 : 0)});
    }
    Tree prefix(u32 depth) {
        Tree operand = expression(depth);
        const u32 which = below(std::size(k_prefix));
        const bool isFloat = which < 2 && operand->isFloat;
        return make({Node::k_prefix, isFloat, k_prefix[which], 4, 0, std::move(operand)});
    }
    Tree binary(u32 depth) {
        const u32 which = below(2) == 0 ? below(k_arithmetic) : below(std::size(k_binary));
        const auto& [text, level] = k_binary[which];
        Tree a = expression(depth), b = expression(depth);
        const bool isFloat = which < k_arithmetic && (a->isFloat || b->isFloat);
        return make({Node::k_binary, isFloat, text, level, 0, std::move(a), std::move(b)});
    }
    Tree choose(u32 depth) {
        Tree a = expression(depth), b = expression(depth), c = expression(depth);
        const bool isFloat = b->isFloat || c->isFloat;
        return make({Node::k_choose, isFloat, "", 11, 0, std::move(a), std::move(b), std::move(c)});
    }
    // `mix` of an integer and a float, or `cut` of a float.
    Tree call(u32 depth) {
        Tree a = expression(depth);
        if (below(2) == 0) return make({Node::k_call, false, "cut(", 0, 0, std::move(a)});
        return make({Node::k_call, true, "mix(", 0, 0, std::move(a), expression(depth)});
    }

    void printInside(const Node& node, std::string& out) {
        const i32 right = node.kind == Node::k_binary ? node.level - 1 : 12;
        switch (node.kind) {
        case Node::k_literal:
            return put(node.text, out);
        case Node::k_variable:
            return put(k_names[node.which], out);
        case Node::k_element:
            put(node.isFloat ? "q[" : "p[", out);
            print(*node.a, 12, out);
            return put("]", out);
        case Node::k_call:
            put(node.text, out);
            print(*node.a, 12, out);
            if (node.b) put(",", out), print(*node.b, 12, out);
            return put(")", out);
        case Node::k_step:
            if (node.level == 4) put(node.text, out);
            print(*node.a, 0, out);
            if (node.level == 1) put(node.text, out);
            return;
        case Node::k_prefix:
            put(node.text, out);
            return print(*node.a, 4, out);
        case Node::k_choose:
            print(*node.a, 10, out);
            put("?", out);
            print(*node.b, 12, out);
            put(":", out);
            return print(*node.c, 11, out);
        case Node::k_binary:
        case Node::k_assign:
            print(*node.a, node.kind == Node::k_assign ? 0 : node.level, out);
            put(node.text, out);
            return print(*node.b, right, out);
        }
    }
    static i32 sort(char c) {
        if (std::string_view("+-*/%<>=!&|^~?:").find(c) != std::string_view::npos) return 1;
        return std::isalnum(static_cast<unsigned char>(c)) || c == '.' ? 2 : 0;
    }
    // Blanks where two parts would be read as one, and here and there besides.
    void put(std::string_view part, std::string& out) {
        const i32 before = out.empty() ? 0 : sort(out.back());
        if ((before != 0 && before == sort(part[0])) || below(4) == 0) out += ' ';
        out += part;
    }

    std::mt19937 engine;
};

} // namespace RandomExpressions
