// The script machine and its front: table, listing, limits, what stays and what is given back.
#include "AM_PScript.h"
#include "ground/LogCapture.h"

#include <gtest/gtest.h>

#include <stdexcept>

namespace {
// Values and calls, written down in the order in which they come.
class Probe final : public AM_IScriptObjects {
public:
    bool resolve(std::string_view path, AM_ScriptObject& out) override {
        out.handle = static_cast<i32>(path.size());
        if (path == "in") out.writable = false;
        if (path == "out") out.readable = false;
        if (path == "a.whole") out.type = k_scriptInt;
        if (path == "in" || path == "out" || path == "a.whole") return true;
        out.kind = AM_ScriptObject::k_function;
        out.signature = path == "odd" ? "fq" : path == "count" ? "iif" : "v";
        return path == "odd" || path == "count" || path == "again" || path == "throws";
    }
    f32 readFloat(i32) override { return 1.5f; }
    i32 readInt(i32) override { return whole; }
    void writeFloat(i32, f32 value) override { written.push_back(value); }
    void writeInt(i32, i32 value) override { whole = value; }
    AM_ScriptValue call(i32 handle, const AM_ScriptValue* arguments, u32 count) override {
        AM_ScriptValue result{};
        if (handle == 6) throw std::runtime_error("from an object");
        if (count == 2) result.asInt = arguments[0].asInt * 10 + int(arguments[1].asFloat);
        if (script != nullptr) nested = script->run("out = 9;");
        return result;
    }
    std::vector<f32> written;
    i32 whole = 0;
    AM_PScript* script = nullptr;
    i32 nested = 0;
};

class ScriptTest : public testing::Test {
protected:
    ScriptTest() {
        script.setListing(false);
        script.declare("x", k_scriptInt);
        script.declare("y", k_scriptFloat);
    }
    // What x is behind the text.
    i32 x(std::string_view text) {
        EXPECT_EQ(script.run(text), k_scriptOk) << text << ": " << script.error().text;
        return script.getInt("x");
    }
    size_t codeSize() { return script.machine().getCode().size(); }

