// The script machine beside the interpreter of Lua 5.4: the same loops, each compiled once and
// run many times. "times" is how many times cheaper a round is than Lua's; "ns" what one
// instruction of ours costs on this machine, or a line of a text for the compilers.
#include "AM_Log.h"
#include "AM_PScript.h"
#include "Rounds.h"

#include <benchmark/benchmark.h>
#include <lua.hpp>

#include <cmath>
#include <memory>
#include <stdexcept>
#include <string>

namespace {

constexpr i32 k_runs = 50; // of a loop in each round

// One loop, written twice; `result` is what both must come to.
struct Loop {
    const char* ours;
    const char* lua;
};

constexpr Loop k_floats = {"float x = 0.3;"
                           "for (int i = 0; i < 9000; ++i) x = 3.7 * x * (1 - x) * 0.9;"
                           "result = x;",
                           "local x = 0.3\n"
                           "for i = 0, 8999 do x = 3.7 * x * (1 - x) * 0.9 end\n"
                           "return x"};
constexpr Loop k_ints = {"int s = 1;"
                         "for (int i = 0; i < 9000; ++i) s = (s * 75 + i) mod 65537;"
                         "result = s;",
                         "local s = 1\n"
                         "for i = 0, 8999 do s = (s * 75 + i) % 65537 end\n"
                         "return s"};
constexpr Loop k_sum = {"int s; for (int i = 0; i < 20000; ++i) s += i; result = s;",
                        "local s = 0\n"
                        "for i = 0, 19999 do s = s + i end\n"
                        "return s"};
constexpr Loop k_mixed = {
    "float x; int n;"
    "for (int i = 0; i < 6000; ++i) { n = i & 15; x = x * 0.5 + n - i / 4.0; }"
    "result = x;",
    "local x, n = 0.0, 0\n"
    "for i = 0, 5999 do n = i & 15; x = x * 0.5 + n - i / 4.0 end\n"
    "return x"};
constexpr Loop k_array = {"float a[64]; for (int i = 0; i < 64; ++i) a[i] = i * 0.5;"
                          "for (int round = 0; round < 100; ++round)"
                          "    for (int i = 1; i < 63; ++i)"
                          "        a[i] = (a[i - 1] + a[i + 1]) * 0.5 + 0.01;"
                          "result = a[31];",
                          "local a = {}\n"
                          "for i = 0, 63 do a[i] = i * 0.5 end\n"
                          "for round = 0, 99 do\n"
                          "  for i = 1, 62 do a[i] = (a[i - 1] + a[i + 1]) * 0.5 + 0.01 end\n"
                          "end\n"
                          "return a[31]"};
constexpr Loop k_sieve = {"int composite[2000], primes;"
                          "for (int i = 2; i < 2000; ++i) {"
                          "    if (composite[i]) continue;"
                          "    ++primes;"
                          "    for (int j = i + i; j < 2000; j += i) composite[j] = 1;"
                          "}"
                          "result = primes;",
                          "local composite, primes = {}, 0\n"
                          "for i = 2, 1999 do composite[i] = 0 end\n"
                          "for i = 2, 1999 do\n"
                          "  if composite[i] == 0 then\n"
                          "    primes = primes + 1\n"
                          "    for j = i + i, 1999, i do composite[j] = 1 end\n"
                          "  end\n"
                          "end\n"
                          "return primes"};
constexpr Loop k_branches = {
    "int most, start;"
    "for (int i = 1; i < 300; ++i) {"
    "    int n = i, steps;"
    "    while (n != 1) { if (n & 1) n = 3 * n + 1; else n /= 2; ++steps; }"
    "    if (steps > most) { most = steps; start = i; }"
    "}"
    "result = start * 1000 + most;",
    "local most, start = 0, 0\n"
    "for i = 1, 299 do\n"
    "  local n, steps = i, 0\n"
    "  while n ~= 1 do\n"
    "    if n & 1 ~= 0 then n = 3 * n + 1 else n = n // 2 end\n"
    "    steps = steps + 1\n"
    "  end\n"
    "  if steps > most then most = steps; start = i end\n"
    "end\n"
    "return start * 1000 + most"};
constexpr Loop k_call = {"float next(float x, int i) { return x * 0.5 + i; }"
                         "float x; for (int i = 0; i < 8000; ++i) x = next(x, i);"
                         "result = x;",
                         "local function next(x, i) return x * 0.5 + i end\n"
                         "local x = 0.0\n"
                         "for i = 0, 7999 do x = next(x, i) end\n"
                         "return x"};
constexpr Loop k_recursion = {
    "int fib(int n) { if (n < 2) return n; return fib(n - 1) + fib(n - 2); }"
    "result = fib(16);",
    "local function fib(n)\n"
    "  if n < 2 then return n end\n"
    "  return fib(n - 1) + fib(n - 2)\n"
    "end\n"
    "return fib(16)"};

class OurLoop {
public:
    explicit OurLoop(const char* text) {
        script.declare("result", k_scriptFloat);
        program = script.compile(text);
        if (program < 0) throw std::runtime_error(script.error().text);
    }
    void operator()() {
        for (i32 run = 0; run < k_runs; ++run)
            if (script.execute(program) != k_scriptOk)
                throw std::runtime_error(script.error().text);
    }
    f64 result() const { return static_cast<f64>(script.getFloat("result")); }
    f64 steps() const { return k_runs * static_cast<f64>(script.steps()); }

private:
    AM_PScript script;
    i32 program = 0;
};

class LuaLoop {
public:
    explicit LuaLoop(const char* text) : state(luaL_newstate(), lua_close) {
        if (luaL_loadstring(state.get(), text) != LUA_OK)
            throw std::runtime_error(lua_tostring(state.get(), -1));
    }
    void operator()() {
        for (i32 run = 0; run < k_runs; ++run) {
            lua_pushvalue(state.get(), 1);
            if (lua_pcall(state.get(), 0, 1, 0) != LUA_OK)
                throw std::runtime_error(lua_tostring(state.get(), -1));
            last = lua_tonumber(state.get(), -1);
            lua_settop(state.get(), 1);
        }
    }
    f64 result() const { return last; }

private:
    std::unique_ptr<lua_State, void (*)(lua_State*)> state;
    f64 last = 0;
};

void loop(benchmark::State& state, const Loop& texts) {
    OurLoop ours(texts.ours);
    LuaLoop lua(texts.lua);
    ours();
    lua();
    if (std::fabs(ours.result() - lua.result()) > 1e-3 * std::fabs(lua.result()))
        return state.SkipWithError("the loops come to different results");
    for (auto _ : state) {
        const Costs cost = costs(std::ref(lua), std::ref(ours));
        state.counters["times"] = cost.ratio();
        state.counters["ns"] = cost.other * 1e9 / ours.steps();
    }
}

// A text of 13 lines as an editor has them, again and again with names of its own.
std::string editorText(bool isLua) {
    std::string all;
    for (i32 copy = 0; copy < 20; ++copy) {
        const char* const text = isLua ? R"(-- The needle follows the level and falls back slowly.
needle# = 0.0
hold# = 0
function move#(level, ticks)
  local target = level * 0.75 + 0.25
  if target > needle# then
    needle# = target; hold# = 20
  elseif hold# > 0 then
    hold# = hold# - ticks
  else needle# = needle# + (target - needle#) * 0.1 end
  for i = 0, 3 do needle# = needle# - (i & ticks) / 100.0 end
  return needle#
end
)"
                                       : R"(// The needle follows the level and falls back slowly.
float needle# = 0.0;
int hold# = 0;
float move#(float level, int ticks) {
    float target = level * 0.75 + 0.25;
    if (target > needle#) {
        needle# = target; hold# = 20;
    } else if (hold# > 0) {
        hold# = hold# - ticks;
    } else needle# = needle# + (target - needle#) * 0.1;
    for (int i = 0; i < 4; ++i) needle# = needle# - (i & ticks) / 100.0;
    return needle#;
}
)";
        for (const char* c = text; *c != '\0'; ++c) {
            if (*c == '#')
                all += std::to_string(copy);
            else
                all += *c;
        }
    }
    return all;
}

