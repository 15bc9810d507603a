// The small effect "distance scale" over a million items, with muParser and with LuaJIT. One
// thread. Items and program are those of the benchmarks PlainMachine and FastForm; every peer draws
// its random numbers in its own way, so results are compared by their mean.
#include <algorithm>
#include <cmath>
#include <cstdint>
#include <string>
#include <vector>

#include <muParser.h>
#include <lua.hpp>

#include "bench/peers/measure.h"

namespace {

struct Item {
    float px, py, pz, sx, sy, sz, rx, ry, rz;
};
constexpr int kItems = 1000000;

// Of Marsaglia's xorshift family.
double Random(double) {
    static uint32_t state = 2463534242u;
    state ^= state << 13, state ^= state >> 17, state ^= state << 5;
    return state / 4294967296.0;
}

std::vector<Item> MakeItems() {
    std::vector<Item> items;
    for (int i = 0; i < kItems; ++i)
        items.push_back(
            {float(i % 1000), float(i / 1000) * 0.5f, float(i % 20), 1, 1.1f, 0.9f, 0, 0, 30});
    return items;
}

double MeanScale(const std::vector<Item>& items) {
    double sum = 0;
    for (const Item& item : items) sum += item.sx;
    return sum / kItems;
}

// The mean with 0.9, the mean of the factor of the random choice.
double ExpectedMean(const std::vector<Item>& items) {
    double sum = 0;
    for (const Item& i : items) {
        double d = std::sqrt((i.px - 500.0) * (i.px - 500.0) + (i.py - 250.0) * (i.py - 250.0) +
                             double(i.pz) * i.pz);
        double t = std::min(1.0, std::max(0.0, (d - 50) * 0.004));
        sum += i.sx * (0.4 + 0.9 * t * t * (3 - 2 * t)) * 0.9;
    }
    return sum / kItems;
}

double RunMuParser(const std::vector<Item>& items, std::vector<Item>& results) {
    mu::Parser parser;
    double px, py, pz, sx, sy, sz, rz, vx, vy, vz, t, s, r;
    const std::pair<const char*, double*> variables[] = {
        {"px", &px}, {"py", &py}, {"pz", &pz}, {"sx", &sx}, {"sy", &sy}, {"sz", &sz}, {"rz", &rz},
        {"vx", &vx}, {"vy", &vy}, {"vz", &vz}, {"t", &t},   {"s", &s},   {"r", &r}};
    for (auto [name, value] : variables) parser.DefineVar(name, value);
    parser.DefineFun("draw", Random, false);
    parser.SetExpr(
        "vx = px - 500, vy = py - 250, vz = pz,"
        "t = min(1, max(0, (sqrt(vx * vx + vy * vy + vz * vz) - 50) * 0.004)),"
        "s = 0.4 + 0.9 * (t * t * (3 - 2 * t)), r = draw(0), s = r < 0.2 ? s * 0.5 : s,"
        "sx * s, sy * s, sz * s, pz - 0.1 * s * r, rz + 360 * r");
    return SecondsOf([&] {
        for (int i = 0; i < kItems; ++i) {
            const Item& item = items[size_t(i)];
            px = item.px, py = item.py, pz = item.pz, rz = item.rz;
            sx = item.sx, sy = item.sy, sz = item.sz;
            int count = 0;
            const double* last = parser.Eval(count) + count - 5;
            Item& result = results[size_t(i)];
            result.sx = float(last[0]), result.sy = float(last[1]), result.sz = float(last[2]);
            result.pz = float(last[3]), result.rz = float(last[4]);
        }
    });
}

// "effect" is the program of one item; "all" runs it over the records.
const char* const kScript = R"(
local ffi = require 'ffi'
ffi.cdef 'typedef struct { float px, py, pz, sx, sy, sz, rx, ry, rz; } Item;'
local sqrt, min, max, random = math.sqrt, math.min, math.max, math.random
function effect(px, py, pz, sx, sy, sz, rz)
    local vx, vy, vz = px - 500, py - 250, pz
    local t = min(1, max(0, (sqrt(vx * vx + vy * vy + vz * vz) - 50) * 0.004))
    local s = 0.4 + 0.9 * (t * t * (3 - 2 * t))
    local r = random()
    if r < 0.2 then s = s * 0.5 end
    return sx * s, sy * s, sz * s, pz - 0.1 * s * r, rz + 360 * r
end
local effect = effect
function all(items, results, count)
    local from, to = ffi.cast('Item*', items), ffi.cast('Item*', results)
    for i = 0, count - 1 do
        local p, o = from[i], to[i]
        o.sx, o.sy, o.sz, o.pz, o.rz = effect(p.px, p.py, p.pz, p.sx, p.sy, p.sz, p.rz)
    end
end
)";