    LogCapture log;
    Probe probe;
    AM_PScript script{&probe};
};

TEST(ScriptOpcodes, TableHasItsNumbersTextsAndLevels) {
    const struct {
        u32 number;
        const char* text;
        i32 left, right, precedence;
    } rows[] = {{0, "end of line", 0, 0, 0},  {8, "RTS", 0, 0, 0},
                {15, "Load Obj f", 0, 0, 0},  {16, "Load Obj I", 0, 0, 0},
                {22, "Store Obj i", 0, 0, 0}, {24, "ix->ix(result(ix))", 0, 0, 0},
                {25, "++f", 0, 4, 4},         {34, "~i", 0, 1, 4},
                {35, "&f[0]->ix", 0, 0, 0},   {40, "i<-f", 0, 0, 0},
                {41, "f*f", 1, 1, 5},         {50, "i mod i", 1, 1, 5},
                {55, "f+i", 1, 1, 6},         {68, "i >> f", 1, 1, 7},
                {69, "f < f", 1, 1, 8},       {92, "i != f", 1, 1, 8},
                {93, "f & f", 1, 1, 9},       {97, "f ^ f", 1, 1, 9},
                {104, "i | f", 1, 1, 9},      {112, "i || f", 1, 1, 10},
                {113, "f ? f", 1, 1, 11},     {120, "i : f", 1, 1, 11},
                {124, "i --", 4, 0, 1},       {127, "f = i", 2, 1, 12},
                {129, "f += f", 3, 1, 12},    {146, "i mod= i", 3, 1, 12},
                {176, "i ||= f", 3, 1, 12}};
    for (const auto& row : rows) {
        const AM_ScriptOpcode& at = AM_scriptOpcode(row.number);
        EXPECT_EQ(at.opcode, i32(row.number));
        EXPECT_STREQ(at.text, row.text);
        EXPECT_EQ(at.leftKind, row.left) << row.text;
        EXPECT_EQ(at.rightKind, row.right) << row.text;
        EXPECT_EQ(at.precedence, row.precedence) << row.text;
    }
    for (u32 number = 0; number < k_opCount; ++number)
        EXPECT_EQ(AM_scriptOpcode(number).handler == nullptr, number == k_opStop) << number;
}

TEST_F(ScriptTest, RunListsItsInstructionsAndItsEnd) {
    script.setListing(true);
    EXPECT_EQ(script.run("int i;\nwhile (i < 3) i += i + 1;\n\n", 7, 0), k_scriptOk);
    EXPECT_EQ(log.take(),
              (Lines{"0:\t 0 Load #i 0", "1:\t branch 3 (4)", "2:\t 0 i+i 1", "3:\t 0 i += i 1",
                     "4:\t 0 i < i 3", "5:\t branch equal/true -3 (2)", "6:\t eol", "7:\t 0 stop 0",
                     "stopped machine after missing callback in 7"}));
    EXPECT_EQ(codeSize(), 0u);
    const i32 program = script.compile("x = 1;");
    const auto& code = script.machine().getCode();
    EXPECT_EQ(script.execute(program), k_scriptOk);
    EXPECT_EQ(code[code.size() - 2].flags, 0x10);
    EXPECT_EQ(code.back().flags, 0x10);
    EXPECT_EQ(log.take(), Lines());
}

TEST_F(ScriptTest, RunsEndAtTheirLimits) {
    const struct {
        const char* text;
        i32 code;
        Lines lines;
    } rows[] = {
        {"for (;;);", k_scriptStepLimit, {"stopped machine after 100000 instruction chains"}},
        {"void f() { while (1) ++x; } f();",
         k_scriptStepLimit,
         {"returning from function after 100000 instruction chains",
          "stopped machine after 100000 instruction chains"}},
        {"int f(int n) { return n ? f(n - 1) : 7; } x = f(63);", k_scriptOk, {}},
        {"int f(int n) { return n ? f(n - 1) : 7; } x = f(64);",
         k_scriptCallDepth,
         {"stopped machine after 64 functions within functions"}},
        {"int f(int n) { int a[60000]; return f(a[n]); } f(1);",
         k_scriptFrameMemory,
         {"stopped machine after arrays of 1048576 elements"}},
        // No call is long, but there are many.
        {"void f(int n) { for (int i = 0; i < n; ++i); } for (int i = 0; i < 40; ++i) f(1000);",
         k_scriptStepLimit,
         {"returning from function after 100000 instruction chains",
          "stopped machine after 100000 instruction chains"}},
        {"int a[2]; for (int i = 0; i < 5; ++i) a[i] = 1;\nx = a[-1];",
         k_scriptOk,
         {"index 2 outside of an array of 2 elements in Line 1"}},
    };
    for (const auto& row : rows) {
        EXPECT_EQ(script.run(row.text), row.code) << row.text;
        EXPECT_EQ(log.take(), row.lines) << row.text;
        EXPECT_LE(script.steps(), k_maxScriptSteps + 4);
    }
}

TEST_F(ScriptTest, FunctionsStayAndOtherCodeIsGivenBack) {
    EXPECT_EQ(x("int n = 5; int next() { return ++n; } x = next();"), 6);
    const size_t size = codeSize();
    for (int i = 0; i < 100; ++i)
        EXPECT_EQ(x("x = next();"), 7 + i);
    EXPECT_EQ(codeSize(), size);
    EXPECT_EQ(script.run("x = n;"), k_scriptUnknownName);
    // The caller keeps the function it was compiled with.
    x("int twice() { return next() * 2; } int next() { return 1; }");
    EXPECT_EQ(x("x = twice() * 10 + next();"), 21);
    const i32 first = script.compile("x = twice();");
    const i32 second = script.compile("x = 1; int last() { return next() + 40; }");
    const i32 third = script.compile("x = last();");
    EXPECT_TRUE(script.release(first));
    EXPECT_FALSE(script.release(first));
    EXPECT_EQ(script.execute(first), k_scriptNoProgram);
    EXPECT_EQ(script.execute(third), k_scriptOk);
    EXPECT_EQ(script.getInt("x"), 41);
    EXPECT_EQ(script.execute(second), k_scriptOk);
    EXPECT_EQ(script.getInt("x"), 1);
    EXPECT_TRUE(script.clear());
    EXPECT_EQ(codeSize(), 0u);
    EXPECT_EQ(script.run("next();"), k_scriptUnknownName);
}

TEST_F(ScriptTest, ErrorsHaveACodeAPlaceAndASentence) {
    const struct {
        const char* text;
        i32 code, line, column;
        const char* sentence;
    } rows[] = {
        {"\n x = 3\n;y 4;", k_scriptSyntax, 13, 4, "expected ';' behind the expression, found '4'"},
        {"x = 1 $ 2;", k_scriptCharacter, 11, 7, "expected no '$' outside of a comment"},
        {"x = /*\n", k_scriptComment, 11, 5, "expected '*/' behind the comment that begins here"},
        {"int a; { int a; } int a;", k_scriptRedeclared, 11, 23,
         "expected a name that isn't taken in this block, 'a' is"},
        {"in = 1;", k_scriptNoAccess, 11, 1,
         "expected something that can be written, 'in' is read-only"},
        {"out += 1;", k_scriptNoAccess, 11, 1,
         "expected something that can be read, 'out' is write-only"},
        {"x + 1 = 2;", k_scriptNoTarget, 11, 7,
         "expected a variable, an element or an object's value for '='"},
        {"int f(int a) { return a; }\nf(1, 2);", k_scriptWrongArguments, 12, 1,
         "expected 1 argument for 'f', found 2"},
        {"void f() {} x = f();", k_scriptWrongType, 11, 17,
         "expected a value, this function gives none"},
        {"x = 4294967296;", k_scriptNumber, 11, 5, "expected an integer up to 2147483648"},
    };
    for (const auto& row : rows) {
        EXPECT_EQ(script.run(row.text, 11, 0), row.code) << row.text;
        EXPECT_EQ(script.error().line, row.line) << row.text;
        EXPECT_EQ(script.error().column, row.column) << row.text;
        EXPECT_EQ(script.error().text, row.sentence);
        const std::string line = "Error in Line " + std::to_string(row.line) + ": Code ";
        EXPECT_TRUE(log.has(line + std::to_string(row.code)));
        EXPECT_EQ(codeSize(), 0u);
    }
    EXPECT_TRUE(log.has("ERROR can't redeclare variable a"));
}

TEST_F(ScriptTest, TextEndsAtItsLengthOrItsZero) {
    EXPECT_EQ(script.run("x = 5; nonsense", 1, 6), k_scriptOk);
    EXPECT_EQ(script.getInt("x"), 5);
    EXPECT_EQ(x(std::string_view("x = 6;\0nonsense", 15)), 6);
    EXPECT_EQ(script.run(nullptr, 1, 0), k_scriptOk);
}

TEST_F(ScriptTest, ValuesAreReadWhenTheirTurnComes) {
    EXPECT_EQ(x("int i = 1; x = i + (i = 3) * 10 + i * 100;"), 331);
    EXPECT_EQ(x("int i = 1; x = i++ + i * 10 + ++i * 100;"), 321);
    EXPECT_EQ(x("int a[3]; int i = 1; a[i] = i = 2; x = a[1] * 10 + a[2];"), 20);
    EXPECT_EQ(x("int i = 2; i += (i = 5) + i; x = i;"), 12);
    EXPECT_EQ(x("int f(int a, int b) { return a * 10 + b; } int i = 1; x = f(i, i = 2) + i;"), 14);
    EXPECT_EQ(x("int g = 1; int f() { return ++g; } x = g + f() * 10 + g * 100;"), 221);
    EXPECT_EQ(x("int i = 0; x = i && ++i || i == 0; x = x * 10 + i;"), 10);
}

TEST_F(ScriptTest, ObjectsAreReadWrittenAndCalled) {
    EXPECT_EQ(x("out = in * 2; out = 4; a.whole = 2.9; a.whole += 3; x = count(in, 2) + a.whole;"),
              17);
    EXPECT_EQ(probe.written, (std::vector<f32>{3, 4}));
    EXPECT_EQ(x("x = 1 + odd(5);"), 1);
    EXPECT_TRUE(log.has("ERROR: unknown ObjFunc Attribute 'q' on execution"));
    probe.script = &script;
    EXPECT_EQ(x("again(); x = 3;"), 3);
    EXPECT_EQ(probe.nested, k_scriptBusy);
    EXPECT_THROW(script.run("throws();"), std::runtime_error);
    EXPECT_EQ(x("x = 4;"), 4);
}

TEST_F(ScriptTest, EmbeddersVariablesAreDeclaredOnce) {
    EXPECT_TRUE(script.declareArray("row", k_scriptFloat, 3));
    EXPECT_FALSE(script.declare("x", k_scriptInt));
    EXPECT_FALSE(script.declareArray("row", k_scriptInt, 4));
    EXPECT_FALSE(script.declare("z", 7));
    EXPECT_FALSE(script.declare("for", k_scriptInt));
    EXPECT_FALSE(script.declareArray("z", k_scriptInt, 0));
    for (int i = 0; i < 16; ++i)
        script.declareArray(("big" + std::to_string(i)).c_str(), k_scriptInt, 65536);
    EXPECT_EQ(log.take(),
              (Lines{"ERROR can't redeclare variable x", "ERROR can't redeclare variable row[ 4 ]",
                     "ERROR can't create variable z of type 7",
                     "ERROR can't create variable for of type 1",
                     "ERROR can't create variable z[ 0 ] of type 1",
                     "OUT OF MEMORY ERROR: can't create int big15[ 65536 ]"}));
    EXPECT_TRUE(script.setFloat("row", 2.5f, 1));
    EXPECT_FALSE(script.setFloat("row", 2.5f, 3));
    EXPECT_EQ(x("row[2] = row[1] * 2; x = row[2] + row[3];"), 5);
    EXPECT_EQ(script.getFloat("row", 2), 5);
    EXPECT_EQ(script.getInt("none"), 0);
}

TEST(ScriptMachine, InstructionWithoutHandlerStops) {
    LogCapture log;
    AM_ScriptMachine machine;
    AM_ScriptCode code;
    code.instructions.resize(2);
    code.lines.resize(2);
    const i32 program = machine.append(std::move(code));
    EXPECT_EQ(machine.execute(program, false), k_scriptMissingCallback);
    EXPECT_EQ(log.take(), Lines{"stopped machine after missing callback in 0"});
}
} // namespace