void compile(benchmark::State& state) {
    const std::string texts[2] = {editorText(false), editorText(true)};
    const f64 lines = static_cast<f64>(std::count(texts[0].begin(), texts[0].end(), '\n'));
    AM_PScript script;
    const auto ours = [&] {
        if (script.compile(texts[0]) < 0) throw std::runtime_error(script.error().text);
        script.clear();
    };
    const std::unique_ptr<lua_State, void (*)(lua_State*)> interpreter(luaL_newstate(), lua_close);
    const auto lua = [&] {
        if (luaL_loadstring(interpreter.get(), texts[1].c_str()) != LUA_OK)
            throw std::runtime_error(lua_tostring(interpreter.get(), -1));
        lua_settop(interpreter.get(), 0);
    };
    for (auto _ : state) {
        const Costs cost = costs(lua, ours, 101);
        state.counters["times"] = cost.ratio();
        state.counters["ns"] = cost.other * 1e9 / lines;
    }
}

} // namespace

BENCHMARK_CAPTURE(loop, floats, k_floats)->Iterations(1);
BENCHMARK_CAPTURE(loop, ints, k_ints)->Iterations(1);
BENCHMARK_CAPTURE(loop, sum, k_sum)->Iterations(1);
BENCHMARK_CAPTURE(loop, mixed, k_mixed)->Iterations(1);
BENCHMARK_CAPTURE(loop, array, k_array)->Iterations(1);
BENCHMARK_CAPTURE(loop, sieve, k_sieve)->Iterations(1);
BENCHMARK_CAPTURE(loop, branches, k_branches)->Iterations(1);
BENCHMARK_CAPTURE(loop, call, k_call)->Iterations(1);
BENCHMARK_CAPTURE(loop, recursion, k_recursion)->Iterations(1);
BENCHMARK(compile)->Iterations(1);
