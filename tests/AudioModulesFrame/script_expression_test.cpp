// Random expressions, computed by the machine and by a plain walk over the trees that they were
// written from. GLASSMERE_EXPRESSIONS sets how many texts there are, of three expressions each.
#include "AM_PScript.h"
#include "ground/LogCapture.h"
#include "RandomExpressions.h"

#include <gtest/gtest.h>

#include <bit>
#include <cmath>
#include <cstdlib>

namespace {
using namespace RandomExpressions;

struct Value {
    bool isFloat = false;
    i32 i = 0;
    f32 f = 0;
    Value() = default;
    Value(i32 value) : i(value) {}
    Value(f32 value) : isFloat(true), f(value) {}
    f32 asFloat() const { return isFloat ? f : static_cast<f32>(i); }
    i32 asInt() const {
        if (!isFloat) return i;
        if (std::isnan(f)) return 0;
        return static_cast<i32>(std::clamp(std::trunc(f64{f}), -2147483648.0, 2147483647.0));
    }
    bool isTrue() const { return isFloat ? f != 0 : i != 0; }
    Value to(bool wantFloat) const { return wantFloat ? Value(asFloat()) : Value(asInt()); }
    // To the bit, but for NaN, of which one is like another.
    bool operator==(const Value& other) const {
        if (isFloat != other.isFloat) return false;
        if (isFloat && std::isnan(f)) return std::isnan(other.f);
        return isFloat ? std::bit_cast<u32>(f) == std::bit_cast<u32>(other.f) : i == other.i;
    }
};
void PrintTo(const Value& value, std::ostream* out) {
    *out << (value.isFloat ? "float " : "int ") << (value.isFloat ? f64{value.f} : f64(value.i));
}
using World = std::array<Value, 2 * k_half>;

// The walk over a tree.
class Evaluator {
public:
    explicit Evaluator(World& world) : world(world) {}
    Value operator()(const Node& node) {
        switch (node.kind) {
        case Node::k_literal:
            return node.isFloat ? Value(k_floats[node.which])
                                : Value(static_cast<i32>(k_ints[node.which]));
        case Node::k_variable:
        case Node::k_element:
            return read(place(node), node.isFloat);
        case Node::k_call: {
            const Value first = (*this)(*node.a);
            if (!node.isFloat) return Value(first.asFloat()).asInt();
            return wrapped(i64{first.asInt()} * 3).asFloat() - (*this)(*node.b).asFloat();
        }
        case Node::k_step:
            return step(node);
        case Node::k_prefix:
            return prefix(node.text[0], (*this)(*node.a));
        case Node::k_binary: {
            const Value left = (*this)(*node.a);
            return isDecided(node.text, left) ? Value(i32{left.isTrue()})
                                              : binary(node.text, left, (*this)(*node.b));
        }
        case Node::k_choose:
            return (*this)((*this)(*node.a).isTrue() ? *node.b : *node.c).to(node.isFloat);
        case Node::k_assign:
            return assign(node);
        }
        return {};
    }

private:
    // Null for an element outside of its array.
    Value* place(const Node& node) {
        if (node.kind == Node::k_variable) return &world[node.which];
        const i32 index = (*this)(*node.a).asInt();
        if (index < 0 || index >= k_length) return nullptr;
        return &world[k_array + (node.isFloat ? k_half : 0) + static_cast<u32>(index)];
    }
    static Value read(const Value* from, bool isFloat) {
        return from != nullptr ? *from : Value(0).to(isFloat);
    }
    static Value write(Value* to, Value value, bool isFloat) {
        const Value written = value.to(isFloat);
        if (to != nullptr) *to = written;
        return written;
    }
    static bool isDecided(std::string_view op, Value left) {
        return (op == "&&" && !left.isTrue()) || (op == "||" && left.isTrue());
    }
    Value step(const Node& node) {
        Value* const at = place(*node.a);
        const Value old = read(at, node.isFloat);
        const Value behind = write(at, binary(node.text.substr(1), old, 1), node.isFloat);
        return node.level == 1 ? old : behind;
    }
    Value assign(const Node& node) {
        Value* const to = place(*node.a);
        if (node.text == "=") return write(to, (*this)(*node.b), node.isFloat);
        const Value old = read(to, node.isFloat);
        const std::string op = node.text.substr(0, node.text.size() - 1);
        if (isDecided(op, old)) return write(to, i32{old.isTrue()}, node.isFloat);
        return write(to, binary(op, old, (*this)(*node.b)), node.isFloat);
    }
    static Value prefix(char op, Value value) {
        if (op == '!') return i32{!value.isTrue()};
        if (op == '~') return -1 - value.asInt();
        if (op == '+') return value;
        return value.isFloat ? Value(-value.f) : wrapped(-i64{value.i});
    }
    static Value wrapped(i64 number) { return static_cast<i32>(static_cast<u32>(number)); }
    static Value binary(std::string_view op, Value l, Value r) {
        if (op == "&&") return i32{l.isTrue() && r.isTrue()};
        if (op == "||") return i32{l.isTrue() || r.isTrue()};
        if (op == "&") return l.asInt() & r.asInt();
        if (op == "|") return l.asInt() | r.asInt();
        if (op == "^") return l.asInt() ^ r.asInt();
        if (op == "<<" || op == ">>") return shifted(op, l.asInt(), r.asInt());
        if (l.isFloat || r.isFloat) return computed(op, l.asFloat(), r.asFloat());
        return computed(op, i64{l.i}, i64{r.i});
    }
    static Value shifted(std::string_view op, i64 a, i32 distance) {
        if (distance < 0 || distance > 31) return 0;
        const i64 factor = i64{1} << distance;
        if (op == "<<") return wrapped(a * factor);
        return wrapped(a < 0 ? -((factor - 1 - a) / factor) : a / factor);
    }
    static f32 rest(f32 a, f32 b) { return std::fmod(a, b); }
    static i64 rest(i64 a, i64 b) { return a % b; }
    static Value result(f32 number) { return number; }
    static Value result(i64 number) { return wrapped(number); }
    template <class T>
    static Value computed(std::string_view op, T a, T b) {
        if (op == "+") return result(a + b);
        if (op == "-") return result(a - b);
        if (op == "*") return result(a * b);
        if (op == "/") return result(b == 0 ? T(0) : a / b);
        if (op == "mod" || op == "%") return result(b == 0 ? T(0) : rest(a, b));
        if (op == "<") return i32{a < b};
        if (op == "<=") return i32{a <= b};
        if (op == ">") return i32{a > b};
        if (op == ">=") return i32{a >= b};
        return i32{op == "==" ? a == b : a != b};
    }