class Script {
public:
    Script() : m_lua(luaL_newstate()) {
        luaL_openlibs(m_lua);
        m_isGood = luaL_dostring(m_lua, kScript) == 0;
        if (!m_isGood) std::fprintf(stderr, "LuaJIT: %s\n", lua_tostring(m_lua, -1));
    }
    ~Script() { lua_close(m_lua); }
    bool IsGood() const { return m_isGood; }

    double RunLoop(std::vector<Item>& items, std::vector<Item>& results) {
        return SecondsOf([&] {
            lua_getglobal(m_lua, "all");
            lua_pushlightuserdata(m_lua, items.data());
            lua_pushlightuserdata(m_lua, results.data());
            lua_pushinteger(m_lua, kItems);
            lua_call(m_lua, 3, 0);
        });
    }

    double RunCalls(const std::vector<Item>& items, std::vector<Item>& results) {
        return SecondsOf([&] {
            for (int i = 0; i < kItems; ++i) Call(items[size_t(i)], results[size_t(i)]);
        });
    }

private:
    void Call(const Item& item, Item& result) {
        lua_getglobal(m_lua, "effect");
        for (float v : {item.px, item.py, item.pz, item.sx, item.sy, item.sz, item.rz})
            lua_pushnumber(m_lua, v);
        lua_call(m_lua, 7, 5);
        float* parts[] = {&result.sx, &result.sy, &result.sz, &result.pz, &result.rz};
        for (int k = 0; k < 5; ++k) *parts[k] = float(lua_tonumber(m_lua, k - 5));
        lua_pop(m_lua, 5);
    }

    lua_State* m_lua;
    bool m_isGood;
};

// Tells the figure of results that are right, and makes them wrong for the next.
bool TellRight(const char* what, const std::string& version, double seconds, double expected,
               std::vector<Item>& results) {
    bool isRight = std::abs(MeanScale(results) - expected) < 0.002;
    std::fill(results.begin(), results.end(), Item{});
    if (!isRight) return std::fprintf(stderr, "expressions: %s is wrong\n", what), false;
    Tell(what, version.c_str(), kItems, seconds);
    return true;
}

}  // namespace

int main() try {
    std::vector<Item> items = MakeItems(), results(items);
    const double mean = ExpectedMean(items);
    Script script;
    if (!script.IsGood()) return 1;
    std::string mu = "muParser " + mu::Parser().GetVersion(mu::pviBRIEF);
    mu.erase(std::min(mu.size(), mu.find(" (")));
    double parsed = RunMuParser(items, results);
    bool isRight = TellRight("muParser, a call an item", mu, parsed, mean, results);
    double looped = script.RunLoop(items, results);
    isRight &= TellRight("script with its own loop", LUAJIT_VERSION, looped, mean, results);
    double called = script.RunCalls(items, results);
    isRight &= TellRight("script, a call an item", LUAJIT_VERSION, called, mean, results);
    return isRight ? 0 : 1;
} catch (const mu::Parser::exception_type& error) {
    std::fprintf(stderr, "muParser: %s\n", error.GetMsg().c_str());
    return 1;
}