    World& world;
};

// The machine's side: o.i and o.f, the values to begin with from `in` and `fin`, and `out`, which
// notes what it gets.
class Objects final : public AM_IScriptObjects {
public:
    bool resolve(std::string_view path, AM_ScriptObject& out) override {
        out.type = path == "o.i" ? k_scriptInt : k_scriptFloat;
        return path == "o.i" || path == "o.f";
    }
    bool resolveCall(std::string_view path, std::string_view kinds, AM_ScriptObject& out) override {
        out.kind = AM_ScriptObject::k_function;
        out.handle = static_cast<i32>(signatures.size());
        signatures.push_back(path == "in"    ? "ii"
                             : path == "fin" ? "fi"
                                             : std::string("v").append(kinds));
        out.signature = signatures.back();
        return true;
    }
    f32 readFloat(i32) override { return f; }
    i32 readInt(i32) override { return i; }
    void writeFloat(i32, f32 value) override { f = value; }
    void writeInt(i32, i32 value) override { i = value; }
    AM_ScriptValue call(i32 handle, const AM_ScriptValue* arguments, u32 count) override {
        const std::string& signature = signatures[static_cast<size_t>(handle)];
        AM_ScriptValue result{};
        if (signature[0] == 'i') result.asInt = begin[static_cast<u32>(arguments[0].asInt)].i;
        if (signature[0] == 'f') result.asFloat = begin[static_cast<u32>(arguments[0].asInt)].f;
        for (u32 n = 0; signature[0] == 'v' && n < count; ++n)
            noted.push_back(signature[n + 1] == 'f' ? Value(arguments[n].asFloat)
                                                    : Value(arguments[n].asInt));
        return result;
    }
    World begin;
    std::vector<Value> noted;
    std::vector<std::string> signatures;

private:
    i32 i = 0;
    f32 f = 0;
};

World anyWorld(Generator& generator) {
    World world;
    for (u32 n = 0; n < world.size(); ++n) {
        const u32 bits = (generator.below(65536) << 16) + generator.below(65536);
        const bool isAny = generator.below(8) == 0;
        const bool isMinus = generator.below(2) == 0;
        const u32 i = isAny ? bits : generator.oneOf(k_ints);
        const f32 f = isAny ? std::bit_cast<f32>(bits) : generator.oneOf(k_floats);
        if (n < k_half)
            world[n] = static_cast<i32>(isMinus ? 0 - i : i);
        else
            world[n] = isMinus ? -f : f;
    }
    return world;
}

// The statements with variables of the embedder, of the text, of a function, and of the text
// around a function.
std::string textOf(const std::string& statements, u32 manner) {
    constexpr const char* declarations = "int i, j, p[3]; float x, y, q[3];\n";
    std::string inner, all;
    for (u32 n = 0; n < k_names.size(); ++n) {
        inner +=
            k_names[n] + std::string(n < k_half ? " = in(" : " = fin(") + std::to_string(n) + "); ";
        all += (n > 0 ? ", " : "") + std::string(k_names[n]);
    }
    inner += "\n" + statements + "out(" + all + ");\n";
    if (manner == 0) return inner;
    if (manner == 1) return declarations + inner;
    if (manner == 2) return std::string("void go() {\n") + declarations + inner + "}\ngo();";
    return declarations + std::string("void go() {\n") + inner + "}\ngo();";
}

TEST(ScriptExpressions, AreWhatAWalkOverTheirTreesGives) {
    LogCapture log;
    const char* const wanted = std::getenv("GLASSMERE_EXPRESSIONS");
    const i32 count = wanted != nullptr ? std::atoi(wanted) : 10000;
    Generator generator(1);
    Objects objects;
    std::unique_ptr<AM_PScript> script;
    for (i32 done = 0; done < count; ++done) {
        if (done % 1000 == 0) { // functions stay, so there is a new one now and then
            script = std::make_unique<AM_PScript>(&objects);
            script->setListing(false);
            for (const char* name : {"i", "j", "x", "y"})
                script->declare(name, *name < 'x' ? k_scriptInt : k_scriptFloat);
            script->declareArray("p", k_scriptInt, k_length);
            script->declareArray("q", k_scriptFloat, k_length);
            ASSERT_EQ(script->run("float mix(int a, float b) { return a * 3 - b; }\n"
                                  "int cut(float a) { return a; }\n"),
                      k_scriptOk);
        }
        const Tree value = generator.expression(2 + generator.below(4));
        const Tree condition = generator.expression(2 + generator.below(2));
        const Tree statement = generator.change(2 + generator.below(3));
        std::string text = "out(";
        generator.print(*value, 12, text);
        text += ");\nif (";
        generator.print(*condition, 12, text);
        text += ") out(1); else out(0);\nfor (int n = 0; n < 2; ++n) ";
        generator.print(*statement, 12, text);
        text = textOf(text + ";\n", generator.below(4));

        World world = objects.begin = anyWorld(generator);
        Evaluator evaluate(world);
        std::vector<Value> expected{evaluate(*value)};
        expected.push_back(i32{evaluate(*condition).isTrue()});
        evaluate(*statement);
        evaluate(*statement);
        expected.insert(expected.end(), world.begin(), world.end());

        objects.noted.clear();
        objects.signatures.clear();
        ASSERT_EQ(script->run(text), k_scriptOk) << script->error().text << "\n" << text;
        ASSERT_EQ(objects.noted, expected) << text;
        log.take();
    }
}
} // namespace
